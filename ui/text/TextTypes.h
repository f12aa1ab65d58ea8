#pragma once

#include <QtQml/qqmlregistration.h>

#include "app/text/TextFlow.h"

/// The types of the model that this room shows, under their names in QML.
namespace tallyfold {

struct TextFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::TextFlow)
  QML_NAMED_ELEMENT(TextFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct TextDigestsType {
  Q_GADGET
  QML_FOREIGN(tallyfold::TextDigests)
  QML_VALUE_TYPE(textDigests)
};

}  // namespace tallyfold
