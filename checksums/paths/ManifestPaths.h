#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "core/files/FileSnapshot.h"

namespace tallyfold {

/// Why a path of a checksum list is not verified. `what()` is the sentence for the user.
class ManifestPathError : public std::exception {
 public:
  enum class Case {
    emptyPath,
    invalidPath,
    absolutePath,
    outsideRoot,
    invalidRoot,
    rootChangedDuringVerification,
    pathChangedDuringVerification,
  };

  explicit ManifestPathError(Case value) : value_(value) {}
  [[nodiscard]] Case value() const { return value_; }
  [[nodiscard]] const char* what() const noexcept override;

 private:
  Case value_;
};

using ManifestFileSnapshot = FileSnapshot;

/// The folder that the paths of a list start from, and its state at one instant.
struct ManifestRootIdentity {
  std::string canonicalPath;  ///< Absolute, without links.
  ManifestFileSnapshot snapshot;

  bool operator==(const ManifestRootIdentity&) const = default;
};

/// A file that a path of a list leads to. To replace, recreate or rewrite it changes at least one field.
struct ManifestResolvedFileIdentity {
  std::string canonicalPath;  ///< Absolute, without links.
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t generation = 0;      ///< The size: there is no portable number of an inode's generation.
  std::int64_t identitySeconds = 0;  ///< Of the last change of the status, which every change of content is too.
  std::int64_t identityNanoseconds = 0;

  static ManifestResolvedFileIdentity from(std::string canonicalPath, const FileSnapshot& snapshot);

  bool operator==(const ManifestResolvedFileIdentity&) const = default;
};

namespace ChecksumManifestService {

/// Where `relativePath` leads below the folder `rootURL`: an absolute location without links, inside that folder also
/// by the kernel's own resolution. Bytes are compared as they are: no case folding, no Unicode normalization. A
/// location where nothing is, or where links lead in a circle, is no failure: opening it tells. A path with backslashes
/// that names nothing is tried with slashes, for lists from other systems. Fails with ManifestPathError, or with
/// std::system_error where a link cannot be read, and for a path that is longer than the kernel takes.
///
/// The answer is as old as the last look at the tree. Whoever reads the file must open it so that no link is followed.
std::filesystem::path resolve(std::string_view relativePath, const std::filesystem::path& rootURL);

/// False only when certainly nothing is at `url`, not even a dangling link.
bool finalPathEntryMayExist(const std::filesystem::path& url);

/// Fails with invalidRoot for what is not a folder or cannot be looked at, or with CancellationError.
ManifestRootIdentity captureRootIdentity(const std::filesystem::path& rootURL, const std::stop_token& cancellation);

/// Fails with rootChangedDuringVerification unless capturing it again gives `expected`.
void validateRootIdentity(const ManifestRootIdentity& expected, const std::filesystem::path& rootURL);

/// Fails with pathChangedDuringVerification for what is not a regular file or cannot be looked at, or with
/// CancellationError.
ManifestResolvedFileIdentity captureResolvedFileIdentity(const std::filesystem::path& url,
                                                         const std::stop_token& cancellation);

/// Fails with pathChangedDuringVerification unless capturing it again gives `expected`.
void validateResolvedFileIdentity(const ManifestResolvedFileIdentity& expected, const std::filesystem::path& url);

/// A path of a list, found below a root.
struct ManifestLocation {
  std::string candidate;      ///< Absolute, as the list has it, with the links on it.
  std::string canonicalPath;  ///< Where that leads: inside the root, without links.
};

/// What `resolve` finds, for a root that is absolute and free of links. Takes time in proportion to the path and to the
/// links on it, and sees a cancellation at every link: CancellationError.
ManifestLocation locate(std::string_view relativePath, const std::string& canonicalRoot,
                        const std::stop_token& cancellation);

/// A folder below which `relativePath` leads to a regular file, when it does not below `root`: `other`, one of the
/// three above the root, or one that the first three components of the path name below it. Only to be proposed: one
/// look for each, and nothing is read. Blocks for as long as the disk does.
std::optional<std::filesystem::path> likelyRoot(const std::filesystem::path& root,
                                                const std::optional<std::filesystem::path>& other,
                                                std::string_view relativePath);

/// Whether `path` starts like "C:\" or "C:/", with any ASCII letter.
bool isWindowsAbsoluteDrivePath(std::string_view path);

/// The part of `path` below the folder `root`, without a slash at its start; empty when it is not below.
std::string_view pathBelow(std::string_view root, std::string_view path);

}  // namespace ChecksumManifestService

}  // namespace tallyfold
