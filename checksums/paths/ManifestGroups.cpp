#include "checksums/paths/ManifestGroups.h"

#include <algorithm>
#include <utility>

#include "core/services/HashService.h"

namespace tallyfold {

HashAlgorithmSet ManifestFileGroup::algorithms() const {
  HashAlgorithmSet algorithms;
  for (const ChecksumManifestEntry& entry : entries) algorithms.insert(entry.algorithm);
  return algorithms;
}

bool ManifestFileGroup::operator==(const ManifestFileGroup& other) const {
  const auto isEqual = [](const ChecksumManifestEntry& a, const ChecksumManifestEntry& b) { return a == b; };
  return relativePath == other.relativePath && std::ranges::equal(entries, other.entries, isEqual);
}

namespace ChecksumManifestService {

ManifestGroupingKey manifestGroupingKey(std::string_view relativePath) {
  using Kind = ManifestGroupingKey::Kind;
  const auto raw = [&] { return ManifestGroupingKey{.kind = Kind::raw, .path = std::string(relativePath)}; };
  if (relativePath.starts_with('/') || relativePath.find('\0') != std::string_view::npos) return raw();
  std::string path;
  path.reserve(relativePath.size());
  for (std::size_t start = 0; start < relativePath.size();) {
    const std::size_t end = std::min(relativePath.find('/', start), relativePath.size());
    const std::string_view component = relativePath.substr(start, end - start);
    start = end + 1;
    if (component.empty() || component == ".") continue;
    if (component == "..") {
      if (path.empty()) return raw();
      const std::size_t slash = path.rfind('/');
      path.resize(slash != std::string::npos ? slash : 0);
    } else {
      if (!path.empty()) path += '/';
      path += component;
    }
  }
  return path.empty() ? raw() : ManifestGroupingKey{.kind = Kind::normalized, .path = std::move(path)};
}

EntryGrouper::EntryGrouper(std::size_t expectedCount, std::stop_token cancellation)
    : cancellation_(std::move(cancellation)) {
  indices_.reserve(expectedCount);
}

void EntryGrouper::add(const ChecksumManifestEntry& entry) {
  constexpr std::size_t entriesBetweenChecks = 256;
  if (count_++ % entriesBetweenChecks == 0) HashService::checkCancellation(cancellation_);
  // To keep the keys would be to keep another copy of all paths.
  const ManifestGroupingKey key = manifestGroupingKey(entry.relativePath);
  const std::size_t hash = std::hash<ManifestGroupingKey>()(key);
  const auto [first, last] = indices_.equal_range(hash);
  const auto found = std::find_if(
      first, last, [&](const auto& item) { return manifestGroupingKey(groups_[item.second].relativePath) == key; });
  if (found != last) {
    groups_[found->second].entries.emplace_back(entry);
  } else {
    indices_.emplace(hash, groups_.size());
    groups_.push_back({.relativePath = entry.relativePath, .entries = {entry}});
  }
}

std::vector<ManifestFileGroup> EntryGrouper::takeGroups() {
  HashService::checkCancellation(cancellation_);
  return std::move(groups_);
}

}  // namespace ChecksumManifestService

}  // namespace tallyfold
