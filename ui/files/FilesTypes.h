#pragma once

#include <QtQml/qqml.h>
#include <QtQml/qqmlregistration.h>

#include "app/files/FilesFlow.h"

/// The types of the model that this room shows, under their names in QML.
namespace tallyfold {

struct FilesFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FilesFlow)
  QML_NAMED_ELEMENT(FilesFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct FileJobListModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FileJobListModel)
  QML_NAMED_ELEMENT(FileJobListModel)
  QML_UNCREATABLE("The model owns its list.")
};

struct FilesNoticeType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FilesNotice)
  QML_VALUE_TYPE(filesNotice)
};

namespace FilesNoticeNames {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tallyfold::FilesNotice)
QML_NAMED_ELEMENT(FilesNotice)
}  // namespace FilesNoticeNames

struct FilesVerdictType {
  Q_GADGET
  QML_FOREIGN(tallyfold::FilesVerdict)
  QML_VALUE_TYPE(filesVerdict)
};

}  // namespace tallyfold
