#pragma once

#include <QtQml/qqmlregistration.h>

#include "app/AppMode.h"
#include "app/AppViewModel.h"
#include "app/files/FileJobListModel.h"
#include "app/manifest/ManifestJobListModel.h"

/// The types of the model, which knows nothing of QML, under their names in QML.
namespace tallyfold {

struct AppViewModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::AppViewModel)
  QML_NAMED_ELEMENT(AppViewModel)
  QML_UNCREATABLE("The window is given its model.")
};

struct FileJobListModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FileJobListModel)
  QML_NAMED_ELEMENT(FileJobListModel)
  QML_UNCREATABLE("The model owns its list.")
};

struct ManifestJobListModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ManifestJobListModel)
  QML_NAMED_ELEMENT(ManifestJobListModel)
  QML_UNCREATABLE("The model owns its list.")
};

struct AppModeType {
  Q_GADGET
  QML_FOREIGN(tallyfold::AppMode)
  QML_NAMED_ELEMENT(AppMode)
  QML_UNCREATABLE("A set of names.")
};

}  // namespace tallyfold
