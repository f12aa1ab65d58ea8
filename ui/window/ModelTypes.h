#pragma once

#include <QtQml/qqml.h>
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

struct ModeFlowsType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ModeFlows)
  QML_ANONYMOUS
};

struct ModeRowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ModeRow)
  QML_VALUE_TYPE(modeRow)
};

struct FlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::Flow)
  QML_NAMED_ELEMENT(ModeFlow)
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

struct FileCardType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FileCard)
  QML_VALUE_TYPE(fileCard)
};

struct ProposedFolderType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ProposedFolder)
  QML_VALUE_TYPE(proposedFolder)
};

struct DigestLineType {
  Q_GADGET
  QML_FOREIGN(tallyfold::DigestLine)
  QML_VALUE_TYPE(digestLine)
};

struct ListFilterType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ListFilter)
  QML_VALUE_TYPE(listFilter)
};

struct FilteredListModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FilteredListModel)
  QML_NAMED_ELEMENT(FilteredListModel)
  QML_UNCREATABLE("The flows own their lists.")
};

struct RunStatusType {
  Q_GADGET
  QML_FOREIGN(tallyfold::RunStatus)
  QML_NAMED_ELEMENT(RunStatus)
  QML_UNCREATABLE("The flows own what they tell.")
};

struct SaverType {
  Q_GADGET
  QML_FOREIGN(tallyfold::Saver)
  QML_ANONYMOUS
};

struct ToneType {
  Q_GADGET
  QML_FOREIGN(tallyfold::Tone)
  QML_NAMED_ELEMENT(Tone)
  QML_UNCREATABLE("A set of names.")
};

}  // namespace tallyfold
