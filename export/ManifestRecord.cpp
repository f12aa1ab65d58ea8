#include "export/ManifestRecord.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string_view>

#include "core/text/UnicodeText.h"

namespace tallyfold {

namespace {

constexpr std::int64_t startOfYear0 = -62'167'219'200;
constexpr std::int64_t startOfYear10000 = 253'402'300'800;

void appendJsonString(std::string& text, std::string_view value) {
  constexpr std::string_view hexDigits = "0123456789abcdef";
  text += '"';
  for (const char character : value) {
    switch (character) {
      case '"':
        text += "\\\"";
        break;
      case '\\':
        text += "\\\\";
        break;
      case '\b':
        text += "\\b";
        break;
      case '\f':
        text += "\\f";
        break;
      case '\n':
        text += "\\n";
        break;
      case '\r':
        text += "\\r";
        break;
      case '\t':
        text += "\\t";
        break;
      default: {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20) {
          text.append("\\u00").append({hexDigits[byte >> 4], hexDigits[byte & 0xF]});
        } else {
          text += character;
        }
      }
    }
  }
  text += '"';
}

std::optional<std::string> internetDateTime(const Timestamp& time) {
  if (time.seconds < startOfYear0 || time.seconds >= startOfYear10000) return std::nullopt;
  using namespace std::chrono;
  const sys_seconds instant{seconds(time.seconds)};
  const sys_days day = floor<days>(instant);
  const year_month_day date(day);
  const hh_mm_ss clock(instant - day);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text.data();
}

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
