#pragma once

#include <exception>
#include <string>

namespace tallyfold {

/// Raised at a cancellation check. Deliberately not a std::exception: it is never an error to show, and no handler of
/// errors catches it by accident.
struct CancellationError {};

/// The failures of hashing and comparing. `what()` is the sentence for the user.
class HashServiceError : public std::exception {
 public:
  enum class Case { notRegularFile, noAlgorithms, fileChangedDuringRead };

  explicit HashServiceError(Case value) : value_(value) {}
  [[nodiscard]] Case value() const { return value_; }
  [[nodiscard]] const char* what() const noexcept override;

 private:
  Case value_;
};

/// The one sentence, without prefix, that the user reads about a failure: the system's own for a std::system_error,
/// `what()` for every other exception. Must not be called for a CancellationError.
std::string errorDescription(const std::exception_ptr& error);

}  // namespace tallyfold
