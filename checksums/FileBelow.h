#pragma once

#include <string>

#include "core/files/FileHandle.h"
#include "core/files/FileSnapshot.h"

namespace tallyfold {

/// A regular file, open for reading, that was reached from an open folder without following any link.
struct FileBelow {
  FileHandle handle;
  FileSnapshot snapshot;  ///< Of what was opened.
  std::string path;       ///< Below the folder.

  /// Never waits for a pipe or a device. Fails with HashServiceError for what is not a regular file, links among it,
  /// with pathChangedDuringVerification where another file was opened than the one that was looked at, or with
  /// std::system_error. `path` is as `FileHandle::openBelow` takes it.
  static FileBelow open(const FileHandle& folder, std::string path);

  /// Fails with pathChangedDuringVerification unless the path still leads to the file.
  void validatePath(const FileHandle& folder) const;
};

}  // namespace tallyfold
