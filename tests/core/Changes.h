#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace tallyfold::test {

/// A change that another process can make to a file.
struct Change {
  std::string verb;
  /// Whether the file stays the same file, with other content.
  bool isInPlace;
  /// What hashing gives after the change: an error, or "" for the digest of the new content.
  std::string outcomeAfter;

  friend void PrintTo(const Change& change, std::ostream* stream) { *stream << change.verb; }
};

std::vector<Change> changes();

/// Waits until `files` are old enough for their next change to be seen. The system stamps changes with a clock that on
/// many kernels ticks only every few milliseconds: a change in place within the tick of the one before has the same
/// time, and no program can tell. Makes a file in `folder` to see the clock.
void settle(const TemporaryFolder& folder, const std::vector<std::filesystem::path>& files);

}  // namespace tallyfold::test
