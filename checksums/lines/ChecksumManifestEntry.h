#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "core/base/Uuid.h"
#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// What one line of a checksum list expects of one file.
struct ChecksumManifestEntry {
  Uuid id;                      ///< A new one for every line that is parsed.
  std::int64_t lineNumber = 0;  ///< From 1; 1 for a pasted value.
  std::string relativePath;     ///< UTF-8, as the line gives it, unescaped but not checked: it may lead anywhere.
  HashAlgorithm algorithm;
  std::string expectedHash;  ///< `algorithm.hexLength()` lower-case hexadecimal digits.

  bool operator==(const ChecksumManifestEntry&) const = default;
};

}  // namespace tallyfold

template <>
struct std::hash<tallyfold::ChecksumManifestEntry> {
  // Entries that are equal have the same id, and others hardly ever do.
  std::size_t operator()(const tallyfold::ChecksumManifestEntry& entry) const noexcept {
    return std::hash<tallyfold::Uuid>()(entry.id);
  }
};
