#pragma once

#include <QtQml/qqmlregistration.h>

#include "app/AppMode.h"
#include "app/AppViewModel.h"

/// The types of the model that all screens share, under their names in QML.
namespace tallyfold {

struct AppViewModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::AppViewModel)
  QML_NAMED_ELEMENT(AppViewModel)
  QML_UNCREATABLE("The window is given its model.")
};

struct AppModeType {
  Q_GADGET
  QML_FOREIGN(tallyfold::AppMode)
  QML_NAMED_ELEMENT(AppMode)
  QML_UNCREATABLE("A set of names.")
};

struct OutcomeType {
  Q_GADGET
  QML_FOREIGN(tallyfold::Outcome)
  QML_NAMED_ELEMENT(Outcome)
  QML_UNCREATABLE("A set of names.")
};

}  // namespace tallyfold
