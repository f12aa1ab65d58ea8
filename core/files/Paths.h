#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "core/files/FileSnapshot.h"

namespace tallyfold {

// What is at a path at this moment. Failures are std::system_error with the system's error number; EINVAL when the path
// contains a NUL. Any thread.

/// Snapshot of what a path leads to, following symbolic links.
FileSnapshot snapshotOfPath(const std::filesystem::path& path);

/// Snapshot of the folder that a path leads to, following symbolic links. ENOTDIR for anything else.
FileSnapshot snapshotOfFolder(const std::filesystem::path& path);

/// What a path leads to, for the screen alone: no result depends on it.
struct Sight {
  bool isFolder = false;
  std::optional<std::int64_t> fileSize;  ///< Bytes of a regular file; none of anything else, and where nothing is told.
  /// Bytes that are there to be read: none at all where there is no regular file. Not known where nothing is told.
  std::optional<std::int64_t> readableSize;
};
Sight lookAt(const std::filesystem::path& path) noexcept;
/// Nothing is told of what a link leads to, be it the path itself or a folder on the way.
Sight lookAtWithoutLinks(const std::filesystem::path& path) noexcept;

/// Has the disk begin to bring the beginning of the regular file that a path leads to, and says whether that was not in
/// memory: for someone who reads it soon. No result depends on it.
bool fetchBeginning(const std::filesystem::path& path) noexcept;

/// Snapshot of the item at a path itself, should it be a symbolic link.
FileSnapshot snapshotOfItem(const std::filesystem::path& path);

/// Where the symbolic link at `path` points, as it is written there; none when the item is not a link.
std::optional<std::string> targetOfLink(const std::string& path);

}  // namespace tallyfold
