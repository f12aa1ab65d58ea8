#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <sys/types.h>

#include "core/files/FileSnapshot.h"

struct stat;

namespace tallyfold {

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

  /// Has the disk begin to bring the beginning of the regular file that `openBelow` would open, and says whether that
  /// was not in memory: for someone who reads it soon. No result depends on it. From any number of threads at once.
  [[nodiscard]] bool fetchBeginningBelow(const std::string& path) const noexcept;

  /// Snapshot of the item at `path` below this folder: of the link itself, should it be one. Links on the way to it are
  /// followed.
  [[nodiscard]] FileSnapshot snapshotBelow(const std::string& path) const;

  FileHandle(FileHandle&& other) noexcept;
  FileHandle& operator=(FileHandle&& other) noexcept;
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle();

  /// One read. Returns how many bytes came, 0 only at the end of the file (or for an empty span).
  std::size_t read(std::span<std::byte> bytes);

  /// One read from `offset` on, as `read` is; the place where `read` goes on stays. Any number of threads at once.
  [[nodiscard]] std::size_t readAt(std::int64_t offset, std::span<std::byte> bytes) const;

  /// Whether `readAt` is possible, as it is not with files that some file systems only make up while they are read.
  [[nodiscard]] bool canReadAt() const;

  /// The next read begins there.
  void seek(std::int64_t offset);

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
  /// Gives the file this access control list; an empty one removes what there is.
  void setAccessList(const std::string& list);

  /// Closes now and reports a failure of the close, which on some file systems is where a failed write shows.
  /// The destructor closes silently.
  void close();

 private:
  friend class FolderHandle;

  explicit FileHandle(int descriptor) : descriptor_(descriptor) {}

  int descriptor_ = -1;
};

}  // namespace tallyfold
