#pragma once

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <mutex>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include "core/files/SystemCalls.h"

namespace tallyfold::test {

/// Stands between the program and the system for as long as it lives. It counts the calls by which files are read
/// and written, lets a test do something right before any of them, and can make them fail. From any thread; of several,
/// one makes `pread` after the other. Closing and announcing what will be read are neither counted nor refused.
class WatchedSystemCalls : public SystemCalls {
 public:
  WatchedSystemCalls() { replace(this); }
  ~WatchedSystemCalls() override { replace(nullptr); }
  WatchedSystemCalls(const WatchedSystemCalls&) = delete;
  WatchedSystemCalls& operator=(const WatchedSystemCalls&) = delete;

  /// Runs right before a call ("open", "read", "fstat", "stat", ...), given its name and its number among all calls,
  /// from 1. When it returns an error number, the call fails with that number and the system is not asked.
  std::function<int(std::string_view name, std::size_t number)> before = [](auto...) { return 0; };

  /// Runs right before the path of something that is only shown is looked at, on whatever thread; such looks are
  /// neither counted nor refused.
  std::function<void(std::string_view path)> looked = [](auto) {};

  /// No read returns more bytes than this.
  std::size_t longestRead = std::numeric_limits<std::size_t>::max();

  /// No write takes more bytes than this.
  std::size_t longestWrite = std::numeric_limits<std::size_t>::max();

  /// By all reads so far.
  std::atomic<std::int64_t> bytesRead = 0;

  /// Names of all calls so far, in order.
  std::vector<std::string_view> names;

  /// Descriptors that were opened and not closed, by whatever thread.
  std::atomic<int> stillOpen = 0;

  int open(const char* path, int flags, mode_t mode) override {
    return isRefused("open") ? -1 : counted(SystemCalls::open(path, flags, mode), flags);
  }

  int close(int descriptor) override {
    --stillOpen;
    return SystemCalls::close(descriptor);
  }

  ssize_t read(int descriptor, void* bytes, std::size_t count) override {
    if (isRefused("read")) return -1;
    const ssize_t result = SystemCalls::read(descriptor, bytes, std::min(count, longestRead));
    bytesRead += std::max<ssize_t>(result, 0);
    return result;
  }

  ssize_t pread(int descriptor, void* bytes, std::size_t count, off_t offset) override {
    const std::lock_guard lock(mutex_);
    if (isRefused("pread")) return -1;
    const ssize_t result = SystemCalls::pread(descriptor, bytes, std::min(count, longestRead), offset);
    bytesRead += std::max<ssize_t>(result, 0);
    return result;
  }

  int look(const char* path, struct stat* status) override {
    looked(path);
    return SystemCalls::look(path, status);
  }

  int lookWithoutLinks(const char* path, struct stat* status) override {
    looked(path);
    return SystemCalls::lookWithoutLinks(path, status);
  }

  ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
    return isRefused("write") ? -1 : SystemCalls::write(descriptor, bytes, std::min(count, longestWrite));
  }

  int openat(int folder, const char* path, int flags, mode_t mode) override {
    return isRefused("openat") ? -1 : counted(SystemCalls::openat(folder, path, flags, mode), flags);
  }

  int openat2(int folder, const char* path, int flags, std::uint64_t resolve) override {
    return isRefused("openat2") ? -1 : counted(SystemCalls::openat2(folder, path, flags, resolve), flags);
  }

#define REFUSABLE(result, name, parameters, arguments) \
  result name parameters override { return isRefused(#name) ? -1 : SystemCalls::name arguments; }

  REFUSABLE(off_t, lseek, (int descriptor, off_t offset, int whence), (descriptor, offset, whence))
  REFUSABLE(int, fstat, (int descriptor, struct stat* status), (descriptor, status))
  REFUSABLE(int, stat, (const char* path, struct stat* status), (path, status))
  REFUSABLE(int, lstat, (const char* path, struct stat* status), (path, status))
  REFUSABLE(ssize_t, readlink, (const char* path, char* bytes, std::size_t count), (path, bytes, count))
  REFUSABLE(int, fstatat, (int folder, const char* path, struct stat* status, int flags), (folder, path, status, flags))
  REFUSABLE(int, fsync, (int descriptor), (descriptor))
  REFUSABLE(int, renameat, (int folder, const char* name, int newFolder, const char* newName),
            (folder, name, newFolder, newName))
  REFUSABLE(int, mkdirat, (int folder, const char* name, mode_t mode), (folder, name, mode))
  REFUSABLE(int, unlinkat, (int folder, const char* name, int flags), (folder, name, flags))
  REFUSABLE(int, flock, (int descriptor, int operation), (descriptor, operation))
  REFUSABLE(ssize_t, getdents, (int folder, void* entries, std::size_t count), (folder, entries, count))
  REFUSABLE(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode))
  REFUSABLE(int, fchown, (int descriptor, uid_t owner, gid_t group), (descriptor, owner, group))
  REFUSABLE(ssize_t, fgetxattr, (int descriptor, const char* name, void* value, std::size_t count),
            (descriptor, name, value, count))
  REFUSABLE(int, fsetxattr, (int descriptor, const char* name, const void* value, std::size_t count),
            (descriptor, name, value, count))
  REFUSABLE(int, fremovexattr, (int descriptor, const char* name), (descriptor, name))

#undef REFUSABLE

 protected:
  bool isRefused(std::string_view name) {
    const std::size_t number = [&] {
      const std::lock_guard lock(namesMutex_);
      names.push_back(name);
      return names.size();
    }();
    const int error = before(name, number);
    if (error == 0) return false;
    errno = error;
    return true;
  }

 private:
  int counted(int descriptor, int flags) {
    EXPECT_NE(flags & O_CLOEXEC, 0) << "A program that is started now has the file open too";
    if (descriptor >= 0) ++stillOpen;
    return descriptor;
  }

  std::mutex mutex_;
  std::mutex namesMutex_;
};

}  // namespace tallyfold::test
