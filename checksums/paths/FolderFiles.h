#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "checksums/paths/FileBelow.h"
#include "checksums/paths/ManifestPaths.h"
#include "core/digests/DigestMap.h"
#include "core/files/FileHandle.h"
#include "core/files/FileSnapshot.h"

namespace tallyfold {

/// What a walk met beside regular files.
struct FolderWalk {
  struct UnreadFolder {
    std::string path;      ///< Below the root; empty for the root itself.
    std::string sentence;  ///< Why, for the user.
  };

  std::int64_t linkCount = 0;               ///< None was followed. Without those that the caller knows of.
  std::int64_t otherCount = 0;              ///< Pipes, sockets, devices: in the same way.
  std::vector<UnreadFolder> unreadFolders;  ///< The first `maximumUnreadFolders`; there may be files in them.
  std::int64_t unreadFolderCount = 0;
  std::int64_t changedFolderCount = 0;  ///< That changed while they were read: there may be other files in them.
  /// False where the walk ended early: there were too many folders, or the caller had enough.
  bool isComplete = true;
  bool hasTooManyFolders = false;  ///< That was why.

  static constexpr std::size_t maximumUnreadFolders = 100;
};

/// The regular files below one folder, as they are found: not by a list. The folder is opened once; all below it is
/// reached without following any link, so that nothing outside is looked at, whatever other programs do to the tree
/// meanwhile. Used by one thread at a time, from any.
class FolderFiles {
 public:
  /// Folders that wait to be read, and bytes of their paths, beyond which a walk ends.
  static constexpr std::size_t maximumWaitingFolders = 100'000;
  static constexpr std::size_t maximumWaitingSize = 67'108'864;

  /// Fails with ManifestPathError unless `root` is still the folder that was captured, whatever is in it by now; with
  /// std::system_error where it cannot be opened.
  explicit FolderFiles(const ManifestRootIdentity& root);

  /// Calls `visit` with the path below the root of each regular file, hidden ones too, in no particular order, until it
  /// returns false. `isKnown` says of the path of each link, pipe, socket and device whether it is not to be counted.
  /// Folders on other file systems are walked as well. A folder that cannot be read is no failure of the walk. Fails
  /// with CancellationError, seen between any two items; blocks for as long as the disk does.
  FolderWalk walk(
      const std::stop_token& cancellation, const std::function<bool(std::string path)>& visit,
      const std::function<bool(const std::string& path)>& isKnown = [](auto&) { return false; }) const;

  /// The digests of the file at `path`, a path of a walk, and in `version` the version of it that they are of. Fails
  /// as `FileBelow::open` and `FileBelow::hash`, but with HashServiceError for every change.
  DigestMap hash(const std::string& path, HashAlgorithmSet algorithms, const std::stop_token& cancellation,
                 const ReadCallback& progress, ReadCounter* counter = nullptr, FileSnapshot* version = nullptr) const;

  /// What a path, as `FileHandle::openBelow` takes it, leads to without any link. Fails with std::system_error.
  [[nodiscard]] FileSnapshot snapshotOf(const std::string& path) const { return root_.snapshotBelow(path); }

  /// Has the disk begin to bring the beginning of the file that a list calls `relativePath`, unless a link leads to it,
  /// and says whether that was not in memory. No result depends on it. From any number of threads at once.
  [[nodiscard]] bool fetchBeginning(std::string_view relativePath) const noexcept;

 private:
  FileHandle root_;
};

}  // namespace tallyfold
