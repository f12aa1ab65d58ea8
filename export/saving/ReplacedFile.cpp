#include "export/saving/ReplacedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>

#include "export/saving/ManifestServiceError.h"

namespace tallyfold {

namespace {

constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

void checkReplaceable(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) throw std::system_error(EISDIR, std::system_category());
  if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
    throw ManifestServiceError(ManifestServiceError::Case::notAFile);
  }
}

/// The file, to be looked at; none where the user may not read it.
std::optional<FileHandle> openIfReadable(const FolderHandle& folder, const std::string& name) {
  try {
    return folder.openFile(name, O_RDONLY);
  } catch (const std::system_error& error) {
    if (error.code().value() != EACCES && error.code().value() != EPERM) throw;
    return std::nullopt;
  }
}

/// Whether `set`, which the user or the file system may not permit, was done.
template <typename Set>
bool isDone(Set set) {
  try {
    set();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

/// Without rights of the group. Others lose those that the group did not have: whoever was in it is now one of them.
mode_t withoutGroup(mode_t permissions) {
  return (permissions & S_IRWXU) | (permissions & S_IRWXO & ((permissions & S_IRWXG) >> 3U));
}

}  // namespace

bool checkReplaceable(const FolderHandle& folder, const std::string& name) {
  const auto status = folder.statusOf(name);
  if (status) checkReplaceable(*status);
  return status && S_ISREG(status->st_mode);
}

void keepAccess(const FolderHandle& folder, const std::string& name, FileHandle& report) {
  auto status = folder.statusOf(name);
  if (!status) return;
  checkReplaceable(*status);
  if (S_ISLNK(status->st_mode)) return;
  const auto file = openIfReadable(folder, name);
  if (file) {
    status = file->status();
    checkReplaceable(*status);
  }
  const auto list = file ? std::optional(file->accessList()) : std::nullopt;

  const struct stat now = report.status();
  const bool isGroupKept = now.st_gid == status->st_gid || isDone([&] { report.setGroup(status->st_gid); });
  if (isGroupKept && list && !list->empty() && isDone([&] { report.setAccessList(*list); })) return;

  if (!report.accessList().empty()) report.setAccessList({});  // The folder's own, for new files.
  mode_t permissions = status->st_mode & kPermissions;
  if (!list || !list->empty()) {
    permissions &= S_IRWXU;  // A list can deny to some what it gives to all others.
  } else if (!isGroupKept) {
    permissions = withoutGroup(permissions);
  }
  // File systems without permissions report the same for all files, and may refuse to set any.
  if (permissions != (now.st_mode & kPermissions)) report.setPermissions(permissions);
}

}  // namespace tallyfold
