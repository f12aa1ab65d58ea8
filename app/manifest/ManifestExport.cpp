#include "app/manifest/ManifestExport.h"

#include <string>
#include <utility>

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

ManifestExport::ManifestExport(FlowContext& context, Source source)
    : Saver(context, tr("The disk does not answer. Whether the report is saved cannot be told.")),
      source_(std::move(source)) {
  connect(this, &Saver::isSavingChanged, this, &ManifestExport::refusalChanged);
}

QString ManifestExport::refusal() const { return isSaving() ? tr("A report is being saved.") : refusal_; }

void ManifestExport::setRefusal(const QString& refusal) {
  if (std::exchange(refusal_, refusal) != refusal) emit refusalChanged();
}

void ManifestExport::save(Format format) {
  if (!refusal().isEmpty()) return;
  const ManifestService::Format chosen = reportFormat(format);
  const std::filesystem::path proposal = std::string("verification.").append(ManifestService::fileExtension(chosen));
  ask(proposal, [this, chosen]() -> Writer {
    if (!refusal().isEmpty()) return {};
    return [report = source_(), chosen](const auto& destination, const auto& cancellation) {
      report->write(chosen, destination, cancellation);
    };
  });
}

}  // namespace tallyfold
