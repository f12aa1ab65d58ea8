#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "core/digests/HashAlgorithm.h"
#include "core/digests/Hasher.h"

namespace tallyfold {

/// The selections that a person chooses by one name, as bits that can be combined.
using Presets = unsigned;

inline constexpr Presets kNoPreset = 0;
inline constexpr Presets kRecommended = 1U << 0;
inline constexpr Presets kCompatibility = 1U << 1;

/// What checksum lists call an algorithm, in upper case and without hyphens.
struct ListNames {
  std::string_view usual;
  std::string_view other = {};  ///< May be none.
};

/// All that there is to know about one algorithm. For the sources of this room: others ask a HashAlgorithm.
struct CatalogueRow {
  HashAlgorithm::Case algorithm;
  std::string_view rawValue;
  std::string_view classification;
  std::size_t hexLength;
  ListNames listNames;
  Presets presets;
  std::unique_ptr<Hasher> (&newHasher)(HashAlgorithm algorithm);  ///< A reference: it cannot be left out.
};

/// The row of an algorithm. It lives as long as the program.
const CatalogueRow& catalogueRow(HashAlgorithm algorithm);

}  // namespace tallyfold
