#pragma once

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <variant>

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

}  // namespace FileComparison

/// Equal when it is the same case with the same numbers.
using FileComparisonResult =
    std::variant<FileComparison::Identical, FileComparison::DifferentSize, FileComparison::ContentMismatch>;

namespace HashService {

/// Compares the files that `a` and `b` lead to, byte for byte. Files of different sizes, and a file with itself, are
/// not read. Failures are those of `hashFile`: a file that is replaced, truncated, extended or rewritten meanwhile
/// fails with `fileChangedDuringRead`, whatever was found by then; so do two files without a size when one of them has
/// content. `progress` grows strictly, stays below 1 while reading and is 1 exactly once, at the end of a successful
/// call; when a byte differs, it stays where it was. Cancellation is seen within one chunk. Holds at most one chunk and
/// a bit.
FileComparisonResult compareFiles(const std::filesystem::path& a, const std::filesystem::path& b,
                                  const std::stop_token& cancellation, const ProgressCallback& progress);

}  // namespace HashService

}  // namespace tallyfold
