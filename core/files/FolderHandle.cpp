#include "core/files/FolderHandle.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>

#include "core/files/CheckedCall.h"

namespace tallyfold {

namespace {

ItemKind kindOfEntry(unsigned char type) {
  switch (type) {
    case DT_REG:
      return ItemKind::regularFile;
    case DT_DIR:
      return ItemKind::folder;
    case DT_LNK:
      return ItemKind::link;
    case DT_UNKNOWN:
      return ItemKind::unknown;
    default:
      return ItemKind::other;
  }
}

}  // namespace

FolderHandle FolderHandle::open(const std::filesystem::path& path) {
  return FolderHandle(FileHandle::openFolder(path.empty() ? "." : path));
}

FolderHandle FolderHandle::openFolder(const std::string& name) const {
  return FolderHandle(openFile(name, O_RDONLY | O_DIRECTORY));
}

FileHandle FolderHandle::openFile(const std::string& name, int flags, mode_t mode) const {
  const char* const item = systemPath(name);
  return FileHandle(checked([&](SystemCalls& system) {
    return system.openat(folder_.descriptor_, item, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode);
  }));
}

std::optional<struct stat> FolderHandle::statusOf(const std::string& name) const {
  const char* const item = systemPath(name);
  struct stat status {};
  const int result = checked([&](SystemCalls& system) {
    const int found = system.fstatat(folder_.descriptor_, item, &status, AT_SYMLINK_NOFOLLOW);
    return found != 0 && errno == ENOENT ? 1 : found;
  });
  return result == 0 ? std::optional(status) : std::nullopt;
}

void FolderHandle::makeFolder(const std::string& name, mode_t mode) const {
  const char* const item = systemPath(name);
  checked([&](SystemCalls& system) { return system.mkdirat(folder_.descriptor_, item, mode); });
}

void FolderHandle::removeFile(const std::string& name) const {
  const char* const item = systemPath(name);
  checked([&](SystemCalls& system) { return system.unlinkat(folder_.descriptor_, item, 0); });
}

void FolderHandle::removeFolder(const std::string& name) const {
  const char* const item = systemPath(name);
  checked([&](SystemCalls& system) { return system.unlinkat(folder_.descriptor_, item, AT_REMOVEDIR); });
}

void FolderHandle::rename(const std::string& name, const FolderHandle& newFolder, const std::string& newName) const {
  const char* const from = systemPath(name);
  const char* const to = systemPath(newName);
  checked([&](SystemCalls& system) {
    return system.renameat(folder_.descriptor_, from, newFolder.folder_.descriptor_, to);
  });
}

bool FolderHandle::tryLock() const {
  return checked([&](SystemCalls& system) {
           const int result = system.flock(folder_.descriptor_, LOCK_EX | LOCK_NB);
           return result != 0 && errno == EWOULDBLOCK ? 1 : result;
         }) == 0;
}

ItemKind FolderHandle::kindOf(const std::string& name) const {
  const std::optional<struct stat> status = statusOf(name);
  return status ? kindOfEntry(static_cast<unsigned char>(IFTODT(status->st_mode))) : ItemKind::other;
}

void FolderHandle::visitItems(const std::function<bool(std::string_view, ItemKind)>& visit) const {
  alignas(dirent64) std::array<std::byte, 32'768> entries{};
  while (true) {
    const auto size = static_cast<std::size_t>(checked(
        [&](SystemCalls& system) { return system.getdents(folder_.descriptor_, entries.data(), entries.size()); }));
    if (size == 0) return;
    for (std::size_t place = 0; place < size;) {
      unsigned short length = 0;
      std::memcpy(&length, entries.data() + place + offsetof(dirent64, d_reclen), sizeof length);
      const std::string_view name(reinterpret_cast<const char*>(entries.data() + place + offsetof(dirent64, d_name)));
      const auto type = std::to_integer<unsigned char>(entries[place + offsetof(dirent64, d_type)]);
      place += length;
      if (name != "." && name != ".." && !visit(name, kindOfEntry(type))) return;
    }
  }
}

}  // namespace tallyfold
