#include "export/saving/ReplacementFolder.h"

#include <cerrno>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "core/base/Uuid.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

constexpr std::string_view kPrefix = ".tallyfold-";
constexpr int kMostAttempts = 10;
constexpr int kMostNames = 100'000;
constexpr int kMostFolders = 1'000;

/// For what leaves the report as it is, whether or not it can be done.
template <typename Action>
void ignoringFailure(Action action) {
  try {
    action();
  } catch (const std::system_error&) {
  }
}

bool isSameItem(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isPrivateFolder(const struct stat& status) {
  constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
  return S_ISDIR(status.st_mode) && (status.st_mode & permissions) == S_IRWXU && status.st_uid == geteuid();
}

/// Whether the item is still the folder that was opened, and not one that was made or moved there since.
bool isStill(const FolderHandle& parent, const std::string& name, const struct stat& status) {
  const auto now = parent.statusOf(name);
  return now && isSameItem(*now, status);
}

/// False when another, who takes it for abandoned, has the lock. Without a lock it is taken for abandoned by nobody.
bool isLocked(const FolderHandle& folder) {
  try {
    return folder.tryLock();
  } catch (const std::system_error&) {
    return true;
  }
}

void removeIfAbandoned(const FolderHandle& parent, const std::string& name) {
  const auto before = parent.statusOf(name);
  if (!before || !isPrivateFolder(*before)) return;
  const FolderHandle folder = parent.openFolder(name);
  if (!folder.tryLock()) return;
  const struct stat status = folder.status();
  if (!isPrivateFolder(status) || !isStill(parent, name, status)) return;

  std::optional<std::string> file;
  bool isOurs = true;
  folder.visitItems([&](std::string_view item, ItemKind) {
    isOurs = !file && Uuid::isString(item);
    file = item;
    return isOurs;
  });
  if (!isOurs) return;
  if (file) {
    const auto found = folder.statusOf(*file);
    if (!found || !S_ISREG(found->st_mode) || found->st_uid != geteuid()) return;
    folder.removeFile(*file);
  }
  parent.removeFolder(name);
}

}  // namespace

ReplacementFolder::ReplacementFolder(const FolderHandle& parent) : parent_(parent), fileName_(Uuid::random().string()) {
  // Until it is locked, another export may take it for abandoned, and remove it.
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    name_ = std::string(kPrefix) + Uuid::random().string();
    parent.makeFolder(name_, S_IRWXU);
    try {
      folder_ = parent.openFolder(name_);
      const struct stat status = folder_->status();
      if (isLocked(*folder_) && isStill(parent, name_, status)) {
        // What new items get in the parent, or the user's mask, may have kept the user from entering.
        if ((status.st_mode & S_IRWXU) != S_IRWXU) folder_->setPermissions(S_IRWXU);
        return;
      }
    } catch (const std::system_error& error) {
      remove();
      if (error.code().value() != ENOENT) throw;
      continue;
    }
    remove();
  }
  throw std::system_error(EBUSY, std::system_category());
}

ReplacementFolder::~ReplacementFolder() {
  ignoringFailure([&] { folder_->removeFile(fileName_); });  // It is gone already when it has been renamed.
  remove();
}

void ReplacementFolder::remove() const {
  ignoringFailure([&] { parent_.removeFolder(name_); });
}

void ReplacementFolder::removeAbandoned(const FolderHandle& parent, const std::stop_token& cancellation) {
  int names = 0;
  int folders = 0;
  ignoringFailure([&] {
    parent.openFolder(".").visitItems([&](std::string_view name, ItemKind) {
      HashService::checkCancellation(cancellation);
      if (name.starts_with(kPrefix) && Uuid::isString(name.substr(kPrefix.size()))) {
        ignoringFailure([&] { removeIfAbandoned(parent, std::string(name)); });
        ++folders;
      }
      return ++names < kMostNames && folders < kMostFolders;
    });
  });
}

}  // namespace tallyfold
