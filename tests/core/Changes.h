#pragma once

#include <ostream>
#include <string>
#include <vector>

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

}  // namespace tallyfold::test
