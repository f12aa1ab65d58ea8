#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "core/blake3/BLAKE3Stream.h"
#include "core/digests/CRC32.h"
#include "core/digests/DigestMap.h"
#include "core/digests/HashAlgorithm.h"
#include "core/digests/PlatformDigest.h"
#include "core/digests/SHA224.h"

namespace tallyfold {

/// Any selection of the algorithms over one stream of bytes, in one pass and from the same buffer. Used by one thread
/// from construction to `finalize`; moved but not copied.
class HashPipeline {
 public:
  /// Fails with HashServiceError::Case::noAlgorithms for an empty selection, with BLAKE3Stream::Error, or with the
  /// platform's failure to provide a digest.
  explicit HashPipeline(HashAlgorithmSet algorithms);

  /// Absorbs one chunk of any length. Allocates nothing.
  void update(std::span<const std::byte> bytes);

  /// The digests of exactly the selected algorithms. Called once, after the last `update`.
  [[nodiscard]] DigestMap finalize();

 private:
  HashAlgorithmSet algorithms_;
  // A state exists exactly when its algorithm is selected.
  std::optional<PlatformDigest> md5_;
  std::optional<PlatformDigest> sha1_;
  std::optional<SHA224> sha224_;
  std::optional<PlatformDigest> sha256_;
  std::optional<PlatformDigest> sha384_;
  std::optional<PlatformDigest> sha512_;
  std::optional<BLAKE3Stream> blake3_;
  std::optional<CRC32> crc32_;
};

}  // namespace tallyfold
