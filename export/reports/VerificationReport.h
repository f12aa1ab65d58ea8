#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>

#include "core/digests/DigestMap.h"
#include "core/digests/HashAlgorithm.h"
#include "core/services/FileHashResult.h"
#include "export/reports/ManifestService.h"

namespace tallyfold {

/// What came of the verification of a checksum list, as it is kept: docs/reports.md has the three formats. All texts
/// are UTF-8; sentences are as the screen says them. Immutable while it is written.
struct VerificationReport {
  /// The version of what docs/reports.md says; another one where a reader of this one would be misled.
  static constexpr int version = 1;

  enum class Status { match, mismatch, failed, unchecked };

  /// One entry of the list. Views are of what the report is made of.
  struct Entry {
    std::int64_t line;      ///< In the list, from 1.
    std::string_view path;  ///< As the list gives it.
    HashAlgorithm algorithm;
    std::string_view expected;
    std::string_view actual;  ///< Empty where no digest was calculated.
    Status status;
    std::string sentence{};  ///< Empty where the status says all.
    std::string note{};      ///< What is known of a missing file, such as where it is; empty where nothing is.
  };

  /// Work that follows a verification, as it is when the report is made.
  enum class Work { none, running, cancelled, failed, ended };

  struct UnlistedFile {
    std::string_view path;  ///< Below the root, of any bytes.
    std::string note;       ///< What is known of it, such as which missing file it is; empty where nothing is.
  };

  /// The files below the root that the list does not name, and which of them missing ones may be.
  struct Unlisted {
    Work walk = Work::none;  ///< That looks for them; all else is empty unless it has ended.
    Timestamp walkEnd{};
    Work search = Work::none;  ///< By their bytes, for the missing ones.
    Timestamp searchEnd{};     ///< All zero unless it has ended, as `walkEnd` is.
    bool isComplete = false;   ///< No other regular file may have been overlooked, and there was room for all.
    bool hasMore = false;      ///< There was no room for all.
    std::string remarks{};     ///< What else the walk met.
    std::size_t count = 0;
    std::function<UnlistedFile(std::size_t index)> at{};          ///< Any thread, one at a time.
    std::function<std::string(std::size_t entry)> noteOfEntry{};  ///< Any thread, one at a time.
  };

  /// Of the list's entries, and of those of its lines that are none.
  struct Counts {
    std::int64_t matched = 0;
    std::int64_t mismatched = 0;
    std::int64_t failed = 0;
    std::int64_t unchecked = 0;
    std::int64_t linesNotUnderstood = 0;
    std::int64_t linesIgnored = 0;  ///< Blank lines and comments.
  };

  std::string verdict;
  std::string details{};
  bool isAllMatch = false;  ///< Every line that may be an entry was checked, and matches.
  std::filesystem::path list;
  DigestMap listDigests{};  ///< Of the bytes that were read as the list: SHA-256, BLAKE3, or none.
  std::filesystem::path root;
  Timestamp start{};
  Timestamp end{};
  Counts counts{};
  Unlisted unlisted{};
  std::size_t entryCount = 0;
  std::function<Entry(std::size_t index)> entryAt{};  ///< Any thread, one at a time.

  /// Saves the report as `destination`, whole or not at all: fails as `writeAtomically`, and with CancellationError
  /// before any entry.
  void write(ManifestService::Format format, const std::filesystem::path& destination,
             const std::stop_token& cancellation) const;
};

}  // namespace tallyfold
