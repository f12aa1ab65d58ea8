#include "export/saving/AtomicWrite.h"

#include <fcntl.h>
#include <string>
#include <sys/types.h>
#include <system_error>

#include "core/services/HashService.h"
#include "export/saving/ManifestServiceError.h"
#include "export/saving/ReplacedFile.h"
#include "export/saving/ReplacementFolder.h"

namespace tallyfold {

namespace {

FileHandle createFile(const FolderHandle& folder, const std::string& name, mode_t mode) {
  try {
    return folder.openFile(name, O_WRONLY | O_CREAT | O_EXCL, mode);
  } catch (const std::system_error&) {
    throw ManifestServiceError(ManifestServiceError::Case::fileWriteUnknown);
  }
}

/// A name in an open folder.
struct Place {
  const FolderHandle& folder;
  const std::string& name;
};

void atomicRename(const Place& source, const Place& destination) {
  source.folder.rename(source.name, destination.folder, destination.name);
}

}  // namespace

void writeAtomically(const std::filesystem::path& destination, const std::stop_token& cancellation,
                     const std::function<void(FileHandle&)>& writeContents) {
  const FolderHandle folder = FolderHandle::open(destination.parent_path());
  const std::string name = destination.filename();
  // Whoever may move folders about in this one could put one of theirs in the place of the private one.
  const mode_t mode = checkReplaceable(folder, name) ? 0600 : 0666;
  ReplacementFolder::removeAbandoned(folder, cancellation);
  const ReplacementFolder privateFolder(folder);
  FileHandle file = createFile(privateFolder.folder(), privateFolder.fileName(), mode);
  writeContents(file);
  HashService::checkCancellation(cancellation);
  file.sync();
  keepAccess(folder, name, file);
  file.close();
  HashService::checkCancellation(cancellation);
  atomicRename({privateFolder.folder(), privateFolder.fileName()}, {folder, name});
}

}  // namespace tallyfold
