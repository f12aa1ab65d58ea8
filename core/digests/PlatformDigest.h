#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "core/digests/HashAlgorithm.h"

struct evp_md_ctx_st;

namespace tallyfold {

/// A digest that the platform's cryptography library provides under the name that the algorithm has here.
/// Used by one thread at a time; different objects on different threads are independent. Every failure is a
/// std::runtime_error with a sentence for the user: a system may, for one, be set up to refuse MD5.
class PlatformDigest {
 public:
  explicit PlatformDigest(HashAlgorithm algorithm);

  void update(std::span<const std::byte> bytes);

  /// The digest as lower-case hexadecimal. Called once, after the last `update`.
  [[nodiscard]] std::string finalize();

 private:
  struct Free {
    void operator()(evp_md_ctx_st* context) const;
  };

  std::unique_ptr<evp_md_ctx_st, Free> context_;
};

}  // namespace tallyfold
