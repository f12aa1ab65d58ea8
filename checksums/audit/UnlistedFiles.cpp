#include "checksums/audit/UnlistedFiles.h"

#include <algorithm>
#include <deque>
#include <exception>
#include <optional>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "checksums/lines/ChecksumLines.h"
#include "checksums/paths/ManifestGroups.h"
#include "core/base/KeyedHash.h"
#include "core/services/HashService.h"

namespace tallyfold {

using namespace ChecksumManifestService;

namespace {

constexpr std::size_t kBetweenChecks = 256;

/// What the entries of a list call their files.
class ListedNames {
 public:
  ListedNames(const std::vector<ChecksumManifestEntry>& entries, const std::stop_token& cancellation) {
    isMet_.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (i % kBetweenChecks == 0) HashService::checkCancellation(cancellation);
      const std::string& written = entries[i].relativePath;
      ManifestGroupingKey key = manifestGroupingKey(written);
      if (key.kind == ManifestGroupingKey::Kind::raw) {
        raw_.push_back(written);
      } else {
        // Nearly every name is written in its normal form already.
        const std::string_view name = key.path == written ? written : others_.emplace_back(std::move(key.path));
        isMet_.emplace(name, false);
      }
    }
  }

  bool meet(std::string_view path) {
    const auto found = isMet_.find(path);
    if (found != isMet_.end()) found->second = true;
    return found != isMet_.end();
  }

  [[nodiscard]] bool contains(std::string_view path) const { return isMet_.contains(path); }

  [[nodiscard]] bool hasRefused() const { return !raw_.empty(); }

  /// Calls `visit` with each name that no file has.
  template <typename Visit>
  void visitOthers(Visit visit) const {
    for (const std::string_view name : raw_) visit(name);
    for (const auto& [name, isMet] : isMet_) {
      if (!isMet) visit(name);
    }
  }

 private:
  std::unordered_map<std::string_view, bool, KeyedHash> isMet_;
  std::vector<std::string_view> raw_;
  std::deque<std::string> others_;
};

std::string_view folderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == path.npos ? std::string_view() : path.substr(0, slash);
}

/// Where the list is below the root; empty when it is elsewhere.
std::string placeOf(const std::filesystem::path& list, const ManifestRootIdentity& root,
                    const std::stop_token& cancellation) {
  std::string path = list.native();
  try {
    path = captureResolvedFileIdentity(list, cancellation).canonicalPath;
  } catch (const ManifestPathError&) {  // It is gone by now: nothing will be met there.
  }
  return std::string(pathBelow(root.canonicalPath, path));
}

/// Where a name leads that no file has: through links, or with slashes for backslashes. Empty for nowhere, none where
/// that cannot be told.
std::optional<std::string> placeOf(std::string_view name, const ManifestRootIdentity& root,
                                   const std::stop_token& cancellation) {
  try {
    return std::string(pathBelow(root.canonicalPath, locate(name, root.canonicalPath, cancellation).canonicalPath));
  } catch (const ManifestPathError&) {
    return "";
  } catch (const std::system_error&) {
    return std::nullopt;
  }
}

}  // namespace

UnlistedFiles UnlistedFiles::find(const FolderFiles& files, const ManifestRootIdentity& root,
                                  const std::vector<ChecksumManifestEntry>& entries, const std::filesystem::path& list,
                                  const std::stop_token& cancellation) {
  ListedNames listed(entries, cancellation);
  const std::string ownPlace = placeOf(list, root, cancellation);
  const auto isOtherList = [&](const std::string& path) {
    const std::string_view folder = folderOf(path);
    const bool isBeside = folder.empty() || (!ownPlace.empty() && folder == folderOf(ownPlace));
    return isBeside && isListName(path);
  };
  UnlistedFiles found;
  found.hasRefusedNames = listed.hasRefused();
  std::size_t size = 0;
  const auto visit = [&](std::string path) {
    if (listed.meet(path)) return true;
    if (path == ownPlace) return true;
    if (isOtherList(path)) return ++found.listCount, true;
    size += path.size();
    found.hasMore = found.paths.size() == maximumCount || size > maximumSize;
    if (!found.hasMore) found.paths.push_back(std::move(path));
    return !found.hasMore;
  };
  // A link that has a name of the list was followed, or is an entry that failed.
  found.walk = files.walk(cancellation, visit, [&](const std::string& path) { return listed.contains(path); });
  std::ranges::sort(found.paths);
  HashService::checkCancellation(cancellation);

  if (found.paths.empty()) return found;
  std::vector<std::string> ledTo;
  listed.visitOthers([&](std::string_view name) {
    HashService::checkCancellation(cancellation);
    std::optional<std::string> place = placeOf(name, root, cancellation);
    if (!place) {
      found.hasRefusedNames = true;
    } else if (std::ranges::binary_search(found.paths, *place)) {
      ledTo.push_back(*std::move(place));
    }
  });
  std::ranges::sort(ledTo);
  std::erase_if(found.paths, [&](const std::string& path) { return std::ranges::binary_search(ledTo, path); });
  return found;
}

}  // namespace tallyfold
