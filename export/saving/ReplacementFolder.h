#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "core/files/FolderHandle.h"

namespace tallyfold {

/// A private, hidden folder in another one, with room for one file, and removed with that. It is locked while it lives.
class ReplacementFolder {
 public:
  /// std::system_error when it cannot be made. `parent` must outlive it.
  explicit ReplacementFolder(const FolderHandle& parent);
  ~ReplacementFolder();
  ReplacementFolder(const ReplacementFolder&) = delete;
  ReplacementFolder& operator=(const ReplacementFolder&) = delete;

  [[nodiscard]] const FolderHandle& folder() const { return *folder_; }
  [[nodiscard]] const std::string& fileName() const { return fileName_; }

  /// Removes such folders that a process which was killed, or did not wait for its disk, has left in `parent`. It must
  /// be certain that nobody needs them: our own user's, with rights for nobody else, under a name of this form, not
  /// locked, with nothing in it but at most one file, under a name of its form. On file systems that know neither
  /// permissions nor locks none is. What fails is left for the next time. Looks at 100,000 names at most, and at 1,000
  /// folders; CancellationError between any two.
  static void removeAbandoned(const FolderHandle& parent, const std::stop_token& cancellation);

 private:
  void remove() const;

  const FolderHandle& parent_;
  std::string name_;
  std::string fileName_;
  std::optional<FolderHandle> folder_;
};

}  // namespace tallyfold
