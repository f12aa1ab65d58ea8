#include "core/files/FileHandle.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "core/files/CheckedCall.h"

#ifdef SYS_openat2
#include <linux/openat2.h>
#endif

namespace tallyfold {

namespace {

/// The resolution of openat2 that follows no link and never leaves the folder.
#ifdef SYS_openat2
constexpr std::uint64_t kBelow = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
#else
constexpr std::uint64_t kBelow = 0;
#endif

constexpr const char* kAccessList = "system.posix_acl_access";

}  // namespace

FileHandle FileHandle::open(const std::filesystem::path& path, int flags, mode_t mode) {
  const char* const name = systemPath(path);
  return FileHandle(checked([&](SystemCalls& system) { return system.open(name, flags | O_CLOEXEC, mode); }));
}

FileHandle FileHandle::openFolder(const std::filesystem::path& path) { return open(path, O_PATH | O_DIRECTORY); }

FileHandle FileHandle::openBelow(const std::string& path, int flags) const {
  const char* const name = systemPath(path);
  try {
    return FileHandle(
        checked([&](SystemCalls& system) { return system.openat2(descriptor_, name, flags | O_CLOEXEC, kBelow); }));
  } catch (const std::system_error& error) {
    // Too old a system, or a sandbox that does not know the call.
    if (error.code().value() != ENOSYS && error.code().value() != EPERM) throw;
  }
  const auto openItem = [](const FileHandle& folder, const std::string& item, int itemFlags) {
    return FileHandle(checked([&](SystemCalls& system) {
      return system.openat(folder.descriptor_, item.c_str(), itemFlags | O_NOFOLLOW | O_CLOEXEC, 0);
    }));
  };
  std::size_t start = 0;
  FileHandle folder(-1);
  for (std::size_t end = 0; (end = path.find('/', start)) != std::string::npos; start = end + 1) {
    folder = openItem(start == 0 ? *this : folder, path.substr(start, end - start), O_PATH | O_DIRECTORY);
  }
  return openItem(start == 0 ? *this : folder, path.substr(start), flags);
}

bool FileHandle::fetchBeginningBelow(const std::string& path) const noexcept {
  return path.find('\0') == std::string::npos &&
         SystemCalls::current().fetch(descriptor_, path.c_str(), kBelow, kBeginning) == 1;
}

FileSnapshot FileHandle::snapshotBelow(const std::string& path) const {
  const char* const name = systemPath(path);
  struct stat status {};
  checked([&](SystemCalls& system) { return system.fstatat(descriptor_, name, &status, AT_SYMLINK_NOFOLLOW); });
  return FileSnapshot::from(status);
}

FileHandle::FileHandle(FileHandle&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

FileHandle::~FileHandle() {
  if (descriptor_ >= 0) SystemCalls::current().close(descriptor_);
}

std::size_t FileHandle::read(std::span<std::byte> bytes) {
  return static_cast<std::size_t>(
      checked([&](SystemCalls& system) { return system.read(descriptor_, bytes.data(), bytes.size()); }));
}

std::size_t FileHandle::readAt(std::int64_t offset, std::span<std::byte> bytes) const {
  return static_cast<std::size_t>(
      checked([&](SystemCalls& system) { return system.pread(descriptor_, bytes.data(), bytes.size(), offset); }));
}

bool FileHandle::canReadAt() const try { return readAt(0, {}) == 0; } catch (const std::system_error&) {
  return false;
}

void FileHandle::seek(std::int64_t offset) {
  checked([&](SystemCalls& system) { return system.lseek(descriptor_, offset, SEEK_SET); });
}

void FileHandle::willNeed(std::int64_t offset, std::int64_t count) {
  SystemCalls::current().willNeed(descriptor_, offset, count);
}

void FileHandle::write(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const auto count =
        checked([&](SystemCalls& system) { return system.write(descriptor_, bytes.data(), bytes.size()); });
    if (count == 0) throwSystemError(EIO);  // A device that takes nothing and says nothing would be asked for ever.
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

void FileHandle::sync() {
  checked([&](SystemCalls& system) {
    const int result = system.fsync(descriptor_);
    return result != 0 && errno == EINVAL ? 0 : result;
  });
}

FileSnapshot FileHandle::snapshot() const { return FileSnapshot::from(status()); }

struct stat FileHandle::status() const {
  struct stat status {};
  checked([&](SystemCalls& system) { return system.fstat(descriptor_, &status); });
  return status;
}

void FileHandle::setPermissions(mode_t mode) {
  checked([&](SystemCalls& system) { return system.fchmod(descriptor_, mode); });
}

void FileHandle::setGroup(gid_t group) {
  constexpr uid_t asItIs = static_cast<uid_t>(-1);
  checked([&](SystemCalls& system) { return system.fchown(descriptor_, asItIs, group); });
}

std::string FileHandle::accessList() const {
  std::string list(XATTR_SIZE_MAX, '\0');
  const ssize_t size = checked([&](SystemCalls& system) -> ssize_t {
    const ssize_t result = system.fgetxattr(descriptor_, kAccessList, list.data(), list.size());
    return result < 0 && (errno == ENODATA || errno == ENOTSUP) ? 0 : result;
  });
  list.resize(static_cast<std::size_t>(size));
  return list;
}

void FileHandle::setAccessList(const std::string& list) {
  checked([&](SystemCalls& system) {
    return list.empty() ? system.fremovexattr(descriptor_, kAccessList)
                        : system.fsetxattr(descriptor_, kAccessList, list.data(), list.size());
  });
}

void FileHandle::close() {
  if (descriptor_ < 0) return;
  const int descriptor = std::exchange(descriptor_, -1);
  // An interrupted close has closed the descriptor all the same: its number may belong to another thread's file by now.
  if (SystemCalls::current().close(descriptor) != 0 && errno != EINTR) throwSystemError(errno);
}

}  // namespace tallyfold
