#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>

#include "core/files/FileHandle.h"

namespace tallyfold {

/// Saves what `writeContents` writes as `destination`, or fails and leaves `destination` as it was. Others see the
/// complete old file or the complete new one at every moment, also after a crash: it is made, and forced to the disk,
/// in a private hidden folder beside the destination, and then renamed. That folder is removed before the call ends,
/// however it ends; one that an earlier process could not remove is removed first (see ReplacementFolder).
///
/// A symbolic link at the destination is replaced, never followed: in a folder that others may write to, it could lead
/// to any file of the user's. Links in the path of the folder are followed, once. The new file is readable and
/// writable for nobody for whom the file that it replaces was not (see keepAccess); a new file's permissions follow the
/// umask and the folder's access control list. Extended attributes are not kept.
///
/// Failures: those of `writeContents`; CancellationError when `cancellation` was requested before the rename;
/// ManifestServiceError notAFile when there is a pipe, a device or a socket at the destination, fileWriteUnknown when
/// no file can be made in the folder; otherwise a std::system_error with the system's number (folder vanished or
/// read-only, disk full, destination is a folder, ...).
void writeAtomically(const std::filesystem::path& destination, const std::stop_token& cancellation,
                     const std::function<void(FileHandle&)>& writeContents);

}  // namespace tallyfold
