#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "checksums/lines/ChecksumManifestEntry.h"
#include "checksums/paths/ManifestGroups.h"
#include "core/digests/DigestMap.h"

namespace tallyfold {

/// An unlisted file that may be the missing one of an entry.
struct LikelyFile {
  /// How its path differs from the entry's.
  enum class Name { otherwise, inForm, inCase, inCaseAndForm };
  enum class Bytes {
    unknown,
    same,       ///< As far as all checksums tell that the list has of the missing file.
    sameCRC32,  ///< That is all the list has, and no proof.
    none,       ///< Both are empty, as many files are.
    other,
  };

  std::size_t entry;  ///< An index of the list's entries.
  std::size_t file;   ///< An index of the unlisted files.
  Name name = Name::otherwise;
  Bytes bytes = Bytes::unknown;
  std::uint32_t others = 0;  ///< Other missing files that the bytes of this one may be of.
  std::uint32_t copies = 0;  ///< Other unlisted files with the same bytes; 0 where its name tells it from them.

  bool operator==(const LikelyFile&) const = default;
};

struct LikelyFiles {
  std::vector<LikelyFile> ofEntries;   ///< At most one for each entry, in their order.
  std::vector<LikelyFile> ofFiles;     ///< The likeliest for each file, in the order of the files.
  std::size_t missingCount = 0;        ///< Files, not entries, that can be searched for.
  std::size_t emptyCount = 0;          ///< Missing files without bytes, which nothing tells from other empty files.
  std::size_t contradictoryCount = 0;  ///< Missing files with several checksums that no file can have at once.
  std::size_t foundCount = 0;     ///< Of `missingCount`, those whose bytes another file has, each a file of its own.
  std::size_t returnedCount = 0;  ///< Files that were missing, and are there again.
  HashAlgorithmSet algorithms;    ///< Of the checksums that files are searched by.
};

/// The missing files of a list, among the files of the folder that the list does not name. Used by one thread at a
/// time, from any. Takes time in proportion to both, whatever their names and checksums are.
class MissingFiles {
 public:
  /// `missing` are indices of `entries`, ascending. Both must outlive this, and so must `unlisted`, the paths of the
  /// files. Fails with CancellationError, as all operations do.
  MissingFiles(const std::vector<ChecksumManifestEntry>& entries, const std::vector<std::uint32_t>& missing,
               const std::vector<std::string>& unlisted, const std::stop_token& cancellation);

  /// What is to be known of the unlisted files.
  [[nodiscard]] HashAlgorithmSet algorithms() const { return algorithms_; }

  /// The digests of one of the unlisted files, each of which is told of at most once.
  void add(std::size_t file, const DigestMap& digests);

  /// It is gone, or has changed: nothing is to be said of it, neither by its digests nor by its name.
  void forget(std::size_t file);

  /// What is known by now. Each unlisted file is the likely one of as few missing files as can be; of files with the
  /// same bytes, one that has the same name in another folder is likelier.
  [[nodiscard]] LikelyFiles find(const std::stop_token& cancellation) const;

 private:
  struct Hashed;
  struct Choice;
  using Counts = std::unordered_map<std::size_t, std::uint32_t>;

  [[nodiscard]] bool hasDigestsOf(const ManifestFileGroup& group, const DigestMap& digests) const;
  void chooseByName(std::vector<Choice>& choices, const std::stop_token& cancellation) const;
  void chooseByBytes(std::vector<Choice>& choices, const std::stop_token& cancellation) const;
  void chooseOthers(std::vector<Choice>& choices, const std::stop_token& cancellation) const;
  [[nodiscard]] Counts countFiles() const;
  [[nodiscard]] std::uint32_t copiesOf(std::size_t group, std::size_t file, const Counts& counts) const;
  void addCopies(std::vector<LikelyFile>& ofFiles) const;

  const std::vector<ChecksumManifestEntry>& entries_;
  const std::vector<std::string>& unlisted_;
  std::vector<ManifestFileGroup> groups_;
  HashAlgorithmSet algorithms_;
  std::vector<HashAlgorithmSet> algorithmSets_;               // Of the groups, each once.
  std::vector<std::optional<std::size_t>> keys_;              // Of each group's digests; none where they contradict.
  std::unordered_map<std::size_t, std::size_t> groupsByKey_;  // The first of those that have these digests.
  std::vector<std::pair<std::size_t, std::size_t>> matches_;  // A key that a file's digests have, and the file.
  std::vector<bool> isKnown_;  // Whether the digests of each file are; else no match counts.
  std::vector<bool> isForgotten_;
};

}  // namespace tallyfold
