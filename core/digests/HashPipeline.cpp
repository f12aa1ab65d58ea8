#include "core/digests/HashPipeline.h"

#include "core/base/Errors.h"
#include "core/base/HexEncoder.h"

namespace tallyfold {

HashPipeline::HashPipeline(HashAlgorithmSet algorithms) : algorithms_(algorithms) {
  if (algorithms.empty()) throw HashServiceError(HashServiceError::Case::noAlgorithms);
  const auto selected = [&](HashAlgorithm algorithm) { return algorithms.contains(algorithm); };
  if (selected(HashAlgorithm::md5)) md5_.emplace(HashAlgorithm::md5);
  if (selected(HashAlgorithm::sha1)) sha1_.emplace(HashAlgorithm::sha1);
  if (selected(HashAlgorithm::sha224)) sha224_.emplace();
  if (selected(HashAlgorithm::sha256)) sha256_.emplace(HashAlgorithm::sha256);
  if (selected(HashAlgorithm::sha384)) sha384_.emplace(HashAlgorithm::sha384);
  if (selected(HashAlgorithm::sha512)) sha512_.emplace(HashAlgorithm::sha512);
  if (selected(HashAlgorithm::blake3)) blake3_.emplace();
  if (selected(HashAlgorithm::crc32)) crc32_.emplace();
}

void HashPipeline::update(std::span<const std::byte> bytes) {
  if (md5_) md5_->update(bytes);
  if (sha1_) sha1_->update(bytes);
  if (sha224_) sha224_->update(bytes);
  if (sha256_) sha256_->update(bytes);
  if (sha384_) sha384_->update(bytes);
  if (sha512_) sha512_->update(bytes);
  if (blake3_) blake3_->update(bytes);
  if (crc32_) crc32_->update(bytes);
}

DigestMap HashPipeline::finalize() {
  DigestMap digests;
  digests.reserve(algorithms_);
  if (md5_) digests.insert(HashAlgorithm::md5, md5_->finalize());
  if (sha1_) digests.insert(HashAlgorithm::sha1, sha1_->finalize());
  if (sha224_) digests.insert(HashAlgorithm::sha224, sha224_->finalize());
  if (sha256_) digests.insert(HashAlgorithm::sha256, sha256_->finalize());
  if (sha384_) digests.insert(HashAlgorithm::sha384, sha384_->finalize());
  if (sha512_) digests.insert(HashAlgorithm::sha512, sha512_->finalize());
  if (blake3_) digests.insert(HashAlgorithm::blake3, blake3_->finalize());
  if (crc32_) digests.insert(HashAlgorithm::crc32, HexEncoder::string(crc32_->value()));
  return digests;
}

}  // namespace tallyfold
