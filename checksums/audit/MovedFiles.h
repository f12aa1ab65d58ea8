#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "checksums/audit/MissingFiles.h"
#include "checksums/lines/ChecksumManifestEntry.h"
#include "checksums/paths/FileBelow.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/paths/ManifestPaths.h"
#include "core/services/HashService.h"

namespace tallyfold {

/// What came of a search for the missing files of a list among the unlisted ones, by their bytes.
struct MovedFiles {
  /// An unlisted file that could not be read, has changed since, or is gone.
  struct Failure {
    std::size_t file;
    std::string sentence;
  };
  /// What it is about. All of it must outlive the search.
  struct Subject {
    const std::filesystem::path& root;
    const ManifestRootIdentity& rootIdentity;
    const std::vector<ChecksumManifestEntry>& entries;
    const std::vector<std::uint32_t>& missing;  ///< Indices of `entries`, ascending.
    const std::vector<std::string>& unlisted;   ///< Paths below the root.
  };
  /// Is told how far it has come, on its thread.
  struct Watcher {
    std::function<void(std::size_t file)> begins = [](auto) {};
    ReadCallback reads = [](auto...) {};
    std::function<void(std::size_t filesDone)> ended = [](auto) {};
    ReadCounter* counter = nullptr;
  };

  LikelyFiles likely;
  std::vector<Failure> failures;  ///< In the order of the files.

  /// Hashes the unlisted files, through the one open folder of `files`. At the end it looks at those once more of which
  /// it has something to say: what is said of one was so then, and nothing is of one that was gone or had changed.
  /// Fails with ManifestPathError where the root is another folder by the end, or with CancellationError; what else
  /// goes wrong is in `failures`.
  static MovedFiles search(const FolderFiles& files, const Subject& subject, const Watcher& watcher,
                           const std::stop_token& cancellation);
};

}  // namespace tallyfold
