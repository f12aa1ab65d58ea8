#pragma once

#include <exception>

namespace tallyfold {

/// The failure of what is saved that has no error number of the system. `what()` is the sentence for the user.
class ManifestServiceError : public std::exception {
 public:
  enum class Case { fileWriteUnknown, notAFile };

  explicit ManifestServiceError(Case value) : value_(value) {}
  [[nodiscard]] Case value() const { return value_; }
  [[nodiscard]] const char* what() const noexcept override;

 private:
  Case value_;
};

}  // namespace tallyfold
