#include "checksums/FileBelow.h"

#include <fcntl.h>
#include <system_error>
#include <utility>

#include "checksums/ManifestPaths.h"
#include "core/base/Errors.h"

namespace tallyfold {

FileBelow FileBelow::open(const FileHandle& folder, std::string path) {
  const FileSnapshot expected = folder.snapshotBelow(path);
  if (!expected.isRegularFile) throw HashServiceError(HashServiceError::Case::notRegularFile);
  FileHandle handle = folder.openBelow(path, O_RDONLY | O_NONBLOCK);
  const FileSnapshot opened = handle.snapshot();
  if (!opened.isSameIdentity(expected)) throw ManifestPathError(ManifestPathError::Case::pathChangedDuringVerification);
  return {.handle = std::move(handle), .snapshot = opened, .path = std::move(path)};
}

void FileBelow::validatePath(const FileHandle& folder) const {
  try {
    if (folder.snapshotBelow(path).isSameIdentity(snapshot)) return;
  } catch (const std::system_error&) {
    // The path leads nowhere any more.
  }
  throw ManifestPathError(ManifestPathError::Case::pathChangedDuringVerification);
}

}  // namespace tallyfold
