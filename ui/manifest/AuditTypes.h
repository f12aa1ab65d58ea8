#pragma once

#include <QtQml/qqml.h>
#include <QtQml/qqmlregistration.h>

#include "app/audit/AuditFlow.h"

/// The types of the model that this room shows beside the list's own, under their names in QML.
namespace tallyfold {

struct AuditFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::AuditFlow)
  QML_NAMED_ELEMENT(AuditFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct UnlistedModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::UnlistedModel)
  QML_NAMED_ELEMENT(UnlistedModel)
  QML_UNCREATABLE("The model owns its list.")
};

}  // namespace tallyfold
