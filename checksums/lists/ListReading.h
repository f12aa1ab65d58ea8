#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "checksums/lines/ChecksumLines.h"
#include "core/digests/DigestMap.h"

namespace tallyfold::ChecksumManifestService {

/// What the user has decided about a list that leaves it open.
struct ReadingChoice {
  std::optional<HashAlgorithm> algorithm;  ///< Of digests of which several may be; the name of the list when none.
  bool withoutQuotes = false;              ///< Double quotes around a name are not part of it.

  bool operator==(const ReadingChoice&) const = default;
};

/// A list with all that can be read of it: the three forms of `processLine` to the letter, and what those leave
/// unsupported, in the other forms that lists are met in (docs/lists.md).
struct ListReading {
  /// Lines that were read in another form are neither unsupported nor warned of.
  ParseResult result;
  /// Of the unsupported lines, those that a choice of the algorithm makes entries, and what there is to choose from.
  std::int64_t ambiguousLineCount = 0;
  HashAlgorithmSet candidates;
  std::int64_t quotedNameCount = 0;  ///< Entries whose name stands in double quotes.
  std::int64_t bareDigestCount = 0;  ///< Entries whose algorithm follows from the length of the digest only.
  /// In bytes, of the files of the entries, in their order, where the list says it; -1 where it does not, and none
  /// behind the last that it says. Nothing is judged by them.
  std::vector<std::int64_t> sizes{};
  /// An algorithm that is not known, which the name of the list or a comment in it speaks of, and which has digests of
  /// the lengths that all entries have: "BLAKE2b"; empty when there is none.
  std::string_view otherAlgorithm{};
  bool isOtherAlgorithmInName = false;  ///< It is the name of the list that speaks of it.
  bool isAlgorithmInName = false;  ///< The name of the list speaks of the algorithm of every entry, and of no other.
  bool isSigned = false;           ///< The list is wrapped in a signature, of which nothing was checked.
  /// The folder that names were made relative to which started at the root of a file system: all of those in lines that
  /// only the other forms read. Empty when there were none, or nothing that they share.
  std::string commonFolder;

  /// SHA-256 and BLAKE3 of the very bytes that were read; none where the system's library refuses to calculate them.
  DigestMap digests{};

  bool operator==(const ListReading&) const = default;
};

/// Reads the list at `url` as `load` does, with the same limits and errors, and what that leaves unsupported in the
/// other forms.
ListReading readList(const std::filesystem::path& url, const ReadingChoice& choice,
                     const std::stop_token& cancellation);

/// Whether `line`, which begins a list, is read as one entry of this algorithm with this path: not every name survives
/// in every form. "./" before it does not matter.
bool isReadBack(std::string_view line, std::string_view path, HashAlgorithm algorithm);

/// Whether a name stands in double quotes, as some programs write it.
bool isQuotedName(std::string_view name);

/// The algorithm that a text speaks of and that is not in the catalogue: "B2SUMS" speaks of "BLAKE2b"; empty when there
/// is none.
std::string_view otherAlgorithmIn(std::string_view text);

/// Whether the name of a list speaks of this algorithm: "SHA256SUMS", "x.md5", "checksums_sha-256.txt".
bool isNamedIn(const std::filesystem::path& list, HashAlgorithm algorithm);

/// Whether digests of an algorithm that `otherAlgorithmIn` names so can have so many digits.
bool hasDigestsOfLength(std::string_view otherAlgorithm, std::size_t digits);

/// The algorithm that is likely meant where the name of a list announces none: "256" in it speaks for SHA-256, "b3" or
/// "blake3" for BLAKE3. Only to be proposed.
std::optional<HashAlgorithm> proposedAlgorithm(const std::filesystem::path& url);

}  // namespace tallyfold::ChecksumManifestService
