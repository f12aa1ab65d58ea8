#include "core/base/Errors.h"

#include <new>
#include <system_error>

namespace tallyfold {

const char* HashServiceError::what() const noexcept {
  switch (value_) {
    case Case::notRegularFile:
      return "The selected item is not a regular file.";
    case Case::noAlgorithms:
      return "Select at least one checksum algorithm.";
    case Case::fileChangedDuringRead:
      return "The file changed while it was being read. Run the operation again on a stable file.";
  }
  return "";
}

std::string errorDescription(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::system_error& failure) {
    return failure.code().message();
  } catch (const std::bad_alloc&) {
    return std::make_error_code(std::errc::not_enough_memory).message();
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

}  // namespace tallyfold
