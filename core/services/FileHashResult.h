#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include "core/base/Uuid.h"
#include "core/digests/DigestMap.h"

namespace tallyfold {

/// A point in time, since 1970-01-01 UTC. Seconds and nanoseconds stay apart so that no second is lost to rounding.
struct Timestamp {
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;

  bool operator==(const Timestamp&) const = default;
};

/// The digests of one stable version of one regular file.
struct FileHashResult {
  Uuid id;
  std::filesystem::path url;  ///< As the caller passed it: bytes, not text.
  std::int64_t fileSize = 0;  ///< Bytes.
  Timestamp modifiedAt;
  DigestMap hashes;     ///< Exactly the selected algorithms.
  double duration = 0;  ///< Seconds, from the first read to the last check. What prepares for reading is not in it.

  bool operator==(const FileHashResult&) const = default;
};

/// Results as the model and the report share them: immutable, in the order in which the files finished.
using FileHashResults = std::vector<std::shared_ptr<const FileHashResult>>;

}  // namespace tallyfold
