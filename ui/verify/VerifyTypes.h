#pragma once

#include <QtQml/qqml.h>
#include <QtQml/qqmlregistration.h>

#include "app/verify/VerifyFlow.h"

/// The types of the model that this room shows, under their names in QML.
namespace tallyfold {

struct VerifyFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::VerifyFlow)
  QML_NAMED_ELEMENT(VerifyFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct VerifyVerdictType {
  Q_GADGET
  QML_FOREIGN(tallyfold::VerifyVerdict)
  QML_VALUE_TYPE(verifyVerdict)
};

namespace VerifyVerdictNames {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tallyfold::VerifyVerdict)
QML_NAMED_ELEMENT(VerifyVerdict)
}  // namespace VerifyVerdictNames

}  // namespace tallyfold
