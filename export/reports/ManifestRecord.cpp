#include "export/reports/ManifestRecord.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "core/text/UnicodeText.h"
#include "export/reports/ReportText.h"

namespace tallyfold {

namespace {

/// The algorithms in the order of their names.
std::array<HashAlgorithm, HashAlgorithm::count> sortedByName() {
  auto algorithms = HashAlgorithm::allCases();
  std::ranges::sort(algorithms, {}, [](HashAlgorithm algorithm) { return algorithm.rawValue(); });
  return algorithms;
}

}  // namespace

ManifestRecord ManifestRecord::from(const FileHashResult& result) {
  return {reportedPath(result.url), result.fileSize, result.modifiedAt, result.hashes};
}

void ManifestRecord::appendJson(std::string& text) const {
  static const auto algorithms = sortedByName();
  text += "  {\n    \"file\" : ";
  appendJsonString(text, file);
  text += ",\n    \"hashes\" : {\n";
  std::string_view separator;
  for (const HashAlgorithm algorithm : algorithms) {
    const auto digest = hashes.find(algorithm);
    if (!digest) continue;
    text.append(separator).append("      \"").append(algorithm.rawValue()).append("\" : \"");
    text.append(*digest).append("\"");
    separator = ",\n";
  }
  // An empty object keeps one empty line between its braces, indented like every other line.
  if (hashes.size() == 0) text += "  ";
  text += "\n    },\n";
  if (const auto modified = modifiedAt ? internetDateTime(*modifiedAt) : std::nullopt) {
    text.append("    \"modifiedAt\" : \"").append(*modified).append("\",\n");
  }
  text.append("    \"sizeBytes\" : ").append(std::to_string(sizeBytes)).append("\n  }");
}

std::string reportedPath(const std::filesystem::path& path) { return wellFormedUTF8(path.native()); }

}  // namespace tallyfold
