#include "export/saving/ManifestServiceError.h"

namespace tallyfold {

const char* ManifestServiceError::what() const noexcept {
  return value_ == Case::notAFile ? "What has this name is not a file. Choose another name."
                                  : "The file could not be written.";
}

}  // namespace tallyfold
