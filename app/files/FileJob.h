#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <variant>

#include "core/base/Uuid.h"

namespace tallyfold {

/// A queued file and where it stands.
struct FileJob {
  struct Queued {
    bool operator==(const Queued&) const = default;
  };
  struct Hashing {
    double progress = 0;  ///< 0 to 1.
    bool operator==(const Hashing&) const = default;
  };
  struct Complete {
    bool operator==(const Complete&) const = default;
  };
  struct Failed {
    std::string message;  ///< For the user, without prefix.
    bool operator==(const Failed&) const = default;
  };
  using State = std::variant<Queued, Hashing, Complete, Failed>;

  Uuid id;
  /// The standardized path. Shared, so that the run's snapshot of 100,000 jobs copies no paths.
  std::shared_ptr<const std::filesystem::path> url;
  State state;
};

}  // namespace tallyfold
