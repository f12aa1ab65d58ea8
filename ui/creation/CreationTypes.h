#pragma once

#include <QtQml/qqml.h>
#include <QtQml/qqmlregistration.h>

#include "app/creation/ListCreationFlow.h"

/// The types of the model that this room shows, under their names in QML.
namespace tallyfold {

struct ListCreationFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ListCreationFlow)
  QML_NAMED_ELEMENT(ListCreationFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct ListFailuresType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ListFailures)
  QML_NAMED_ELEMENT(ListFailures)
  QML_UNCREATABLE("The flows own their lists.")
};

struct ListFormType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ListForm)
  QML_VALUE_TYPE(listForm)
};

struct ListCreationVerdictType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ListCreationVerdict)
  QML_VALUE_TYPE(listCreationVerdict)
};

}  // namespace tallyfold
