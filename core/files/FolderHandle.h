#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>

#include "core/files/FileHandle.h"

namespace tallyfold {

/// What an item of a folder is, as far as the folder itself tells; `unknown` where its file system keeps that
/// elsewhere.
enum class ItemKind { regularFile, folder, link, other, unknown };

/// One open folder. Whatever becomes of its path, all operations are about this folder and the items that are in it by
/// then; none follows a link. Names are single ones, without "/". Failures are std::system_error with the system's
/// error number. Not thread-safe.
class FolderHandle {
 public:
  /// `folder` must be one; to read its names, it must be open for reading.
  explicit FolderHandle(FileHandle folder) : folder_(std::move(folder)) {}

  /// Links in `path` are followed. The folder need not be readable.
  static FolderHandle open(const std::filesystem::path& path);

  /// A folder in this one, or "." for this one, to read its names or to lock it.
  [[nodiscard]] FolderHandle openFolder(const std::string& name) const;

  /// Waits for nobody, should the item be a pipe.
  [[nodiscard]] FileHandle openFile(const std::string& name, int flags, mode_t mode = 0) const;

  [[nodiscard]] struct stat status() const { return folder_.status(); }

  /// Not of a folder that was opened by its path.
  void setPermissions(mode_t mode) { folder_.setPermissions(mode); }

  /// Status of an item: of the link itself, should it be one; none when there is no such item.
  [[nodiscard]] std::optional<struct stat> statusOf(const std::string& name) const;

  void makeFolder(const std::string& name, mode_t mode) const;
  void removeFile(const std::string& name) const;
  void removeFolder(const std::string& name) const;

  /// renameat(2): what has the new name is replaced, a link itself and not what it leads to.
  void rename(const std::string& name, const FolderHandle& newFolder, const std::string& newName) const;

  /// Locks the folder against all others who ask for its lock, until the handle goes; it keeps nobody from using it.
  /// False when another has it. Folders that were opened by their path, and some file systems, cannot be locked.
  [[nodiscard]] bool tryLock() const;

  /// The kind of an item; `other` where there is no such item.
  [[nodiscard]] ItemKind kindOf(const std::string& name) const;

  /// The items, as the system has them, without "." and "..", until `visit` returns false. At most once for each
  /// handle.
  void visitItems(const std::function<bool(std::string_view name, ItemKind kind)>& visit) const;

 private:
  FileHandle folder_;
};

}  // namespace tallyfold
