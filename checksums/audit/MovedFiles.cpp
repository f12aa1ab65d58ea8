#include "checksums/audit/MovedFiles.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <set>
#include <string>
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
    return files.snapshotOf(std::string(pathBelow(root, place.canonicalPath))).isRegularFile;
  } catch (const ManifestPathError&) {
  } catch (const std::system_error&) {
  }
  return false;
}

/// Why what was found out about a file does not hold any more: it is gone, or it is not the version that was hashed, if
/// it was. Empty where it still does.
std::string changeOf(const std::string& path, const std::optional<FileSnapshot>& version,
                     const FolderFiles& files) try {
  const FileSnapshot now = files.snapshotOf(path);
  return (version ? now == *version : now.isRegularFile) ? "" : "The file has changed since it was read.";
} catch (const std::system_error&) {
  return errorDescription(std::current_exception());
}

}  // namespace

MovedFiles MovedFiles::search(const FolderFiles& files, const Subject& subject, const Watcher& watcher,
                              const std::stop_token& cancellation) {
  std::vector<std::uint32_t> stillMissing;
  std::set<std::string> returned;
  for (const std::uint32_t entry : subject.missing) {
    HashService::checkCancellation(cancellation);
    const std::string& name = subject.entries[entry].relativePath;
    if (isThere(name, files, subject.rootIdentity.canonicalPath, cancellation)) {
      returned.insert(manifestGroupingKey(name).path);
    } else {
      stillMissing.push_back(entry);
    }
  }
  const std::vector<std::string>& paths = subject.unlisted;
  MissingFiles missing(subject.entries, stillMissing, paths, cancellation);
  MovedFiles moved;
  std::vector<std::optional<FileSnapshot>> versions(paths.size());  // Of those that were hashed.
  for (std::size_t file = 0; !missing.algorithms().empty() && file < paths.size(); ++file) {
    watcher.begins(file);
    HashService::checkCancellation(cancellation);
    try {
      FileSnapshot version;
      missing.add(
          file, files.hash(paths[file], missing.algorithms(), cancellation, watcher.reads, watcher.counter, &version));
      versions[file] = version;
    } catch (const std::exception& failure) {
      if (dynamic_cast<const HashServiceError*>(&failure) != nullptr) missing.forget(file);
      moved.failures.push_back({file, errorDescription(std::current_exception())});
    }
    watcher.ended(file + 1);
  }

  moved.likely = missing.find(cancellation);
  bool isSound = true;
  std::vector<bool> wasLookedAt(paths.size());
  const auto lookAgain = [&](std::size_t file) {
    HashService::checkCancellation(cancellation);
    if (wasLookedAt[file]) return;
    wasLookedAt[file] = true;
    std::string change = changeOf(paths[file], versions[file], files);
    if (change.empty()) return;
    isSound = false;
    missing.forget(file);
    if (versions[file]) moved.failures.push_back({file, std::move(change)});
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
  moved.likely.returnedCount = returned.size();
  return moved;
}

}  // namespace tallyfold
