#include "checksums/paths/ManifestPaths.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <initializer_list>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "core/files/FileHandle.h"
#include "core/files/Paths.h"
#include "core/services/HashService.h"

namespace tallyfold {

const char* ManifestPathError::what() const noexcept {
  switch (value_) {
    case Case::emptyPath:
      return "The manifest contains an empty file path.";
    case Case::invalidPath:
      return "The manifest contains a file path that cannot exist on macOS.";
    case Case::absolutePath:
      return "Absolute paths are not allowed in manifest verification.";
    case Case::outsideRoot:
      return "A manifest path resolves outside the selected root folder.";
    case Case::invalidRoot:
      return "The selected manifest root is not an accessible directory.";
    case Case::rootChangedDuringVerification:
      return "The manifest root folder changed while verification was running. Run verification again on a stable "
             "folder tree.";
    case Case::pathChangedDuringVerification:
      return "A manifest path changed while it was being verified. Run verification again on a stable folder tree.";
  }
  return "";
}

ManifestResolvedFileIdentity ManifestResolvedFileIdentity::from(std::string canonicalPath,
                                                                const FileSnapshot& snapshot) {
  return {
      .canonicalPath = std::move(canonicalPath),
      .device = snapshot.device,
      .inode = snapshot.inode,
      .generation = static_cast<std::uint64_t>(snapshot.fileSize),
      .identitySeconds = snapshot.changedSeconds,
      .identityNanoseconds = snapshot.changedNanoseconds,
  };
}

namespace ChecksumManifestService {

namespace {

[[noreturn]] void fail(ManifestPathError::Case reason) { throw ManifestPathError(reason); }

// Within this file, an absolute path without "." and ".." is text that begins with a slash and does not end in one; the
// root of the file system is the empty text.

/// Takes the first component off `path`, and the slashes around it.
std::string_view takeComponent(std::string_view& path) {
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  const std::string_view component = path.substr(0, path.find('/'));
  path.remove_prefix(component.size());
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  return component;
}

/// Goes from the folder `path` to a component of it, its parent, or itself.
void descend(std::string& path, std::string_view component) {
  if (component == "..") {
    path.erase(std::min(path.rfind('/'), path.size()));
  } else if (!component.empty() && component != ".") {
    path.append(1, '/').append(component);
  }
}

/// `relativePath` below `folder`, "." and ".." removed as text.
std::string joined(std::string folder, std::string_view relativePath) {
  while (!relativePath.empty()) descend(folder, takeComponent(relativePath));
  return folder;
}

std::string_view parentOf(std::string_view path) { return path.substr(0, std::min(path.rfind('/'), path.size())); }

bool isOneOf(const std::system_error& error, std::initializer_list<int> numbers) {
  return std::ranges::find(numbers, error.code().value()) != numbers.end();
}

/// What is missing, closed to us or of a name that nothing can have is no link. That a link could not be read is a
/// failure: to take it for a folder or a file would be to know where it leads.
std::optional<std::string> targetIfLink(const std::string& path) {
  try {
    return targetOfLink(path);
  } catch (const std::system_error& error) {
    if (isOneOf(error, {ENOENT, ENOTDIR, EACCES, ENAMETOOLONG, EINVAL})) return std::nullopt;
    throw;
  }
}

/// Follows the links of a path as the kernel does, but goes on where nothing is: a path may name what does not exist.
/// The kernel walks the folders between two links in one call: to ask for the links on a path one by one would make it
/// walk to each of them from the start.
class LinkFollower {
 public:
  /// `folder` is absolute and free of links.
  LinkFollower(std::string folder, std::stop_token cancellation)
      : path_(std::move(folder)), cancellation_(std::move(cancellation)) {}

  /// Goes to `path` from where it is.
  void follow(std::string_view path) {
    while (!path.empty() && !isInCircle()) {
      HashService::checkCancellation(cancellation_);
      const std::vector<std::size_t> ends = descendUpToParent(path);
      const std::size_t link = firstThatIsNoFolder(ends);
      if (link == ends.size()) continue;
      const auto target = targetIfLink(path_.substr(0, ends[link]));
      if (!target) continue;  // Nor is anything behind it a link.
      ++linkCount_;
      const std::string rest = path_.substr(ends[link]);
      path_.resize(target->starts_with('/') ? 0 : path_.rfind('/', ends[link] - 1));
      follow(*target);
      follow(rest);
    }
  }

  /// Whether there were more links than the kernel follows.
  [[nodiscard]] bool isInCircle() const { return linkCount_ > 40; }

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  /// Goes to the parents at the start of `path`, and then down as far as there are none; takes what it went from
  /// `path`. Returns where in `path_` the names end that it went down.
  std::vector<std::size_t> descendUpToParent(std::string_view& path) {
    std::vector<std::size_t> ends;
    while (!path.empty()) {
      std::string_view rest = path;
      const std::string_view component = takeComponent(rest);
      if (component == ".." && !ends.empty()) break;
      const std::size_t before = path_.size();
      descend(path_, component);
      if (path_.size() > before) ends.push_back(path_.size());
      path = rest;
    }
    return ends;
  }

  /// The first of these items on the path that may be a link because it is no folder; their number when there is none,
  /// or nothing is where it would be.
  std::size_t firstThatIsNoFolder(const std::vector<std::size_t>& ends) {
    if (ends.empty()) return 0;
    std::size_t folders = 0;  // So many are known to be folders, and the one at `first` is not, as far as is known.
    const auto reachable = std::ranges::lower_bound(ends, PATH_MAX) - ends.begin();
    std::size_t first = std::min(static_cast<std::size_t>(reachable), ends.size() - 1);
    for (std::size_t next = first; folders < first; next = folders + (first - folders + 1) / 2) {
      HashService::checkCancellation(cancellation_);
      try {
        if (!top_) top_ = FileHandle::openFolder("/");
        static_cast<void>(top_->openBelow(path_.substr(1, ends[next - 1] - 1), O_PATH | O_DIRECTORY));
        folders = next;
      } catch (const std::system_error& error) {
        // The kernel goes from folder to folder, and would have come upon a link first.
        if (isOneOf(error, {ENOENT, EACCES, ENAMETOOLONG, EINVAL})) return ends.size();
        if (!isOneOf(error, {ELOOP, ENOTDIR})) throw;
        first = next - 1;
      }
    }
    return first;
  }

  std::string path_;
  std::stop_token cancellation_;
  std::optional<FileHandle> top_;  // "/", when it is needed.
  int linkCount_ = 0;
};

std::string canonicalPathOf(const std::filesystem::path& url, const std::stop_token& cancellation) {
  const std::string path = joined("", std::filesystem::absolute(url).native());
  LinkFollower follower("", cancellation);
  follower.follow(path);
  return follower.isInCircle() ? path : follower.path();
}

/// A path of this file as everybody else writes it.
const std::string& writtenOut(const std::string& path) {
  static const std::string slash = "/";
  return path.empty() ? slash : path;
}

bool isInside(std::string_view root, std::string_view path) { return !pathBelow(root, path).empty(); }

std::string folderOf(std::string_view canonicalRoot) {
  return canonicalRoot == "/" ? std::string() : std::string(canonicalRoot);
}

/// Where exactly this path leads below a folder that is absolute and free of links. Both the item and the folder that
/// it is in must lie inside; the root itself does not. Of the errors of a path only outsideRoot.
std::string resolveContained(std::string_view candidatePath, std::string_view canonicalRoot,
                             const std::stop_token& cancellation) {
  const std::string root = folderOf(canonicalRoot);
  std::string candidate = joined(root, candidatePath);
  const std::string_view below = pathBelow(root, candidate);
  if (candidate.size() >= PATH_MAX) {  // The kernel would look at nothing on its way.
    if (below.empty()) fail(ManifestPathError::Case::outsideRoot);
    throw std::system_error(ENAMETOOLONG, std::system_category());
  }
  // The root has no links, so a path below it need not be followed to it.
  LinkFollower follower(below.empty() ? "" : root, cancellation);
  const std::string_view path = below.empty() ? std::string_view(candidate) : below;
  follower.follow(parentOf(path));
  const std::string parent = follower.path();
  follower.follow(path.substr(parentOf(path).size()));
  // Links in a circle lead nowhere: whoever opens the candidate is told.
  const std::string& resolved = follower.isInCircle() ? candidate : follower.path();
  const bool isParentInside = parent == root || isInside(root, parent) || follower.isInCircle();
  if (!isParentInside || !isInside(root, resolved)) fail(ManifestPathError::Case::outsideRoot);
  return resolved;
}

/// A path of a list as it is looked up, and where it leads.
ManifestLocation locationOf(std::string_view candidatePath, std::string_view canonicalRoot,
                            const std::stop_token& cancellation) {
  return {.candidate = joined(folderOf(canonicalRoot), candidatePath),
          .canonicalPath = resolveContained(candidatePath, canonicalRoot, cancellation)};
}

/// Whether looking at `path` in this way finds something, or fails for another reason than that nothing is there.
bool mayExist(const std::filesystem::path& path, FileSnapshot (*look)(const std::filesystem::path&)) {
  try {
    look(path);
  } catch (const std::system_error& error) {
    return error.code().value() != ENOENT && error.code().value() != ENOTDIR;
  }
  return true;
}

ManifestFileSnapshot manifestRootSnapshot(const std::filesystem::path& url) { return snapshotOfFolder(url); }

}  // namespace

std::optional<std::filesystem::path> likelyRoot(const std::filesystem::path& root,
                                                const std::optional<std::filesystem::path>& other,
                                                std::string_view relativePath) {
  constexpr int levels = 3;
  const std::filesystem::path path = std::filesystem::path(relativePath).lexically_normal();
  if (path.empty() || path.is_absolute() || *path.begin() == "..") return std::nullopt;
  const auto isBelow = [&](const std::filesystem::path& folder) { return lookAt(folder / path).fileSize.has_value(); };
  if (other && isBelow(*other)) return other;
  std::filesystem::path above = root;
  for (int level = 0; level < levels && above.has_relative_path(); ++level) {
    above = above.parent_path();
    if (isBelow(above)) return above;
  }
  std::filesystem::path below = root;
  int level = 0;
  for (const std::filesystem::path& component : path.parent_path()) {
    below /= component;
    if (isBelow(below)) return below;
    if (++level == levels) break;
  }
  return std::nullopt;
}

bool isWindowsAbsoluteDrivePath(std::string_view path) {
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  return path.size() >= 3 && isLetter(path[0]) && path[1] == ':' && (path[2] == '/' || path[2] == '\\');
}

std::string_view pathBelow(std::string_view root, std::string_view path) {
  if (root.ends_with('/')) root.remove_suffix(1);
  const bool isBelow = path.size() > root.size() + 1 && path.starts_with(root) && path[root.size()] == '/';
  return isBelow ? path.substr(root.size() + 1) : std::string_view();
}

std::filesystem::path resolve(std::string_view relativePath, const std::filesystem::path& rootURL) {
  return locate(relativePath, canonicalPathOf(rootURL, {}), {}).canonicalPath;
}

ManifestLocation locate(std::string_view relativePath, const std::string& canonicalRoot,
                        const std::stop_token& cancellation) {
  if (relativePath.empty()) fail(ManifestPathError::Case::emptyPath);
  if (relativePath.find('\0') != std::string_view::npos) fail(ManifestPathError::Case::invalidPath);
  if (relativePath.starts_with('/')) fail(ManifestPathError::Case::absolutePath);
  ManifestLocation asWritten = locationOf(relativePath, canonicalRoot, cancellation);
  if (finalPathEntryMayExist(asWritten.candidate)) return asWritten;
  if (relativePath.starts_with('\\') || isWindowsAbsoluteDrivePath(relativePath)) {
    fail(ManifestPathError::Case::absolutePath);
  }
  if (relativePath.find('\\') == std::string_view::npos) return asWritten;
  std::string withSlashes(relativePath);
  std::ranges::replace(withSlashes, '\\', '/');
  ManifestLocation converted = locationOf(withSlashes, canonicalRoot, cancellation);
  return mayExist(converted.canonicalPath, snapshotOfPath) ? converted : asWritten;
}

bool finalPathEntryMayExist(const std::filesystem::path& url) { return mayExist(url, snapshotOfItem); }

ManifestRootIdentity captureRootIdentity(const std::filesystem::path& rootURL, const std::stop_token& cancellation) {
  HashService::checkCancellation(cancellation);
  try {
    std::string path = writtenOut(canonicalPathOf(rootURL, cancellation));
    const ManifestFileSnapshot snapshot = manifestRootSnapshot(path);
    return {.canonicalPath = std::move(path), .snapshot = snapshot};
  } catch (const std::system_error&) {
    fail(ManifestPathError::Case::invalidRoot);
  }
}

void validateRootIdentity(const ManifestRootIdentity& expected, const std::filesystem::path& rootURL) {
  try {
    if (captureRootIdentity(rootURL, {}) == expected) return;
  } catch (const ManifestPathError&) {
  }
  fail(ManifestPathError::Case::rootChangedDuringVerification);
}

ManifestResolvedFileIdentity captureResolvedFileIdentity(const std::filesystem::path& url,
                                                         const std::stop_token& cancellation) {
  HashService::checkCancellation(cancellation);
  try {
    std::string path = writtenOut(canonicalPathOf(url, cancellation));
    const FileSnapshot snapshot = snapshotOfPath(path);
    if (snapshot.isRegularFile) return ManifestResolvedFileIdentity::from(std::move(path), snapshot);
  } catch (const std::system_error&) {
  }
  fail(ManifestPathError::Case::pathChangedDuringVerification);
}

void validateResolvedFileIdentity(const ManifestResolvedFileIdentity& expected, const std::filesystem::path& url) {
  if (captureResolvedFileIdentity(url, {}) != expected) fail(ManifestPathError::Case::pathChangedDuringVerification);
}

}  // namespace ChecksumManifestService

}  // namespace tallyfold
