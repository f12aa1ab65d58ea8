#pragma once

#include <QtQml/qqml.h>
#include <QtQml/qqmlregistration.h>

#include "app/ShownRows.h"
#include "app/manifest/ManifestFlow.h"

/// The types of the model that this room shows, under their names in QML.
namespace tallyfold {

struct ManifestFlowType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ManifestFlow)
  QML_NAMED_ELEMENT(ManifestFlow)
  QML_UNCREATABLE("The model owns its flows.")
};

struct ShownRowsType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ShownRows)
  QML_NAMED_ELEMENT(ShownRows)
  QML_UNCREATABLE("The model owns it.")
};

struct ManifestExportType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ManifestExport)
  QML_NAMED_ELEMENT(ManifestExport)
  QML_UNCREATABLE("The model owns it.")
};

struct ManifestJobListModelType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ManifestJobListModel)
  QML_NAMED_ELEMENT(ManifestJobListModel)
  QML_UNCREATABLE("The model owns its list.")
};

struct ManifestVerdictType {
  Q_GADGET
  QML_FOREIGN(tallyfold::ManifestVerdict)
  QML_VALUE_TYPE(manifestVerdict)
};

namespace ManifestVerdictNames {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tallyfold::ManifestVerdict)
QML_NAMED_ELEMENT(ManifestVerdict)
}  // namespace ManifestVerdictNames

}  // namespace tallyfold
