#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>

#include "core/digests/DigestMap.h"
#include "core/files/FileHandle.h"
#include "core/files/FileSnapshot.h"
#include "core/services/HashService.h"

namespace tallyfold {

/// Called while a file is read, with how much of it was and its size, in bytes: from the start, where nothing was, to
/// the end. Never empty; on the thread that does the work.
using ReadCallback = std::function<void(std::int64_t bytesRead, std::int64_t fileSize)>;

/// A regular file, open for reading, that was reached from an open folder without following any link.
struct FileBelow {
  FileHandle handle;
  FileSnapshot snapshot;  ///< Of what was opened.
  std::string path;       ///< Below the folder.

  /// Never waits for a pipe or a device. Fails with HashServiceError for what is not a regular file, links among it,
  /// with pathChangedDuringVerification where another file was opened than the one that was looked at, or with
  /// std::system_error. `path` is as `FileHandle::openBelow` takes it.
  static FileBelow open(const FileHandle& folder, std::string path);
  /// Opens a path that was looked at already, and led to `expected`; fails as where it was not.
  static FileBelow open(const FileHandle& folder, std::string path, const FileSnapshot& expected);

  /// Its digests, once, where `folder` is that of `open`. Fails as `HashService::hashOpenFile`, or with
  /// pathChangedDuringVerification where the path leads to another file by the end.
  DigestMap hash(const FileHandle& folder, HashAlgorithmSet algorithms, const std::stop_token& cancellation,
                 const ReadCallback& progress, ReadCounter* counter);
};

}  // namespace tallyfold
