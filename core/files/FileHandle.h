#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <sys/types.h>

#include "core/files/FileSnapshot.h"

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

  static SystemCalls& current();

  /// Installs `calls` for the whole process, or the real ones for null. The caller keeps ownership and must put the
  /// real ones back before it dies, when no other thread uses files.
  static void replace(SystemCalls* calls);
};

/// Owns one open descriptor. Every call is retried when a signal interrupts it; every failure is a std::system_error
/// with the system's error number, so a read error is never taken for the end of a file. Not thread-safe.
class FileHandle {
 public:
  /// Always adds O_CLOEXEC. EINVAL when the path contains a NUL.
  static FileHandle open(const std::filesystem::path& path, int flags, mode_t mode = 0);

  /// Opens a folder for `openBelow` and `snapshotBelow`; it need not be readable. Always adds O_CLOEXEC.
  static FileHandle openFolder(const std::filesystem::path& path);

  /// Opens what `path` leads to below the folder that this is, and follows no link on the way: a folder that is swapped
  /// for a link at any moment leads nowhere, and never to what is not below the folder. Where there is a link, the
  /// error is ELOOP, or ENOTDIR where the system has no openat2. `path` is relative, without "." and "..".
  [[nodiscard]] FileHandle openBelow(const std::string& path, int flags) const;

  /// Snapshot of the item itself at such a path, should it be a link; links on the way to it are followed.
  [[nodiscard]] FileSnapshot snapshotBelow(const std::string& path) const;

  FileHandle(FileHandle&& other) noexcept;
  FileHandle& operator=(FileHandle&& other) noexcept;
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle();

  /// One read. Returns how many bytes came, 0 only at the end of the file (or for an empty span).
  std::size_t read(std::span<std::byte> bytes);

  /// Asks the system to begin fetching so many bytes, at least one, from there on. A wish: nothing tells whether it was
  /// heard.
  void willNeed(std::int64_t offset, std::int64_t count);

  /// Writes everything, in as many calls as the system wants.
  void write(std::span<const std::byte> bytes);

  /// Returns when everything written is on the disk. Does nothing for what has no disk (a pipe, a terminal).
  void sync();

  [[nodiscard]] FileSnapshot snapshot() const;
  [[nodiscard]] struct stat status() const;

  void setPermissions(mode_t mode);
  void setGroup(gid_t group);

  /// The access control list (acl(5)), as the kernel has it; empty when there is none but the permission bits, or the
  /// file system knows no such lists. The file is open for reading or writing.
  [[nodiscard]] std::string accessList() const;
  /// An empty one removes what there is.
  void setAccessList(const std::string& list);

  /// Closes now and reports a failure of the close, which on some file systems is where a failed write shows.
  /// The destructor closes silently.
  void close();

 private:
  friend class FolderHandle;

  explicit FileHandle(int descriptor) : descriptor_(descriptor) {}

  int descriptor_ = -1;
};

/// Returns when every change from now on gives the file another snapshot. Many kernels stamp changes with a clock that
/// ticks only every few milliseconds, some file systems keep no more than the seconds of it, and what changes twice
/// within a tick has the same times: this waits for the end of the tick in which the file was changed last. Returns at
/// once for any older file, and for one from the future, whose times are those of another machine or of a clock that
/// was set back. Fails with CancellationError, seen within a millisecond, where it would have to wait.
void waitUntilChangesShow(const FileSnapshot& snapshot, const std::stop_token& cancellation);

/// Snapshot of what a path leads to, following symbolic links. std::system_error as above.
FileSnapshot snapshotOfPath(const std::filesystem::path& path);

/// The same of a folder: ENOTDIR for anything else.
FileSnapshot snapshotOfFolder(const std::filesystem::path& path);

/// What a path leads to, for the screen alone: no result depends on it.
struct Sight {
  bool isFolder = false;
  std::optional<std::int64_t> fileSize;  ///< Bytes of a regular file; none of anything else, and where nothing is told.
};
Sight lookAt(const std::filesystem::path& path) noexcept;

/// Snapshot of the item at a path itself, should it be a symbolic link.
FileSnapshot snapshotOfItem(const std::filesystem::path& path);

/// Where the symbolic link at `path` points, as it is written there; none when the item is not a link.
std::optional<std::string> targetOfLink(const std::string& path);

}  // namespace tallyfold
