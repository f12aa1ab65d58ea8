#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "checksums/lines/ChecksumManifestEntry.h"
#include "core/base/Uuid.h"

namespace tallyfold {

/// One entry of a checksum list and where it stands.
struct ManifestJob {
  struct Queued {
    bool operator==(const Queued&) const = default;
  };
  struct Verifying {
    bool operator==(const Verifying&) const = default;
  };
  struct Match {
    bool operator==(const Match&) const = default;
  };
  struct Mismatch {
    std::string actual;         ///< The digest that was calculated.
    std::int64_t fileSize = 0;  ///< In bytes, of the file.
    bool operator==(const Mismatch&) const = default;
  };
  struct Failed {
    std::string message;     ///< For the user, without prefix.
    bool isMissing = false;  ///< There is no such file.
    bool operator==(const Failed&) const = default;
  };
  using State = std::variant<Queued, Verifying, Match, Mismatch, Failed>;

  Uuid id;
  /// Shared, so that the snapshot of 100,000 entries that a verification works on copies none of them.
  std::shared_ptr<const ChecksumManifestEntry> entry;
  State state;
};

}  // namespace tallyfold
