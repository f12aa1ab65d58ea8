#include "checksums/verification/ManifestVerification.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <system_error>
#include <utility>

#include "core/base/Errors.h"
#include "core/files/Paths.h"
#include "core/services/HashService.h"

namespace tallyfold {

using namespace ChecksumManifestService;

namespace {

/// Files whose digests are kept.
constexpr std::int64_t kCacheCapacity = 4'096;

[[noreturn]] void fail(ManifestPathError::Case reason) { throw ManifestPathError(reason); }

/// Whether opening failed because something else is there by now.
bool isSignOfChange(const std::system_error& error) {
  const int number = error.code().value();
  return number == ENOENT || number == ENOTDIR || number == ELOOP || number == EXDEV;
}

ManifestFailureCause causeOf(const std::exception& failure) {
  if (const auto* const error = dynamic_cast<const std::system_error*>(&failure)) {
    const int number = error->code().value();
    return number == ENOENT || number == ENOTDIR ? ManifestFailureCause::missing : ManifestFailureCause::other;
  }
  const auto* const error = dynamic_cast<const ManifestPathError*>(&failure);
  if (error == nullptr) return ManifestFailureCause::other;
  switch (error->value()) {
    case ManifestPathError::Case::absolutePath:
      return ManifestFailureCause::absolutePath;
    case ManifestPathError::Case::rootChangedDuringVerification:
      return ManifestFailureCause::rootChanged;
    default:
      return ManifestFailureCause::other;
  }
}

void add(DigestMap& digests, const DigestMap& more) {
  for (const HashAlgorithm algorithm : more.algorithms()) digests.insert(algorithm, *more.find(algorithm));
}

}  // namespace

ManifestVerification::ManifestVerification(std::filesystem::path rootURL, ManifestRootIdentity rootIdentity)
    : rootURL_(std::move(rootURL)), rootIdentity_(std::move(rootIdentity)), cache_(kCacheCapacity) {}

std::optional<std::int64_t> shownFileSize(std::string_view relativePath, const ManifestRootIdentity& root) noexcept
    try {
  const ManifestGroupingKey key = manifestGroupingKey(relativePath);
  if (key.kind != ManifestGroupingKey::Kind::normalized) return std::nullopt;
  const Sight sight = lookAtWithoutLinks(root.canonicalPath + "/" + key.path);
  // What is missing may be there under a name with slashes instead.
  return relativePath.find('\\') == relativePath.npos ? sight.readableSize : sight.fileSize;
} catch (const std::exception&) {
  return std::nullopt;
}

ManifestGroupOutcome ManifestVerification::verify(const ManifestFileGroup& group, const std::stop_token& cancellation,
                                                  const ReadCallback& progress, ReadCounter* counter) {
  lastVersion_.reset();
  try {
    ManifestFileContentIdentity version;
    DigestMap digests = digestsOf(group, version, cancellation, progress, counter);
    lastVersion_ = version;
    return digests;
  } catch (const std::exception& failure) {
    return ManifestGroupFailure{causeOf(failure), errorDescription(std::current_exception())};
  }
}

bool ManifestVerification::isStill(const ManifestFileContentIdentity& version, const ManifestFileGroup& group,
                                   const std::stop_token& cancellation) {
  HashService::checkCancellation(cancellation);
  try {
    validateRoot();
    return open(group.relativePath, cancellation).snapshot == version;
  } catch (const std::exception&) {
    return false;
  }
}

DigestMap ManifestVerification::digestsOf(const ManifestFileGroup& group, ManifestFileContentIdentity& identity,
                                          const std::stop_token& cancellation, const ReadCallback& progress,
                                          ReadCounter* counter) {
  HashService::checkCancellation(cancellation);
  validateRoot();
  FileBelow file = open(group.relativePath, cancellation);
  identity = file.snapshot;
  ManifestDigestCacheEntry* const cached = findCached(identity);
  HashAlgorithmSet missing = group.algorithms();
  if (cached != nullptr) {
    for (const HashAlgorithm algorithm : cached->digests.algorithms()) missing.erase(algorithm);
    if (missing.empty()) return cached->digests;
  }

  DigestMap digests = file.hash(*root_, missing, cancellation, progress, counter);
  if (cached != nullptr) {
    add(cached->digests, digests);
    return cached->digests;
  }
  std::string location = (std::filesystem::path(rootIdentity_.canonicalPath) / file.path).native();
  cache_.insert({.digests = digests,
                 .sourceURL = location,
                 .sourceIdentity = ManifestResolvedFileIdentity::from(location, file.snapshot)},
                identity);
  HashService::checkCancellation(cancellation);
  return digests;
}

void ManifestVerification::validateRoot() {
  if (!root_ || !isRootWithoutLinksUnchanged()) validateRootIdentity(rootIdentity_, rootURL_);
  if (root_) return;
  FileHandle root = FileHandle::openFolder(rootIdentity_.canonicalPath);
  if (root.snapshot() != rootIdentity_.snapshot) fail(ManifestPathError::Case::rootChangedDuringVerification);
  root_ = std::move(root);
  if ((rootURL_ / "").lexically_normal() == rootIdentity_.canonicalPath + "/") top_ = FileHandle::openFolder("/");
}

/// Most roots are chosen by a path without links. That it still has none the kernel tells faster than one call per
/// folder on the way can.
bool ManifestVerification::isRootWithoutLinksUnchanged() const {
  if (!top_) return false;
  try {
    return top_->openBelow(rootIdentity_.canonicalPath.substr(1), O_PATH | O_DIRECTORY).snapshot() ==
           rootIdentity_.snapshot;
  } catch (const std::system_error&) {
    return false;
  }
}

FileBelow ManifestVerification::open(std::string_view relativePath, const std::stop_token& cancellation) const {
  ManifestGroupingKey key = manifestGroupingKey(relativePath);
  if (key.kind == ManifestGroupingKey::Kind::normalized) {
    if (auto file = openWithoutLinks(std::move(key.path))) return std::move(*file);
  }
  return openThroughLinks(relativePath, cancellation);
}

std::optional<FileBelow> ManifestVerification::openWithoutLinks(std::string path) const {
  try {
    return FileBelow::open(*root_, std::move(path));
  } catch (const std::system_error&) {
    return std::nullopt;
  } catch (const HashServiceError&) {
    return std::nullopt;
  }
}

FileBelow ManifestVerification::openThroughLinks(std::string_view relativePath,
                                                 const std::stop_token& cancellation) const {
  const ManifestLocation location = locate(relativePath, rootIdentity_.canonicalPath, cancellation);
  // The kernel's own opinion of the path: of what is missing, closed or a circle of links, and of where it leads.
  const FileSnapshot expected = snapshotOfPath(location.candidate);
  try {
    return FileBelow::open(*root_, std::string(pathBelow(rootIdentity_.canonicalPath, location.canonicalPath)),
                           expected);
  } catch (const std::system_error& error) {
    if (isSignOfChange(error)) fail(ManifestPathError::Case::pathChangedDuringVerification);
    throw;
  }
}

ManifestDigestCacheEntry* ManifestVerification::findCached(const ManifestFileContentIdentity& identity) {
  ManifestDigestCacheEntry* const cached = cache_.find(identity);
  if (cached == nullptr) return nullptr;
  try {
    validateResolvedFileIdentity(cached->sourceIdentity, cached->sourceURL);
    return cached;
  } catch (const ManifestPathError&) {
    cache_.remove(identity);
    return nullptr;
  }
}

}  // namespace tallyfold
