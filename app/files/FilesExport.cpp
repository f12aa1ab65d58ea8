// The reports of the Files mode.

#include <string>
#include <string_view>
#include <utility>

#include <QPointer>

#include "app/files/FilesFlow.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"

namespace tallyfold {

void FilesFlow::exportResults(ReportFormat format) {
  switch (format) {
    case Text:
      return exportResults(ManifestService::Format::plainText);
    case Csv:
      return exportResults(ManifestService::Format::csv);
    case Json:
      return exportResults(ManifestService::Format::json);
  }
}

void FilesFlow::exportResults(ManifestService::Format format) {
  if (!exportRefusal().isEmpty()) return;
  const std::string_view extension = ManifestService::fileExtension(format);
  const std::filesystem::path proposal = std::string("checksums.").append(extension);
  context().desktop().chooseDestination(proposal, [this, alive = QPointer(this), format](const QUrl& url) {
    if (!alive) return;
    const auto destination = fileLocation(url);
    if (!destination || !exportRefusal().isEmpty()) return;
    context().setErrorMessage(QString());
    interruption_.clear();
    dismissNotice();
    setExporting(true);
    exportTask_.start(
        BackgroundTask::Priority::utility,
        [results = results_, format, destination = *destination](const FlowTask<FilesFlow>::Context& task) {
          ManifestService::write(results, format, destination, task.cancellation());
          task.post([destination](FilesFlow& flow) { flow.reportSaved(destination); });
        },
        [](FilesFlow& flow, const std::exception_ptr& failure) {
          if (failure) flow.context().setErrorMessage(failure);
          if (flow.exportTask_.hasLeftWorkBehind()) flow.interruption_ = tr("The disk does not answer");
          flow.setExporting(false);
        });
  });
}

void FilesFlow::reportSaved(const std::filesystem::path& destination) {
  savedReport_ = destination;
  const std::size_t missing = jobs_.jobs().size() - results_.size();
  const bool haveAllFailed = static_cast<std::size_t>(jobs_.count(FileJobListModel::Failures)) == missing;
  QString remark;
  if (missing == 1) {
    remark = haveAllFailed ? tr(", 1 failed file is not in it") : tr(", 1 file is not in it");
  } else if (missing > 1) {
    remark = (haveAllFailed ? tr(", %1 failed files are not in it") : tr(", %1 files are not in it"))
                 .arg(userLocale().toString(static_cast<qulonglong>(missing)));
  }
  setNotice(
      {.kind = FilesNotice::Saved, .words = tr("Saved to "), .place = displayText(destination), .remark = remark});
}

void FilesFlow::showSavedReport() {
  if (!savedReport_.empty()) context().desktop().revealInFileBrowser(savedReport_);
}

void FilesFlow::cancelExport() { exportTask_.cancel(); }

QString FilesFlow::exportRefusal() const {
  if (isProcessing_) return tr("Reports can be saved when the run has ended.");
  if (isExporting_ || exportTask_.isRunning()) return tr("A report is being saved.");
  if (results_.empty()) return tr("There are no checksums to export yet.");
  return {};
}

void FilesFlow::setExporting(bool isExporting) {
  if (std::exchange(isExporting_, isExporting) != isExporting) emit isExportingChanged();
}

}  // namespace tallyfold
