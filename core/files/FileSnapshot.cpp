#include "core/files/FileSnapshot.h"

#include <sys/stat.h>

namespace tallyfold {

FileSnapshot FileSnapshot::from(const struct stat& status) {
  return {
      .device = status.st_dev,
      .inode = status.st_ino,
      .fileSize = status.st_size,
      .modifiedSeconds = status.st_mtim.tv_sec,
      .modifiedNanoseconds = status.st_mtim.tv_nsec,
      .changedSeconds = status.st_ctim.tv_sec,
      .changedNanoseconds = status.st_ctim.tv_nsec,
      .isRegularFile = S_ISREG(status.st_mode),
  };
}

}  // namespace tallyfold
