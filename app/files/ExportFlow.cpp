#include <utility>

#include <QPointer>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "core/base/Errors.h"
#include "export/ManifestService.h"

namespace tallyfold {

void AppViewModel::exportResults(ReportFormat format) {
  exportResults(ManifestService::allFormats().at(static_cast<std::size_t>(format)));
}

void AppViewModel::exportResults(ManifestService::Format format) {
  if (!exportRefusal().isEmpty()) return;
  const std::string_view extension = ManifestService::fileExtension(format);
  const QString proposal = QStringLiteral("checksums.") + QString::fromStdString(std::string(extension));
  desktop_.chooseDestination(proposal, [this, alive = QPointer(this), format](const QUrl& url) {
    if (!alive) return;
    const auto destination = fileLocation(url);
    if (!destination || !exportRefusal().isEmpty()) return;
    setErrorMessage({});
    interruption_.clear();
    setExporting(true);
    exportTask_.start(
        BackgroundTask::Priority::utility,
        [results = results_, format, destination = *destination](const BackgroundTask::Context& context) {
          ManifestService::write(results, format, destination, context.cancellation());
        },
        [](AppViewModel& model, const std::exception_ptr& failure) {
          if (failure) model.setErrorMessage(QString::fromStdString(errorDescription(failure)));
          if (model.exportTask_.hasLeftWorkBehind()) model.interruption_ = tr("The disk does not answer");
          model.setExporting(false);
        });
  });
}

void AppViewModel::cancelExport() { exportTask_.cancel(); }

QString AppViewModel::exportRefusal() const {
  if (isProcessing_) return tr("Reports can be saved when the run has ended.");
  if (isExporting_ || exportTask_.isRunning()) return tr("A report is being saved.");
  if (results_.empty()) return tr("There are no checksums to export yet.");
  return {};
}

void AppViewModel::setExporting(bool isExporting) {
  if (std::exchange(isExporting_, isExporting) != isExporting) emit isExportingChanged();
}

}  // namespace tallyfold
