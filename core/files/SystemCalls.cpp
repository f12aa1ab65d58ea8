#include "core/files/SystemCalls.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#ifdef SYS_openat2
#include <linux/openat2.h>
#endif

namespace tallyfold {

namespace {

std::atomic<SystemCalls*> replacement = nullptr;

/// Whether this byte of the file is. The kernel would look for every page of a range that it is to fetch: where the
/// last one is in memory, so are most likely all.
bool isInMemory([[maybe_unused]] int descriptor, [[maybe_unused]] off_t offset) {
#ifdef RWF_NOWAIT
  std::byte byte{};
  const iovec room{&byte, 1};
  return ::preadv2(descriptor, &room, 1, offset, RWF_NOWAIT) == 1;
#else
  return true;
#endif
}

void announce([[maybe_unused]] int descriptor, [[maybe_unused]] off_t offset, [[maybe_unused]] off_t count) {
#ifdef POSIX_FADV_WILLNEED
  posix_fadvise(descriptor, offset, count, POSIX_FADV_WILLNEED);
#endif
}

/// Of the file systems that are, those that are met. A server's or a program's may take many questions at once badly.
bool isOnDiskHere(int descriptor) {
  constexpr std::array<unsigned long, 7> known{EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC,   BTRFS_SUPER_MAGIC,
                                               F2FS_SUPER_MAGIC, MSDOS_SUPER_MAGIC, OVERLAYFS_SUPER_MAGIC,
                                               EXFAT_SUPER_MAGIC};
  struct statfs system {};
  return ::fstatfs(descriptor, &system) == 0 &&
         std::ranges::find(known, static_cast<unsigned long>(system.f_type)) != known.end();
}

struct Descriptor {
  explicit Descriptor(int descriptor) : number(descriptor) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) ::close(number);
  }

  const int number;
};

}  // namespace

int SystemCalls::open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int SystemCalls::close(int descriptor) { return ::close(descriptor); }
ssize_t SystemCalls::read(int descriptor, void* bytes, std::size_t count) { return ::read(descriptor, bytes, count); }
ssize_t SystemCalls::pread(int descriptor, void* bytes, std::size_t count, off_t offset) {
  return ::pread(descriptor, bytes, count, offset);
}
off_t SystemCalls::lseek(int descriptor, off_t offset, int whence) { return ::lseek(descriptor, offset, whence); }
ssize_t SystemCalls::write(int descriptor, const void* bytes, std::size_t count) {
  return ::write(descriptor, bytes, count);
}
int SystemCalls::fsync(int descriptor) { return ::fsync(descriptor); }
int SystemCalls::fstat(int descriptor, struct stat* status) { return ::fstat(descriptor, status); }
int SystemCalls::stat(const char* path, struct stat* status) { return ::stat(path, status); }
int SystemCalls::look(const char* path, struct stat* status) { return ::stat(path, status); }
int SystemCalls::lstat(const char* path, struct stat* status) { return ::lstat(path, status); }
int SystemCalls::willNeed(int descriptor, off_t offset, off_t count) {
  if (!isInMemory(descriptor, offset + count - 1)) announce(descriptor, offset, count);
  return 0;
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

int SystemCalls::fetch(int folder, const char* path, std::uint64_t resolve, off_t count) {
  // What is no file is not opened: that alone would do something to some devices.
  struct stat found {};
  {
    const Descriptor place(SystemCalls::openat2(folder, path, O_PATH | O_CLOEXEC, resolve));
    if (place.number < 0 || ::fstat(place.number, &found) != 0 || !S_ISREG(found.st_mode)) return -1;
    if (found.st_size == 0 || !isOnDiskHere(place.number)) return 0;
  }
  const Descriptor file(SystemCalls::openat2(folder, path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, resolve));
  struct stat opened {};
  if (file.number < 0 || ::fstat(file.number, &opened) != 0 || !S_ISREG(opened.st_mode)) return -1;
  const off_t wanted = std::min(count, opened.st_size);
  if (wanted == 0 || isInMemory(file.number, wanted - 1)) return 0;
  announce(file.number, 0, wanted);
  return 1;
}

int SystemCalls::lookWithoutLinks([[maybe_unused]] const char* path, [[maybe_unused]] struct stat* status) {
#ifdef SYS_openat2
  const int descriptor = SystemCalls::openat2(AT_FDCWD, path, O_PATH | O_CLOEXEC, RESOLVE_NO_SYMLINKS);
  if (descriptor < 0) return -1;
  const int result = ::fstat(descriptor, status);
  const int error = errno;
  ::close(descriptor);
  errno = error;
  return result;
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

}  // namespace tallyfold
