#include "checksums/paths/FolderFiles.h"

#include <exception>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "checksums/paths/FileBelow.h"
#include "checksums/paths/ManifestGroups.h"
#include "core/base/Errors.h"
#include "core/files/FolderHandle.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

/// The folders that are still to be read: of a tree, first the deepest, so that few wait.
class WaitingFolders {
 public:
  /// False where there is no more room.
  bool add(std::string path) {
    if (paths_.size() == FolderFiles::maximumWaitingFolders) return false;
    if (path.size() > FolderFiles::maximumWaitingSize - size_) return false;
    size_ += path.size();
    paths_.push_back(std::move(path));
    return true;
  }
  bool isEmpty() const { return paths_.empty(); }
  std::string take() {
    std::string path = std::move(paths_.back());
    paths_.pop_back();
    size_ -= path.size();
    return path;
  }

 private:
  std::vector<std::string> paths_;
  std::size_t size_ = 0;
};

}  // namespace

FolderFiles::FolderFiles(const ManifestRootIdentity& root) : root_(FileHandle::openFolder(root.canonicalPath)) {
  const FileSnapshot opened = root_.snapshot();
  if (opened.device == root.snapshot.device && opened.inode == root.snapshot.inode) return;
  throw ManifestPathError(ManifestPathError::Case::rootChangedDuringVerification);
}

bool FolderFiles::fetchBeginning(std::string_view relativePath) const noexcept try {
  using namespace ChecksumManifestService;
  const ManifestGroupingKey key = manifestGroupingKey(relativePath);
  return key.kind == ManifestGroupingKey::Kind::normalized && root_.fetchBeginningBelow(key.path);
} catch (const std::exception&) {
  return false;
}

FolderWalk FolderFiles::walk(const std::stop_token& cancellation, const std::function<bool(std::string)>& visit,
                             const std::function<bool(const std::string&)>& isKnown) const {
  FolderWalk result;
  WaitingFolders waiting;
  waiting.add("");
  while (result.isComplete && !waiting.isEmpty()) {
    const std::string path = waiting.take();
    const std::string prefix = path.empty() ? path : path + '/';
    try {
      const FolderHandle folder(root_.openBelow(path.empty() ? "." : path, O_RDONLY | O_DIRECTORY));
      const FileSnapshot before = FileSnapshot::from(folder.status());
      waitUntilChangesShow(before, cancellation);
      folder.visitItems([&](std::string_view name, ItemKind kind) {
        HashService::checkCancellation(cancellation);
        std::string item;
        item.reserve(prefix.size() + name.size());
        item += prefix;
        item += name;
        if (kind == ItemKind::unknown) kind = folder.kindOf(std::string(name));
        if (kind == ItemKind::regularFile) {
          result.isComplete = visit(std::move(item));
        } else if (kind == ItemKind::folder) {
          result.isComplete = waiting.add(std::move(item));
          result.hasTooManyFolders = !result.isComplete;
        } else if (!isKnown(item)) {
          ++(kind == ItemKind::link ? result.linkCount : result.otherCount);
        }
        return result.isComplete;
      });
      if (FileSnapshot::from(folder.status()) != before) ++result.changedFolderCount;
    } catch (const std::system_error&) {
      ++result.unreadFolderCount;
      if (result.unreadFolders.size() < FolderWalk::maximumUnreadFolders) {
        result.unreadFolders.push_back({path, errorDescription(std::current_exception())});
      }
    }
  }
  return result;
}

DigestMap FolderFiles::hash(const std::string& path, HashAlgorithmSet algorithms, const std::stop_token& cancellation,
                            const ReadCallback& progress, ReadCounter* counter, FileSnapshot* version) const try {
  FileBelow file = FileBelow::open(root_, path);
  if (version != nullptr) *version = file.snapshot;
  return file.hash(root_, algorithms, cancellation, progress, counter);
} catch (const ManifestPathError&) {
  throw HashServiceError(HashServiceError::Case::fileChangedDuringRead);
}

}  // namespace tallyfold
