// The reports of the Files mode.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "app/files/FilesFlow.h"
#include "app/shared/Formats.h"
#include "app/shared/NewList.h"
#include "checksums/paths/ManifestPaths.h"
#include "export/lists/ChecksumList.h"

namespace tallyfold {

using ChecksumManifestService::pathBelow;

namespace {

/// The deepest folder that all files are below.
std::filesystem::path commonFolder(const FileHashResults& results) {
  std::filesystem::path common = results.front()->url.parent_path();
  for (const auto& result : results) {
    while (common.has_relative_path() && pathBelow(common.native(), result->url.native()).empty())
      common = common.parent_path();
  }
  return common;
}

/// Fails with ListRefusal.
std::vector<ChecksumList::File> listFiles(const FileHashResults& results, const std::filesystem::path& folder,
                                          NewList list, const std::stop_token& cancellation) {
  std::vector<std::string> paths;
  for (const auto& result : results) {
    paths.emplace_back(pathBelow(folder.native(), result->url.native()));
    if (!list.add(paths.back())) NewList::refuseMore();
  }
  list.checkNames(paths, cancellation);
  std::vector<ChecksumList::File> files;
  files.reserve(results.size());
  for (std::size_t i = 0; i < results.size(); ++i) files.push_back({std::move(paths[i]), results[i]->hashes});
  return files;
}

}  // namespace

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
  const std::filesystem::path proposal = std::string("checksums.").append(ManifestService::fileExtension(format));
  save(proposal, [results = results_, format](const auto& destination, const auto& cancellation) {
    ManifestService::write(results, format, destination, cancellation);
  });
}

void FilesFlow::exportList() {
  if (!exportRefusal().isEmpty()) return;
  const HashAlgorithmSet algorithms = results_.front()->hashes.algorithms();
  const ChecksumList::Form form = ChecksumList::usualForm(algorithms);
  const std::filesystem::path folder = commonFolder(results_);
  save(folder / ChecksumList::proposedName(form, algorithms),
       [=, results = results_](const auto& destination, const auto& cancellation) {
         ChecksumList::write(NewList::withoutReplaced(listFiles(results, folder, {form, algorithms}, cancellation),
                                                      folder, destination),
                             form, destination, cancellation);
       });
}

void FilesFlow::save(const std::filesystem::path& proposal, Saver::Writer write) {
  saver_.ask(proposal, [this, write = std::move(write)]() -> Saver::Writer {
    if (!exportRefusal().isEmpty()) return {};
    dismissNotice();
    return write;
  });
}

void FilesFlow::reportSaved() {
  const QString place = saver_.savedPlace();
  if (place.isEmpty()) return;
  const std::size_t missing = jobs_.jobs().size() - results_.size();
  const bool haveAllFailed = static_cast<std::size_t>(jobs_.count(FileJobListModel::Failures)) == missing;
  QString remark;
  if (missing == 1) {
    remark = haveAllFailed ? tr(", 1 failed file is not in it") : tr(", 1 file is not in it");
  } else if (missing > 1) {
    remark = (haveAllFailed ? tr(", %1 failed files are not in it") : tr(", %1 files are not in it"))
                 .arg(userLocale().toString(static_cast<qulonglong>(missing)));
  }
  setNotice({.kind = FilesNotice::Saved, .words = tr("Saved to "), .place = place, .remark = remark});
}

QString FilesFlow::exportRefusal() const {
  if (isProcessing_) return tr("Reports can be saved when the run has ended.");
  if (isExporting()) return tr("A report is being saved.");
  if (results_.empty()) return tr("There are no checksums to export yet.");
  return {};
}

}  // namespace tallyfold
