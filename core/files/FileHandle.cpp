#include "core/files/FileHandle.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstddef>
#include <dirent.h>
#include <fcntl.h>
#include <linux/limits.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <system_error>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <utility>

#include "core/base/Errors.h"
#include "core/files/CheckedCall.h"

#ifdef SYS_openat2
#include <linux/openat2.h>
#endif

namespace tallyfold {

namespace {

std::atomic<SystemCalls*> replacement = nullptr;

/// The clock that changes of files are stamped with.
#ifdef CLOCK_REALTIME_COARSE
constexpr clockid_t kClockOfFiles = CLOCK_REALTIME_COARSE;
#else
constexpr clockid_t kClockOfFiles = CLOCK_REALTIME;
#endif

/// The resolution of openat2 that follows no link and never leaves the folder.
#ifdef SYS_openat2
constexpr std::uint64_t kBelow = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
#else
constexpr std::uint64_t kBelow = 0;
#endif

constexpr const char* kAccessList = "system.posix_acl_access";

}  // namespace

int SystemCalls::open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int SystemCalls::close(int descriptor) { return ::close(descriptor); }
ssize_t SystemCalls::read(int descriptor, void* bytes, std::size_t count) { return ::read(descriptor, bytes, count); }
ssize_t SystemCalls::write(int descriptor, const void* bytes, std::size_t count) {
  return ::write(descriptor, bytes, count);
}
int SystemCalls::fsync(int descriptor) { return ::fsync(descriptor); }
int SystemCalls::fstat(int descriptor, struct stat* status) { return ::fstat(descriptor, status); }
int SystemCalls::stat(const char* path, struct stat* status) { return ::stat(path, status); }
int SystemCalls::look(const char* path, struct stat* status) { return ::stat(path, status); }
int SystemCalls::lstat(const char* path, struct stat* status) { return ::lstat(path, status); }
int SystemCalls::willNeed(int descriptor, off_t offset, off_t count) {
#if defined(POSIX_FADV_WILLNEED) && defined(RWF_NOWAIT)
  // The kernel would look for every page. Where the last one is in memory, so are most likely all.
  std::byte last{};
  const iovec room{&last, 1};
  if (::preadv2(descriptor, &room, 1, offset + count - 1, RWF_NOWAIT) == 1) return 0;
  return posix_fadvise(descriptor, offset, count, POSIX_FADV_WILLNEED);
#else
  return 0;
#endif
}
ssize_t SystemCalls::readlink(const char* path, char* bytes, std::size_t count) {
  return ::readlink(path, bytes, count);
}
int SystemCalls::openat(int folder, const char* path, int flags, mode_t mode) {
  return ::openat(folder, path, flags, mode);
}
int SystemCalls::fstatat(int folder, const char* path, struct stat* status, int flags) {
  return ::fstatat(folder, path, status, flags);
}
int SystemCalls::openat2([[maybe_unused]] int folder, [[maybe_unused]] const char* path, [[maybe_unused]] int flags,
                         [[maybe_unused]] std::uint64_t resolve) {
#ifdef SYS_openat2
  open_how how{.flags = static_cast<std::uint64_t>(flags), .mode = 0, .resolve = resolve};
  return static_cast<int>(::syscall(SYS_openat2, folder, path, &how, sizeof how));
#else
  errno = ENOSYS;
  return -1;
#endif
}

int SystemCalls::renameat(int folder, const char* name, int newFolder, const char* newName) {
  return ::renameat(folder, name, newFolder, newName);
}
int SystemCalls::mkdirat(int folder, const char* name, mode_t mode) { return ::mkdirat(folder, name, mode); }
int SystemCalls::unlinkat(int folder, const char* name, int flags) { return ::unlinkat(folder, name, flags); }
int SystemCalls::flock(int descriptor, int operation) { return ::flock(descriptor, operation); }
ssize_t SystemCalls::getdents(int folder, void* entries, std::size_t count) {
  return ::getdents64(folder, entries, count);
}
int SystemCalls::fchmod(int descriptor, mode_t mode) { return ::fchmod(descriptor, mode); }
int SystemCalls::fchown(int descriptor, uid_t owner, gid_t group) { return ::fchown(descriptor, owner, group); }
ssize_t SystemCalls::fgetxattr(int descriptor, const char* name, void* value, std::size_t count) {
  return ::fgetxattr(descriptor, name, value, count);
}
int SystemCalls::fsetxattr(int descriptor, const char* name, const void* value, std::size_t count) {
  return ::fsetxattr(descriptor, name, value, count, 0);
}
int SystemCalls::fremovexattr(int descriptor, const char* name) { return ::fremovexattr(descriptor, name); }

SystemCalls& SystemCalls::current() {
  static SystemCalls real;
  SystemCalls* const calls = replacement.load(std::memory_order_acquire);
  return calls != nullptr ? *calls : real;
}

void SystemCalls::replace(SystemCalls* calls) { replacement.store(calls, std::memory_order_release); }

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

void waitUntilChangesShow(const FileSnapshot& snapshot, const std::stop_token& cancellation) {
  constexpr double twoTicks = 0.02;  // Seconds, of the slowest clock.
  // Where a file system keeps whole seconds, there are no nanoseconds.
  const double rest = snapshot.changedNanoseconds == 0 ? 1 : 0;
  while (true) {
    timespec now{};
    clock_gettime(kClockOfFiles, &now);
    const double ahead = static_cast<double>(snapshot.changedSeconds) - static_cast<double>(now.tv_sec) +
                         static_cast<double>(snapshot.changedNanoseconds - now.tv_nsec) / 1e9 + rest;
    if (ahead < 0 || ahead > rest + twoTicks) return;
    if (cancellation.stop_requested()) throw CancellationError();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

namespace {

struct stat statusOf(const std::filesystem::path& path, int (SystemCalls::*look)(const char*, struct stat*)) {
  const char* const name = systemPath(path);
  struct stat status {};
  checked([&](SystemCalls& system) { return (system.*look)(name, &status); });
  return status;
}

}  // namespace

FileSnapshot snapshotOfPath(const std::filesystem::path& path) {
  return FileSnapshot::from(statusOf(path, &SystemCalls::stat));
}

FileSnapshot snapshotOfFolder(const std::filesystem::path& path) {
  const struct stat status = statusOf(path, &SystemCalls::stat);
  if (!S_ISDIR(status.st_mode)) throwSystemError(ENOTDIR);
  return FileSnapshot::from(status);
}

Sight lookAt(const std::filesystem::path& path) noexcept try {
  const struct stat status = statusOf(path, &SystemCalls::look);
  return {S_ISDIR(status.st_mode),
          S_ISREG(status.st_mode) ? std::optional<std::int64_t>(status.st_size) : std::nullopt};
} catch (const std::system_error&) {
  return {};
}

FileSnapshot snapshotOfItem(const std::filesystem::path& path) {
  return FileSnapshot::from(statusOf(path, &SystemCalls::lstat));
}

std::optional<std::string> targetOfLink(const std::string& path) {
  const char* const name = systemPath(path);
  std::array<char, PATH_MAX> target{};
  const ssize_t length = checked([&](SystemCalls& system) -> ssize_t {
    const ssize_t result = system.readlink(name, target.data(), target.size());
    return result < 0 && errno == EINVAL ? 0 : result;  // Not a link. No link has an empty target.
  });
  return length > 0 ? std::optional(std::string(target.data(), static_cast<std::size_t>(length))) : std::nullopt;
}

}  // namespace tallyfold
