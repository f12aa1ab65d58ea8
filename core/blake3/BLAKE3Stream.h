#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <span>
#include <string>

struct tf_blake3;

namespace tallyfold {

/// Owns one BLAKE3 context. Copies share it; the last one to go wipes and frees it. Used by one thread at a time.
class BLAKE3Stream {
 public:
  class Error : public std::exception {
   public:
    enum Case { allocationFailed };

    explicit Error(Case value) : value_(value) {}
    [[nodiscard]] Case value() const { return value_; }
    [[nodiscard]] const char* what() const noexcept override;

   private:
    Case value_;
  };

  /// Fails with Error::allocationFailed.
  BLAKE3Stream();

  void update(std::span<const std::byte> bytes);

  /// The digest of everything absorbed so far, as 64 lower-case hexadecimal characters. More may be absorbed after.
  [[nodiscard]] std::string finalize() const;

 private:
  std::shared_ptr<tf_blake3> context_;
};

}  // namespace tallyfold
