#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "core/digests/HashAlgorithm.h"

namespace tallyfold::ChecksumManifestService {

/// A checksum and the file that it is for, as one line of a list has them.
struct FileChecksum {
  std::int64_t lineNumber = 0;  ///< From 1.
  std::string fileName;         ///< The last component of the name in the line. May be empty.
  /// A line that `extractSingleChecksum` understands: the line itself, or where it is of another form, the same in a
  /// usual one. Where the digest may be of several algorithms, so may this.
  std::string text;

  bool operator==(const FileChecksum&) const = default;
};

/// The lines of `text` that hold a checksum and a name, in their order. None in a text of more than
/// `maximumSingleChecksumSize` bytes, or in one that is not UTF-8.
std::vector<FileChecksum> pastedLines(std::string_view text);

/// Bytes of a list in which nobody has asked to look for a file: lists of single files and of releases are short.
inline constexpr std::int64_t maximumSearchedListSize = 1'048'576;

/// The line of the list at `list` that is for a file of this name, of several algorithms the first; two lines where
/// there are some that contradict each other, or are for files of this name in several folders. Fails as `readList`
/// does, and blocks for as long.
std::vector<FileChecksum> linesFor(std::string_view fileName, const std::filesystem::path& list,
                                   const std::stop_token& cancellation);

/// Where lists that hold the line of `file` usually are: paths in its folder, at which there may be nothing.
std::vector<std::filesystem::path> usualListsOf(const std::filesystem::path& file);

}  // namespace tallyfold::ChecksumManifestService
