// Below which folder the names of a list are looked for.

#include <QPointer>

#include "app/manifest/ManifestFlow.h"
#include "app/shared/FileLocation.h"
#include "checksums/paths/ManifestPaths.h"

namespace tallyfold {

FileCard ManifestFlow::manifestRoot() const { return fileCard(rootURL_); }

QString ManifestFlow::manifestRootRefusal() const {
  return isVerifying_ ? tr("A verification is under way.") : QString();
}

void ManifestFlow::setManifestRoot(const QList<QUrl>& urls) {
  auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (!location) return;
  if (isDirectoryPath(*location) && location->has_parent_path() && location->has_relative_path()) {
    location = location->parent_path();
  }
  cancelManifestVerification();
  resetManifestCounters();
  rootURL_ = location;
  emit manifestURLsChanged();
}

void ManifestFlow::chooseManifestRoot() {
  context().desktop().chooseFolder([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setManifestRoot({url});
  });
}

void ManifestFlow::useProposedManifestRoot() {
  const auto proposal = proposedManifestRoot();
  if (!proposal) return;
  if (proposal == likelyRoot_) seenRoot_ = proposal;
  setManifestRoot({fileUrl(*proposal)});
}

std::optional<std::filesystem::path> ManifestFlow::proposedManifestRoot() const {
  if (!url_) return std::nullopt;
  if (likelyRoot_) return likelyRoot_;
  // Only names that start with a slash are of this system: those of others have drives.
  const bool isFromNames = reading_.commonFolder.starts_with('/');
  std::filesystem::path proposal = isFromNames ? std::filesystem::path(reading_.commonFolder) : *url_;
  if (proposal.has_relative_path()) proposal = proposal.parent_path();
  return proposal == rootURL_ || (rootURL_ && rootURL_ == seenRoot_) ? std::nullopt : std::optional(proposal);
}

ProposedFolder ManifestFlow::offeredManifestRoot() const {
  // Behind a run only what was seen to hold a file of the list.
  const auto proposal = stage_ == ManifestTally::Stage::none ? proposedManifestRoot() : likelyRoot_;
  if (!proposal || jobs_.total() == 0 || isBusy()) return {};
  return {.isPresent = true,
          .name = displayText(proposal->has_filename() ? proposal->filename() : *proposal),
          .path = displayText(*proposal)};
}

// Every file is missing: perhaps they are below another folder nearby. That is only proposed.
void ManifestFlow::lookForRoot() {
  seenRoot_.reset();
  rootTask_.start(
      BackgroundTask::Priority::utility,
      [root = *rootURL_, other = proposedManifestRoot(),
       entries = entries_](const FlowTask<ManifestFlow>::Context& task) {
        const auto likely = ChecksumManifestService::likelyRoot(root, other, entries->front().relativePath);
        if (!likely) return;
        task.post([likely](ManifestFlow& flow) {
          flow.likelyRoot_ = likely;
          emit flow.manifestURLsChanged();
        });
      },
      [](ManifestFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
}

}  // namespace tallyfold
