#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "checksums/paths/FileBelow.h"
#include "checksums/paths/ManifestGroups.h"
#include "checksums/paths/ManifestPaths.h"
#include "checksums/verification/FixedCapacityCache.h"
#include "core/digests/DigestMap.h"
#include "core/files/FileHandle.h"

namespace tallyfold {

/// One version of one file, whatever it is called. A file that is rewritten becomes another one, also of the same size.
using ManifestFileContentIdentity = FileSnapshot;

/// The digests of a file that was hashed, and where that was.
struct ManifestDigestCacheEntry {
  DigestMap digests;  ///< Grows when a later group asks for more algorithms.
  std::filesystem::path sourceURL;
  ManifestResolvedFileIdentity sourceIdentity;
};

/// What a run has before it hashes anything.
struct PreparedManifestVerification {
  std::vector<ManifestFileGroup> groups;
  ManifestRootIdentity rootIdentity;
};

/// Why a file was not hashed, as far as a verdict tells it apart.
enum class ManifestFailureCause { missing, absolutePath, rootChanged, other };

struct ManifestGroupFailure {
  ManifestFailureCause cause;
  std::string sentence;  ///< For the user, about all entries of the group.
};

/// What the work on one group came to: digests, among them those of all algorithms of the group; or why there are none.
using ManifestGroupOutcome = std::variant<DigestMap, ManifestGroupFailure>;

/// How much there is to read of the file that a list calls `relativePath`, for the screen alone: no result depends on
/// it. 0 where there is no regular file; none where that cannot be told without following links. Asks the file system;
/// on any thread.
std::optional<std::int64_t> shownFileSize(std::string_view relativePath, const ManifestRootIdentity& root) noexcept;

/// One run of a verification. Used by one thread at a time, from any.
///
/// No byte from outside the root is ever hashed, whatever other programs do to the tree meanwhile, because two things
/// do not depend on the moment:
/// - The root is opened once, and is the folder that was captured. Files are opened below this open folder, not by a
///   path that begins elsewhere.
/// - The kernel opens a file without following any link. Where there are links on the way, they are followed as text
///   first; the outcome is checked to be inside and has no links, and is then opened in the same way. A link that
///   appears in it by then is an error.
/// A file is read only through what was opened so. The path is looked at before, to open nothing but regular files, and
/// after, to tell that it still leads to this file.
class ManifestVerification {
 public:
  /// `rootIdentity` is what `rootURL` was at the start. Touches no file.
  ManifestVerification(std::filesystem::path rootURL, ManifestRootIdentity rootIdentity);

  /// Hashes the file of a group, at most once, and only with those algorithms that have not been applied to this
  /// version of it earlier in the run under whatever name. Blocks for as long as that takes. Fails with
  /// CancellationError, seen within one chunk; everything else that goes wrong is the outcome.
  ManifestGroupOutcome verify(
      const ManifestFileGroup& group, const std::stop_token& cancellation,
      const ReadCallback& progress = [](auto...) {}, ReadCounter* counter = nullptr);

  /// The version of the file that the digests are of that `verify` gave last; none where it gave none.
  [[nodiscard]] const std::optional<ManifestFileContentIdentity>& lastVersion() const { return lastVersion_; }

  /// Whether the file of a group is reached as it is in order to be hashed, and is this version still: its digests are
  /// those that it had as such. Opens it and reads nothing. Fails with CancellationError only.
  [[nodiscard]] bool isStill(const ManifestFileContentIdentity& version, const ManifestFileGroup& group,
                             const std::stop_token& cancellation);

 private:
  DigestMap digestsOf(const ManifestFileGroup& group, ManifestFileContentIdentity& identity,
                      const std::stop_token& cancellation, const ReadCallback& progress, ReadCounter* counter);
  void validateRoot();
  [[nodiscard]] bool isRootWithoutLinksUnchanged() const;
  [[nodiscard]] FileBelow open(std::string_view relativePath, const std::stop_token& cancellation) const;
  [[nodiscard]] std::optional<FileBelow> openWithoutLinks(std::string path) const;
  [[nodiscard]] FileBelow openThroughLinks(std::string_view relativePath, const std::stop_token& cancellation) const;
  [[nodiscard]] ManifestDigestCacheEntry* findCached(const ManifestFileContentIdentity& identity);

  std::filesystem::path rootURL_;
  ManifestRootIdentity rootIdentity_;
  std::optional<FileHandle> root_;  ///< Open from the first group on.
  std::optional<FileHandle> top_;   ///< "/", where the root was chosen by a path without links.
  FixedCapacityCache<ManifestFileContentIdentity, ManifestDigestCacheEntry> cache_;
  std::optional<ManifestFileContentIdentity> lastVersion_;
};

}  // namespace tallyfold
