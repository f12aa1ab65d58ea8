#include "core/digests/HashPipeline.h"

#include "core/base/Errors.h"
#include "core/digests/Catalogue.h"

namespace tallyfold {

HashPipeline::HashPipeline(HashAlgorithmSet algorithms) : algorithms_(algorithms) {
  if (algorithms.empty()) throw HashServiceError(HashServiceError::Case::noAlgorithms);
  hashers_.reserve(algorithms.size());
  for (const HashAlgorithm algorithm : algorithms) {
    hashers_.push_back(catalogueRow(algorithm).newHasher(algorithm));
  }
}

void HashPipeline::update(std::span<const std::byte> bytes) {
  for (const auto& hasher : hashers_) hasher->update(bytes);
}

DigestMap HashPipeline::finalize() {
  DigestMap digests;
  digests.reserve(algorithms_);
  auto hasher = hashers_.begin();
  for (const HashAlgorithm algorithm : algorithms_) digests.insert(algorithm, (*hasher++)->finalize());
  return digests;
}

}  // namespace tallyfold
