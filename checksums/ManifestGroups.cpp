#include "checksums/ManifestGroups.h"

#include <algorithm>
#include <utility>

#include "core/HashService.h"

namespace tallyfold {

HashAlgorithmSet ManifestFileGroup::algorithms() const {
  HashAlgorithmSet algorithms;
  for (const ChecksumManifestEntry& entry : entries) algorithms.insert(entry.algorithm);
  return algorithms;
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
  const auto [position, isNew] = indices_.try_emplace(manifestGroupingKey(entry.relativePath), groups_.size());
  if (isNew) groups_.push_back({.relativePath = entry.relativePath, .entries = {}});
  groups_[position->second].entries.push_back(entry);
}

std::vector<ManifestFileGroup> EntryGrouper::takeGroups() {
  HashService::checkCancellation(cancellation_);
  return std::move(groups_);
}

}  // namespace ChecksumManifestService

}  // namespace tallyfold
