#include "app/manifest/ManifestExport.h"

#include <atomic>
#include <string>
#include <utility>

#include <QPointer>

#include "app/shared/FileLocation.h"

namespace tallyfold {

namespace {

ManifestService::Format reportFormat(ManifestExport::Format format) {
  switch (format) {
    case ManifestExport::Text:
      return ManifestService::Format::plainText;
    case ManifestExport::Csv:
      return ManifestService::Format::csv;
    case ManifestExport::Json:
      break;
  }
  return ManifestService::Format::json;
}

}  // namespace

QString ManifestExport::refusal() const {
  return isSaving_ || task_.isRunning() ? tr("A report is being saved.") : refusal_;
}

void ManifestExport::setRefusal(const QString& refusal) {
  if (std::exchange(refusal_, refusal) != refusal) emit changed();
}

QString ManifestExport::savedPlace() const { return saved_ ? displayText(*saved_) : QString(); }

void ManifestExport::save(Format format) {
  if (!refusal().isEmpty()) return;
  const ManifestService::Format chosen = reportFormat(format);
  const std::filesystem::path proposal = std::string("verification.").append(ManifestService::fileExtension(chosen));
  context_.desktop().chooseDestination(proposal, [this, alive = QPointer(this), chosen](const QUrl& url) {
    const auto destination = alive ? fileLocation(url) : std::nullopt;
    if (destination && refusal().isEmpty()) saveAs(*destination, chosen);
  });
}

void ManifestExport::saveAs(const std::filesystem::path& destination, ManifestService::Format format) {
  context_.setErrorMessage(QString());
  saved_.reset();
  isSaving_ = true;
  hasLeftSaveBehind_ = false;
  emit changed();
  const auto isSaved = std::make_shared<std::atomic<bool>>(false);
  task_.start(
      BackgroundTask::Priority::utility,
      [report = source_(), format, destination, isSaved](const FlowTask<ManifestExport>::Context& task) {
        report->write(format, destination, task.cancellation());
        *isSaved = true;
      },
      [destination, isSaved](ManifestExport& self, const std::exception_ptr& failure) {
        self.endSaving(destination, *isSaved, failure);
      });
}

void ManifestExport::endSaving(const std::filesystem::path& destination, bool isSaved,
                               const std::exception_ptr& failure) {
  hasLeftSaveBehind_ = task_.hasLeftWorkBehind() && !isSaved;
  if (failure) context_.setErrorMessage(failure);
  if (hasLeftSaveBehind_) {
    context_.setErrorMessage(tr("The disk does not answer. Whether the report is saved cannot be told."));
  }
  if (isSaved) saved_ = destination;
  isSaving_ = false;
  emit changed();
}

void ManifestExport::showSaved() {
  if (saved_) context_.desktop().revealInFileBrowser(*saved_);
}

void ManifestExport::dismiss() {
  if (!std::exchange(saved_, std::nullopt)) return;
  emit changed();
}

}  // namespace tallyfold
