#include "core/digests/DigestMap.h"

namespace tallyfold {

std::size_t DigestMap::offset(HashAlgorithm algorithm) const {
  std::size_t offset = 0;
  for (const HashAlgorithm stored : algorithms_) {
    if (stored < algorithm) offset += stored.hexLength();
  }
  return offset;
}

void DigestMap::reserve(HashAlgorithmSet algorithms) {
  std::size_t length = 0;
  for (const HashAlgorithm algorithm : algorithms) length += algorithm.hexLength();
  digits_.reserve(length);
}

void DigestMap::insert(HashAlgorithm algorithm, std::string_view hex) {
  digits_.replace(offset(algorithm), algorithms_.contains(algorithm) ? algorithm.hexLength() : 0, hex);
  algorithms_.insert(algorithm);
}

std::optional<std::string_view> DigestMap::find(HashAlgorithm algorithm) const {
  if (!algorithms_.contains(algorithm)) return std::nullopt;
  return std::string_view(digits_).substr(offset(algorithm), algorithm.hexLength());
}

}  // namespace tallyfold
