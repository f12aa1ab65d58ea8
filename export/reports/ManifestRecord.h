#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "core/digests/DigestMap.h"
#include "core/services/FileHashResult.h"

namespace tallyfold {

/// One file of a JSON report.
struct ManifestRecord {
  std::string file;  ///< Full path, as well-formed UTF-8.
  std::int64_t sizeBytes = 0;
  std::optional<Timestamp> modifiedAt;
  DigestMap hashes;

  static ManifestRecord from(const FileHashResult& result);

  /// Appends the record as an object inside an array: every line indented by two more spaces, no line break at the end.
  /// Keys are sorted, `"` and `\` and control characters are escaped (`\b \f \n \r \t`, else `\u00` and two lower-case
  /// digits), slashes are not, all else is UTF-8 as it stands. "modifiedAt" is UTC without fraction, and is left out
  /// when there is none or its year does not have four digits (RFC 3339 knows the years 0000 to 9999).
  void appendJson(std::string& text) const;
};

/// A path as a report shows it. A file name is bytes, and a report is UTF-8 that any program can read: each ill-formed
/// sequence (a maximal subpart, Unicode 15 chapter 3.9) becomes one U+FFFD. Well-formed names are unchanged.
std::string reportedPath(const std::filesystem::path& path);

}  // namespace tallyfold
