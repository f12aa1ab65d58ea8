#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// The digests of one file or text, as lower-case hexadecimal: at most one per algorithm.
/// All digests share one string, so that 100,000 results of eight digests cost 100,000 allocations and not 800,000.
class DigestMap {
 public:
  /// Makes room for the digests of these algorithms, so that storing them allocates once.
  void reserve(HashAlgorithmSet algorithms);

  /// Stores or replaces a digest. `hex` must have `algorithm.hexLength()` characters.
  void insert(HashAlgorithm algorithm, std::string_view hex);

  /// The digest, or none. The view is valid until the map changes.
  [[nodiscard]] std::optional<std::string_view> find(HashAlgorithm algorithm) const;

  [[nodiscard]] HashAlgorithmSet algorithms() const { return algorithms_; }
  [[nodiscard]] std::size_t size() const { return algorithms_.size(); }
  bool operator==(const DigestMap&) const = default;

 private:
  [[nodiscard]] std::size_t offset(HashAlgorithm algorithm) const;

  HashAlgorithmSet algorithms_;
  std::string digits_;
};

}  // namespace tallyfold
