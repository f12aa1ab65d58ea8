#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stop_token>

struct stat;

namespace tallyfold {

/// Identity and version of a file at one instant. Sizes in bytes, times since 1970-01-01 UTC.
struct FileSnapshot {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t fileSize = 0;
  std::int64_t modifiedSeconds = 0;
  std::int64_t modifiedNanoseconds = 0;
  std::int64_t changedSeconds = 0;
  std::int64_t changedNanoseconds = 0;
  bool isRegularFile = false;

  static FileSnapshot from(const struct stat& status);

  /// The same file, whatever happened to its contents.
  [[nodiscard]] bool isSameIdentity(const FileSnapshot& other) const {
    return device == other.device && inode == other.inode && isRegularFile == other.isRegularFile;
  }

  /// The same version of the same file is equality of all fields.
  bool operator==(const FileSnapshot&) const = default;
};

/// Returns when every change from now on gives the file another snapshot. Many kernels stamp changes with a clock that
/// ticks only every few milliseconds, some file systems keep no more than the seconds of it, and what changes twice
/// within a tick has the same times: this waits for the end of the tick in which the file was changed last. Returns at
/// once for any older file, and for one from the future, whose times are those of another machine or of a clock that
/// was set back. Fails with CancellationError, seen within a millisecond, where it would have to wait.
void waitUntilChangesShow(const FileSnapshot& snapshot, const std::stop_token& cancellation);

}  // namespace tallyfold

/// Keyed: whoever makes a file system chooses its numbers and times.
template <>
struct std::hash<tallyfold::FileSnapshot> {
  std::size_t operator()(const tallyfold::FileSnapshot& snapshot) const;
};
