#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <variant>
#include <vector>

#include "core/services/HashService.h"

namespace tallyfold {

/// What can be said about two files.
namespace FileComparison {

/// They have the same size and the same bytes, or are one file that is reached in two ways.
struct Identical {
  bool operator==(const Identical&) const = default;
};

/// Bytes of each. What is in them was not read.
struct DifferentSize {
  std::int64_t sizeOfA = 0;
  std::int64_t sizeOfB = 0;

  bool operator==(const DifferentSize&) const = default;
};

/// They have the same size, and differ first at this byte, counted from 0.
struct ContentMismatch {
  std::int64_t offset = 0;

  bool operator==(const ContentMismatch&) const = default;
};

/// Which versions of two files something was said about.
struct Versions {
  FileSnapshot a;
  FileSnapshot b;

  bool operator==(const Versions&) const = default;
};

/// The bytes of both files around their first difference: those of its row, where each file is taken as rows of 16
/// bytes, as far as the file goes.
struct FirstDifference {
  static constexpr std::int64_t rowSize = 16;

  std::int64_t offset = 0;  ///< Of the first byte that differs, counted from 0.
  std::vector<std::byte> rowOfA{};
  std::vector<std::byte> rowOfB{};

  /// Of the first byte of the row.
  [[nodiscard]] std::int64_t rowOffset() const { return offset - offset % rowSize; }

  bool operator==(const FirstDifference&) const = default;
};

/// All differences of two files, or of the part that files of different sizes have in common.
struct Differences {
  std::int64_t bytes = 0;  ///< So many differ,
  std::int64_t runs = 0;   ///< in so many runs, each as long as it can be.
  std::int64_t last = 0;   ///< The last one of them, counted from 0.

  bool operator==(const Differences&) const = default;
};

/// One of the two files, or neither.
enum class Side { neither, a, b };

}  // namespace FileComparison

/// Equal when it is the same case with the same numbers.
using FileComparisonResult =
    std::variant<FileComparison::Identical, FileComparison::DifferentSize, FileComparison::ContentMismatch>;

/// A result and what it takes to say more about the same files.
struct FileComparisonWithVersions {
  FileComparisonResult result;
  FileComparison::Versions versions;
  std::optional<FileComparison::FirstDifference> difference{};  ///< Of a mismatch.

  bool operator==(const FileComparisonWithVersions&) const = default;
};

namespace HashService {

/// Compares the files that `a` and `b` lead to, byte for byte. Files of different sizes, and a file with itself, are
/// not read. Failures are those of `hashFile`: a file that is replaced, truncated, extended or rewritten meanwhile
/// fails with `fileChangedDuringRead`, whatever was found by then; so do two files without a size when one of them has
/// content. `progress` grows strictly, stays below 1 while reading and is 1 exactly once, at the end of a successful
/// call; when a byte differs, it stays where it was. Cancellation is seen within one chunk. Holds at most one chunk and
/// a bit.
FileComparisonResult compareFiles(const std::filesystem::path& a, const std::filesystem::path& b,
                                  const std::stop_token& cancellation, const ProgressCallback& progress);

/// What `compareFiles` finds, and what is needed to go on from there. Fails as it does; `sideAtWork`, unless null, then
/// says at which of the files.
FileComparisonWithVersions compareFilesKeepingVersions(const std::filesystem::path& a, const std::filesystem::path& b,
                                                       const std::stop_token& cancellation,
                                                       const ProgressCallback& progress,
                                                       FileComparison::Side* sideAtWork = nullptr);

// What goes on where a comparison has ended fails as it does, and with `fileChangedDuringRead` when a file is not the
// version any more that was compared, or when one that has no size has content. `progress` is that of `compareFiles`,
// `sideAtWork` that of `compareFilesKeepingVersions`.

/// Where the bytes differ first that files of different sizes have both; none when one is the beginning of the other.
std::optional<FileComparison::FirstDifference> compareCommonPart(
    const std::filesystem::path& a, const std::filesystem::path& b, const FileComparison::Versions& versions,
    const std::stop_token& cancellation, const ProgressCallback& progress, FileComparison::Side* sideAtWork = nullptr);

/// All differences from the first one on, which is at `first`, to the end of the shorter file. `progress` is 1 at the
/// end, and a fraction of these bytes before.
FileComparison::Differences countDifferences(const std::filesystem::path& a, const std::filesystem::path& b,
                                             const FileComparison::Versions& versions, std::int64_t first,
                                             const std::stop_token& cancellation, const ProgressCallback& progress,
                                             FileComparison::Side* sideAtWork = nullptr);

}  // namespace HashService

}  // namespace tallyfold
