#include "core/FileHandle.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tallyfold {

namespace {

std::atomic<SystemCalls*> replacement = nullptr;

[[noreturn]] void throwSystemError(int number) { throw std::system_error(number, std::system_category()); }

/// The result of `call`, repeated for as long as signals interrupt it.
template <typename Call>
auto checked(Call call) {
  while (true) {
    errno = 0;
    const auto result = call(SystemCalls::current());
    if (result >= 0) return result;
    if (errno == EINTR) continue;
    throwSystemError(errno == 0 ? EINVAL : errno);
  }
}

/// The path as the system takes it. A NUL would end it early and name another file.
const char* systemPath(const std::filesystem::path& path) {
  if (path.native().find('\0') != std::string::npos) throwSystemError(EINVAL);
  return path.c_str();
}

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
int SystemCalls::lstat(const char* path, struct stat* status) { return ::lstat(path, status); }
int SystemCalls::willNeed(int descriptor, off_t offset, off_t count) {
#ifdef POSIX_FADV_WILLNEED
  return posix_fadvise(descriptor, offset, count, POSIX_FADV_WILLNEED);
#else
  return 0;
#endif
}
int SystemCalls::rename(const char* source, const char* destination) { return ::rename(source, destination); }

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

FileSnapshot FileHandle::snapshot() const {
  struct stat status {};
  checked([&](SystemCalls& system) { return system.fstat(descriptor_, &status); });
  return FileSnapshot::from(status);
}

void FileHandle::close() {
  if (descriptor_ < 0) return;
  const int descriptor = std::exchange(descriptor_, -1);
  // An interrupted close has closed the descriptor all the same: its number may belong to another thread's file by now.
  if (SystemCalls::current().close(descriptor) != 0 && errno != EINTR) throwSystemError(errno);
}

FileSnapshot snapshotOfPath(const std::filesystem::path& path) {
  const char* const name = systemPath(path);
  struct stat status {};
  checked([&](SystemCalls& system) { return system.stat(name, &status); });
  return FileSnapshot::from(status);
}

void renameFile(const std::filesystem::path& source, const std::filesystem::path& destination) {
  const char* const from = systemPath(source);
  const char* const to = systemPath(destination);
  checked([&](SystemCalls& system) { return system.rename(from, to); });
}

}  // namespace tallyfold
