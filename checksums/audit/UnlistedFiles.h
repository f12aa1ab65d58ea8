#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

#include "checksums/lines/ChecksumManifestEntry.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/paths/ManifestPaths.h"

namespace tallyfold {

/// The regular files below a root that no entry of a list leads to.
struct UnlistedFiles {
  /// Files, and bytes of their paths, beyond which none is looked for.
  static constexpr std::size_t maximumCount = 100'000;
  static constexpr std::size_t maximumSize = 33'554'432;

  std::vector<std::string> paths;  ///< Below the root, in byte order.
  bool hasMore = false;            ///< There was no room for another.
  std::int64_t listCount = 0;      ///< Other checksum lists, which were left out.
  bool hasRefusedNames = false;    ///< Of the list: they lead nowhere, as absolute ones, or cannot be followed.
  FolderWalk walk;

  /// Of the files that a walk of `files` meets, which are those below `root`. Names are compared byte by byte; where no
  /// file has an entry's name, that leads to what the verification takes it for. The list itself is left out, and so
  /// are the files that are called what lists are, in the root or beside the list. Reads no file. Fails with
  /// CancellationError; what else goes wrong is in `walk`.
  static UnlistedFiles find(const FolderFiles& files, const ManifestRootIdentity& root,
                            const std::vector<ChecksumManifestEntry>& entries, const std::filesystem::path& list,
                            const std::stop_token& cancellation);
};

}  // namespace tallyfold
