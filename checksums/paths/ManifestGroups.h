#pragma once

#include <cstddef>
#include <functional>
#include <iterator>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "checksums/lines/ChecksumManifestEntry.h"
#include "core/base/KeyedHash.h"
#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// The entries of a list that name one file. A view of them: the list must outlive it.
struct ManifestFileGroup {
  std::string_view relativePath;                                             ///< As the first entry writes it.
  std::vector<std::reference_wrapper<const ChecksumManifestEntry>> entries;  ///< In the order of the list; never empty.

  [[nodiscard]] HashAlgorithmSet algorithms() const;

  /// Whether the entries are equal, wherever they are.
  bool operator==(const ManifestFileGroup& other) const;
};

namespace ChecksumManifestService {

/// What entries have in common that name one file, as far as their paths tell.
struct ManifestGroupingKey {
  enum class Kind {
    normalized,  ///< Without "." and "..", superfluous slashes, and anything that leads above its start.
    raw,         ///< As written, where it has no such form.
  };

  Kind kind = Kind::raw;
  std::string path;

  bool operator==(const ManifestGroupingKey&) const = default;
};

/// Bytes count: no case folding, no Unicode normalization, and a backslash is a character like any other.
ManifestGroupingKey manifestGroupingKey(std::string_view relativePath);

}  // namespace ChecksumManifestService

}  // namespace tallyfold

template <>
struct std::hash<tallyfold::ChecksumManifestService::ManifestGroupingKey> {
  std::size_t operator()(const tallyfold::ChecksumManifestService::ManifestGroupingKey& key) const {
    return tallyfold::KeyedHash()(key.path) ^ static_cast<std::size_t>(key.kind);
  }
};

namespace tallyfold::ChecksumManifestService {

/// Takes the entries of a list one by one and groups them. Copies none of them. For `groupEntries`.
class EntryGrouper {
 public:
  EntryGrouper(std::size_t expectedCount, std::stop_token cancellation);

  void add(const ChecksumManifestEntry& entry);
  void add(const ChecksumManifestEntry&&) = delete;
  [[nodiscard]] std::vector<ManifestFileGroup> takeGroups();

 private:
  std::stop_token cancellation_;
  std::unordered_multimap<std::size_t, std::size_t> indices_;  // Of groups, by the hashes of their keys.
  std::vector<ManifestFileGroup> groups_;
  std::size_t count_ = 0;
};

/// The entries of a list, in groups that come in the order of their first entries. `entries` is anything of known size
/// that gives references to entries, which must outlive the groups. Fails with CancellationError, seen within 256
/// entries.
template <typename Entries>
std::vector<ManifestFileGroup> groupEntries(const Entries& entries, const std::stop_token& cancellation) {
  EntryGrouper grouper(std::size(entries), cancellation);
  for (const ChecksumManifestEntry& entry : entries) grouper.add(entry);
  return grouper.takeGroups();
}

template <typename Entries>
std::vector<ManifestFileGroup> groupEntries(const Entries&& entries, const std::stop_token& cancellation) = delete;

}  // namespace tallyfold::ChecksumManifestService
