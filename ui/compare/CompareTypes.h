#pragma once

#include <QtQml/qqml.h>
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

struct CompareVerdictType {
  Q_GADGET
  QML_FOREIGN(tallyfold::CompareVerdict)
  QML_VALUE_TYPE(compareVerdict)
};

struct DifferenceSearchType {
  Q_GADGET
  QML_FOREIGN(tallyfold::DifferenceSearch)
  QML_NAMED_ELEMENT(DifferenceSearch)
  QML_UNCREATABLE("It is the flow's.")
};

struct ByteRowsType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ByteRows)
  QML_VALUE_TYPE(byteRows)
};

namespace CompareVerdictNames {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tallyfold::CompareVerdict)
QML_NAMED_ELEMENT(CompareVerdict)
}  // namespace CompareVerdictNames

}  // namespace tallyfold
