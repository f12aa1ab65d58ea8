#pragma once

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

}  // namespace tallyfold
