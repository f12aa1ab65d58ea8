#pragma once

#include <string>

#include "core/files/FolderHandle.h"

namespace tallyfold {

/// Fails when what has this name can be replaced by no report: EISDIR for a folder, notAFile for a pipe, a device, a
/// socket. A file can, and a link, which is not followed, and nothing. True for a file.
bool checkReplaceable(const FolderHandle& folder, const std::string& name);

/// Lets nobody read or write `report`, not yet public, who could not do so with the file that it will replace. The
/// permission bits, the group and the access control list become those of the file, as far as the user may set them.
/// Where the group cannot be kept, the group has no rights: the bits would be another group's. Where the list cannot be
/// kept, or told, only the owner has any. Does nothing where there is no file. Fails as `checkReplaceable`, and with
/// std::system_error where what the file has cannot be told.
void keepAccess(const FolderHandle& folder, const std::string& name, FileHandle& report);

}  // namespace tallyfold
