#include "checksums/paths/FileBelow.h"

#include <fcntl.h>
#include <system_error>
#include <utility>

#include "checksums/paths/ManifestPaths.h"
#include "core/base/Errors.h"

namespace tallyfold {

namespace {

[[noreturn]] void fail() { throw ManifestPathError(ManifestPathError::Case::pathChangedDuringVerification); }

bool isStillAt(const FileHandle& folder, const std::string& path, const FileSnapshot& snapshot) {
  try {
    return folder.snapshotBelow(path).isSameIdentity(snapshot);
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace

FileBelow FileBelow::open(const FileHandle& folder, std::string path) {
  const FileSnapshot found = folder.snapshotBelow(path);
  return open(folder, std::move(path), found);
}

FileBelow FileBelow::open(const FileHandle& folder, std::string path, const FileSnapshot& expected) {
  if (!expected.isRegularFile) throw HashServiceError(HashServiceError::Case::notRegularFile);
  FileHandle handle = folder.openBelow(path, O_RDONLY | O_NONBLOCK);
  const FileSnapshot opened = handle.snapshot();
  if (!opened.isSameIdentity(expected)) fail();
  return {.handle = std::move(handle), .snapshot = opened, .path = std::move(path)};
}

DigestMap FileBelow::hash(const FileHandle& folder, HashAlgorithmSet algorithms, const std::stop_token& cancellation,
                          const ReadCallback& progress, ReadCounter* counter) {
  waitUntilChangesShow(snapshot, cancellation);
  const std::int64_t size = snapshot.fileSize;
  progress(0, size);
  const auto tell = [&](double fraction) {
    progress(static_cast<std::int64_t>(fraction * static_cast<double>(size)), size);
  };
  DigestMap digests = HashService::hashOpenFile(handle, snapshot, algorithms, cancellation, tell, counter).hashes;
  progress(size, size);
  if (!isStillAt(folder, path, snapshot)) fail();
  return digests;
}

}  // namespace tallyfold
