// What Clear takes away from the Manifest screen, and how it comes back.

#include <utility>

#include "app/manifest/ManifestFlow.h"

namespace tallyfold {

QString ManifestFlow::clearManifestRefusal() const {
  return choice_.url || rootURL_ ? QString() : tr("Nothing is chosen.");
}

QString ManifestFlow::clearedSentence() const {
  if (!cleared_) return {};
  return cleared_->choice.url ? tr("Cleared the list.") : tr("Cleared the root folder.");
}

void ManifestFlow::clearManifest() {
  if (!clearManifestRefusal().isEmpty()) return;
  const bool isToBeRead = isLoading_;
  ManifestChoice choice = choice_;
  cancelManifest();
  choice_ = {};
  dismissCleared();
  ClearedManifest cleared{.isToBeRead = isToBeRead,
                          .choice = std::move(choice),
                          .rootURL = std::exchange(rootURL_, {}),
                          .list = std::exchange(list_, {}),
                          .rows = jobs_.replaceAll({}),
                          .run = std::exchange(run_, {}),
                          .bringFolderBack = folderKeeper_()};
  discardManifest();
  cleared_ = std::move(cleared);
  emit clearedSentenceChanged();
  emit manifestURLsChanged();
}

void ManifestFlow::undoClear() {
  if (!cleared_) return;
  ClearedManifest cleared = *std::exchange(cleared_, {});
  choice_ = std::move(cleared.choice);
  rootURL_ = std::move(cleared.rootURL);
  list_ = std::move(cleared.list);
  run_ = std::move(cleared.run);
  jobs_.replaceAll(std::move(cleared.rows));
  emit clearedSentenceChanged();
  emit manifestLinesChanged();
  emit manifestURLsChanged();
  emit manifestProgressChanged();
  cleared.bringFolderBack();
  if (cleared.isToBeRead) return readManifest();
  if (isEveryFileMissing() && !run_.likelyRoot) lookForRoot();
}

void ManifestFlow::dismissCleared() {
  if (!cleared_) return;
  BackgroundTask::dispose(std::exchange(cleared_, {}));
  emit clearedSentenceChanged();
}

}  // namespace tallyfold
