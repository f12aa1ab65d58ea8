// Below which folder the names of a list are looked for.

#include <utility>

#include <QPointer>

#include "app/manifest/ManifestFlow.h"
#include "app/shared/FileLocation.h"
#include "checksums/paths/ManifestPaths.h"

namespace tallyfold {

FileCard ManifestFlow::manifestRoot() const { return fileCard(rootURL_); }

QString ManifestFlow::manifestRootRefusal() const {
  return isVerifying_ ? tr("A verification is under way.") : folderRefusal_;
}

void ManifestFlow::setManifestRoot(const QList<QUrl>& urls) {
  auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (!location) return;
  if (isDirectoryPath(*location) && location->has_parent_path() && location->has_relative_path()) {
    location = location->parent_path();
  }
  cancelManifestVerification();
  dismissCleared();
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
  if (proposal == run_.likelyRoot) choice_.seenRoot = proposal;
  setManifestRoot({fileUrl(*proposal)});
}

std::optional<std::filesystem::path> ManifestFlow::proposedManifestRoot() const {
  if (!choice_.url) return std::nullopt;
  if (run_.likelyRoot) return run_.likelyRoot;
  // Only names that start with a slash are of this system: those of others have drives.
  const bool isFromNames = list_.reading.commonFolder.starts_with('/');
  std::filesystem::path proposal = isFromNames ? std::filesystem::path(list_.reading.commonFolder) : *choice_.url;
  if (proposal.has_relative_path()) proposal = proposal.parent_path();
  return proposal == rootURL_ || (rootURL_ && rootURL_ == choice_.seenRoot) ? std::nullopt : std::optional(proposal);
}

ProposedFolder ManifestFlow::offeredManifestRoot() const {
  // Behind a run only what was seen to hold a file of the list.
  const auto proposal = run_.stage == ManifestTally::Stage::none ? proposedManifestRoot() : run_.likelyRoot;
  if (!proposal || jobs_.total() == 0 || isBusy()) return {};
  return {.isPresent = true,
          .name = displayText(proposal->has_filename() ? proposal->filename() : *proposal),
          .path = displayText(*proposal)};
}

bool ManifestFlow::isEveryFileMissing() const {
  return jobs_.total() > 0 && std::cmp_equal(run_.causes.missing, jobs_.total());
}

// Perhaps they are below another folder nearby. That is only proposed.
void ManifestFlow::lookForRoot() {
  choice_.seenRoot.reset();
  rootTask_.start(
      BackgroundTask::Priority::utility,
      [root = *rootURL_, other = proposedManifestRoot(),
       entries = list_.entries](const FlowTask<ManifestFlow>::Context& task) {
        const auto likely = ChecksumManifestService::likelyRoot(root, other, entries->front().relativePath);
        if (!likely) return;
        task.post([likely](ManifestFlow& flow) {
          flow.run_.likelyRoot = likely;
          emit flow.manifestURLsChanged();
        });
      },
      [](ManifestFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
}

}  // namespace tallyfold
