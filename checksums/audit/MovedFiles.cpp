#include "checksums/audit/MovedFiles.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "core/base/Errors.h"
#include "core/files/FileSnapshot.h"

namespace tallyfold {

using namespace ChecksumManifestService;

namespace {

/// Whether the name leads to a file by now.
bool isThere(const std::string& name, const FolderFiles& files, const std::string& root,
             const std::stop_token& cancellation) {
  try {
    const ManifestLocation place = locate(name, root, cancellation);
    return files.isFile(std::string(pathBelow(root, place.canonicalPath)));
  } catch (const ManifestPathError&) {
  } catch (const std::system_error&) {
  }
  return false;
}

/// The unlisted files that were hashed.
class HashedFiles {
 public:
  explicit HashedFiles(std::size_t count) : versions_(count) {}

  void add(std::size_t file, const FileSnapshot& version) { versions_[file] = version; }

  /// Whether a file that was hashed has changed since. Looks at it once.
  bool isOther(std::size_t file, const FolderFiles& files, const std::string& path) {
    const std::optional<FileSnapshot> version = std::exchange(versions_[file], std::nullopt);
    return version && !files.isStill(path, *version);
  }

 private:
  std::vector<std::optional<FileSnapshot>> versions_;  // Of those that are to be looked at again.
};

}  // namespace

MovedFiles MovedFiles::search(const FolderFiles& files, const Subject& subject, const Watcher& watcher,
                              const std::stop_token& cancellation) {
  std::vector<std::uint32_t> stillMissing;
  for (const std::uint32_t entry : subject.missing) {
    HashService::checkCancellation(cancellation);
    const std::string& name = subject.entries[entry].relativePath;
    if (!isThere(name, files, subject.rootIdentity.canonicalPath, cancellation)) stillMissing.push_back(entry);
  }
  const std::vector<std::string>& paths = subject.unlisted;
  MissingFiles missing(subject.entries, stillMissing, paths, cancellation);
  MovedFiles moved;
  HashedFiles hashed(paths.size());
  for (std::size_t file = 0; !missing.algorithms().empty() && file < paths.size(); ++file) {
    watcher.begins(file);
    HashService::checkCancellation(cancellation);
    try {
      FileSnapshot version;
      missing.add(
          file, files.hash(paths[file], missing.algorithms(), cancellation, watcher.reads, watcher.counter, &version));
      hashed.add(file, version);
    } catch (const std::exception&) {
      moved.failures.push_back({file, errorDescription(std::current_exception())});
    }
    watcher.ended(file + 1);
  }

  moved.likely = missing.find(cancellation);
  bool isSound = true;
  const auto lookAgain = [&](std::size_t file) {
    HashService::checkCancellation(cancellation);
    if (!hashed.isOther(file, files, paths[file])) return;
    isSound = false;
    missing.forget(file);
    moved.failures.push_back({file, "The file has changed since it was read."});
  };
  for (const LikelyFile& likely : moved.likely.ofFiles) lookAgain(likely.file);
  if (!isSound) {
    // Any of the others may be taken for a missing one now.
    for (std::size_t file = 0; file < paths.size(); ++file) lookAgain(file);
    moved.likely = missing.find(cancellation);
    std::ranges::sort(moved.failures, {}, &Failure::file);
  }
  const ManifestRootIdentity root = captureRootIdentity(subject.root, cancellation);
  if (!root.snapshot.isSameIdentity(subject.rootIdentity.snapshot)) {
    throw ManifestPathError(ManifestPathError::Case::rootChangedDuringVerification);
  }
  moved.likely.returnedCount = subject.missing.size() - stillMissing.size();
  return moved;
}

}  // namespace tallyfold
