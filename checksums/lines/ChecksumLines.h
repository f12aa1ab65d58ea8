#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "checksums/lines/ChecksumManifestEntry.h"

namespace tallyfold {

/// Checksum lists. Stateless: every operation may run on any number of threads at once. Texts are UTF-8; white space is
/// that of `core/text/UnicodeText.h`.
namespace ChecksumManifestService {

/// What the lines of a list came to.
struct ParseResult {
  std::vector<ChecksumManifestEntry> entries;  ///< In the order of the lines.
  std::vector<std::string> warnings;           ///< Sentences for the user, about the first unsupported lines only.
  std::int64_t ignoredLineCount = 0;           ///< Blank lines and comments.
  std::int64_t unsupportedLineCount = 0;

  bool operator==(const ParseResult&) const = default;
};

/// Warnings that a result holds at most. Lines after that are counted only.
inline constexpr std::size_t maximumWarnings = 100;

/// Adds one line to `result`: as an entry, or as one more ignored or unsupported line. `line` comes without its line
/// break; a carriage return at its end, and a byte-order mark before line 1, do not matter. The forms are tried in the
/// order BSD, GNU, SFV. `preferredGNUAlgorithm` decides between the algorithms that a GNU line's digest may be of.
void processLine(std::string_view line, std::int64_t lineNumber, std::optional<HashAlgorithm> preferredGNUAlgorithm,
                 ParseResult& result);

/// "SHA256 (name) = digest", as BSD's tools and `sha256sum --tag` write it. The name may hold parentheses and may be
/// empty. Names are not unescaped.
std::optional<ChecksumManifestEntry> parseBSDLine(std::string_view line, std::int64_t lineNumber);

/// "digest  name", "digest *name", or either with a tab for the first blank, as GNU coreutils and b3sum write it; with
/// a backslash before the digest, the name is escaped. The algorithm follows from the number of digits, and where that
/// is not enough, from `preferredAlgorithm`.
std::optional<ChecksumManifestEntry> parseGNUStyleLine(std::string_view line, std::int64_t lineNumber,
                                                       std::optional<HashAlgorithm> preferredAlgorithm);

/// Undoes what coreutils do to the names of files: `\n`, `\r` and `\\` become one character. All else stays.
std::string unescapeCoreutilsFilename(std::string_view name);

/// A checksum without its file.
struct SingleChecksum {
  HashAlgorithm algorithm;
  std::string expectedHash;  ///< `algorithm.hexLength()` lower-case hexadecimal digits.

  bool operator==(const SingleChecksum&) const = default;
};

/// Bytes of a text beyond which no single checksum is looked for in it.
inline constexpr std::size_t maximumSingleChecksumSize = 65'536;

/// The checksum in `text`: a digest by itself, in any case, with any white space and perhaps 0x before it; or a line
/// of a list. `preferredAlgorithm` decides where the number of digits leaves a choice; where it leaves none,
/// the number of digits wins, without a word. None when there is no checksum, or a choice and no algorithm to decide
/// it.
std::optional<SingleChecksum> extractSingleChecksum(std::string_view text,
                                                    std::optional<HashAlgorithm> preferredAlgorithm);

/// Whether the checksum in `text` may be of several algorithms, and does not say which.
bool isAmbiguousSingleChecksum(std::string_view text);

/// The algorithms that such an ambiguous checksum may be of, which have digests of the same length; none of any other
/// text.
HashAlgorithmSet ambiguousCandidates(std::string_view text);

/// The algorithm that the name of a checksum list announces: "x.sha256", "SHA-1.txt", "B3SUMS", "md5-checksums.txt".
std::optional<HashAlgorithm> algorithmHint(const std::filesystem::path& url);

/// Whether a file is called what checksum lists are called: "x.md5", "x.sha256sum", "x.md5.txt", "SHA512SUMS",
/// "sha256sum-arm64.txt", "SHASUMS256.txt", "tool_1.2_checksums.txt".
bool isListName(const std::filesystem::path& url);

}  // namespace ChecksumManifestService

}  // namespace tallyfold
