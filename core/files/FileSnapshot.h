#pragma once

#include <cstdint>

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

}  // namespace tallyfold
