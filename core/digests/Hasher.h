#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <type_traits>

#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// One digest in the making. Used by one thread at a time; different ones on different threads are independent. Fails
/// as the digest does that it is made of, and is of no use after that.
class Hasher {
 public:
  Hasher() = default;
  virtual ~Hasher() = default;
  Hasher(const Hasher&) = delete;
  Hasher& operator=(const Hasher&) = delete;

  /// Absorbs bytes of any number. Allocates nothing.
  virtual void update(std::span<const std::byte> bytes) = 0;

  /// The digest as lower-case hexadecimal. Called once, after the last `update`.
  [[nodiscard]] virtual std::string finalize() = 0;
};

/// A hasher made of a `Digest`, which has such an `update` and `finalize`.
template <typename Digest>
class HasherOf final : public Hasher {
 public:
  template <typename... Arguments>
  explicit HasherOf(Arguments... arguments) : digest_(arguments...) {}

  void update(std::span<const std::byte> bytes) override { digest_.update(bytes); }
  std::string finalize() override { return digest_.finalize(); }

 private:
  Digest digest_;
};

/// The hasher of an algorithm, made of a `Digest`. One that has several algorithms is told which.
template <typename Digest>
std::unique_ptr<Hasher> newHasher([[maybe_unused]] HashAlgorithm algorithm) {
  if constexpr (std::is_constructible_v<Digest, HashAlgorithm>) {
    return std::make_unique<HasherOf<Digest>>(algorithm);
  } else {
    return std::make_unique<HasherOf<Digest>>();
  }
}

}  // namespace tallyfold
