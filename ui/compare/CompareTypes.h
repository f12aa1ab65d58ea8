#pragma once

#include <QtQml/qqmlregistration.h>

#include "app/compare/CompareFlow.h"

/// The types of the model that this room shows, under their names in QML.
namespace tallyfold {

struct CompareFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::CompareFlow)
  QML_NAMED_ELEMENT(CompareFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

}  // namespace tallyfold
