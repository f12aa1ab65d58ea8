#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

struct stat;

namespace tallyfold {

/// The operating system's file calls, one to one, so that a test can put faults between the program and the system.
/// Every file access of the program goes through `current()`.
class SystemCalls {
 public:
  virtual ~SystemCalls() = default;

  virtual int open(const char* path, int flags, mode_t mode);
  virtual int close(int descriptor);
  virtual ssize_t read(int descriptor, void* bytes, std::size_t count);
  virtual ssize_t pread(int descriptor, void* bytes, std::size_t count, off_t offset);
  virtual off_t lseek(int descriptor, off_t offset, int whence);
  virtual ssize_t write(int descriptor, const void* bytes, std::size_t count);
  virtual int fsync(int descriptor);
  virtual int fstat(int descriptor, struct stat* status);
  virtual int stat(const char* path, struct stat* status);
  virtual int lstat(const char* path, struct stat* status);
  virtual int willNeed(int descriptor, off_t offset, off_t count);
  virtual ssize_t readlink(const char* path, char* bytes, std::size_t count);
  virtual int openat(int folder, const char* path, int flags, mode_t mode);
  virtual int fstatat(int folder, const char* path, struct stat* status, int flags);
  /// openat2(2) of Linux. ENOSYS where the system has no such call.
  virtual int openat2(int folder, const char* path, int flags, std::uint64_t resolve);
  virtual int renameat(int folder, const char* name, int newFolder, const char* newName);
  virtual int mkdirat(int folder, const char* name, mode_t mode);
  virtual int unlinkat(int folder, const char* name, int flags);
  virtual int flock(int descriptor, int operation);
  virtual ssize_t getdents(int folder, void* entries, std::size_t count);
  virtual int fchmod(int descriptor, mode_t mode);
  virtual int fchown(int descriptor, uid_t owner, gid_t group);
  virtual ssize_t fgetxattr(int descriptor, const char* name, void* value, std::size_t count);
  virtual int fsetxattr(int descriptor, const char* name, const void* value, std::size_t count);
  virtual int fremovexattr(int descriptor, const char* name);

  /// stat(2) of what is only shown, or sorted by what it is: from any number of threads at once.
  virtual int look(const char* path, struct stat* status);
  /// `look` without following any link: ELOOP where there is one, ENOSYS where the system cannot tell.
  virtual int lookWithoutLinks(const char* path, struct stat* status);
  /// Has the disk begin to bring the first `count` bytes of a regular file, which is opened for that as openat2 does,
  /// and closed. 1 when there was something to bring; 0 where all is in memory, and on file systems that are not on
  /// a disk of this machine. -1 where it is no regular file. For what no result depends on: from any number of threads
  /// at once.
  virtual int fetch(int folder, const char* path, std::uint64_t resolve, off_t count);

  static SystemCalls& current();

  /// Installs `calls` for the whole process, or the real ones for null. The caller keeps ownership and must put the
  /// real ones back before it dies, when no other thread uses files.
  static void replace(SystemCalls* calls);
};

}  // namespace tallyfold
