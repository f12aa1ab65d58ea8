#pragma once

#include <QtQml/qqmlregistration.h>

#include "app/AppMode.h"
#include "app/AppViewModel.h"

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

struct FilesFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FilesFlow)
  QML_NAMED_ELEMENT(FilesFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct TextFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::TextFlow)
  QML_NAMED_ELEMENT(TextFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct VerifyFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::VerifyFlow)
  QML_NAMED_ELEMENT(VerifyFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct ManifestFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ManifestFlow)
  QML_NAMED_ELEMENT(ManifestFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct CompareFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::CompareFlow)
  QML_NAMED_ELEMENT(CompareFlow)
  QML_UNCREATABLE("The model owns its flows.")
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
