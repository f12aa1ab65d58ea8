#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "core/digests/DigestMap.h"
#include "core/digests/HashAlgorithm.h"
#include "core/digests/Hasher.h"

namespace tallyfold {

/// Any selection of the algorithms over one stream of bytes, in one pass and from the same buffer. Used by one thread
/// from construction to `finalize`; moved but not copied. Of no use after a failure.
class HashPipeline {
 public:
  /// Fails with HashServiceError::Case::noAlgorithms for an empty selection, with BLAKE3Stream::Error, or with the
  /// platform's failure to provide a digest.
  explicit HashPipeline(HashAlgorithmSet algorithms);

  /// Absorbs one chunk of any length. Allocates nothing. Fails, as `finalize` does, with the failure of a hasher.
  void update(std::span<const std::byte> bytes);

  /// The digests of exactly the selected algorithms. Called once, after the last `update`.
  [[nodiscard]] DigestMap finalize();

 private:
  HashAlgorithmSet algorithms_;
  std::vector<std::unique_ptr<Hasher>> hashers_;  ///< Of the selected algorithms, in their order.
};

}  // namespace tallyfold
