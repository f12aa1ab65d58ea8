#pragma once

#include <bit>
#include <cstdint>
#include <iconv.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "checksums/lines/ChecksumLines.h"

/// A reader of checksum lists that has all of a list in memory, and shares nothing with the one that is compared with
/// it but the parser of lines.
namespace tallyfold::test {

/// What the C library makes of a text in another encoding; none when it is no text.
inline std::optional<std::string> converted(std::string_view text, const char* from, const char* to) {
  const iconv_t conversion = iconv_open(to, from);
  if (reinterpret_cast<std::intptr_t>(conversion) == -1) throw std::runtime_error("iconv_open failed");
  std::string result(4 * text.size(), '\0');  // No encoding needs more for a byte.
  char* in = const_cast<char*>(text.data());
  char* out = result.data();
  std::size_t left = text.size();
  std::size_t room = result.size();
  const bool isWhole = iconv(conversion, &in, &left, &out, &room) != static_cast<std::size_t>(-1);
  iconv_close(conversion);
  result.resize(result.size() - room);
  return isWhole ? std::optional(result) : std::nullopt;
}

inline bool isWellFormed(std::string_view bytes) { return converted(bytes, "UTF-8", "UTF-32LE").has_value(); }

inline std::int64_t plausibility(std::u16string_view units) {
  std::int64_t score = 0;
  const auto isHigh = [](char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  const auto isLow = [](char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  const auto isControl = [](char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F); };
  const auto isPlain = [](char16_t unit) { return unit >= 0x20 && unit <= 0x7E; };
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char16_t unit = units[i];
    if (unit == 9 || unit == 10 || unit == 13) {
      score += 4;
    } else if (unit == 0) {
      score -= 8;
    } else if (isPlain(unit)) {
      score += 5;
    } else if (isControl(unit)) {
      score -= 6;
    } else if (isLow(unit)) {
      score += i > 0 && isHigh(units[i - 1]) ? 2 : -6;
    } else if (isHigh(unit)) {
      const bool isEnd = i + 1 == units.size();
      const char16_t next = isEnd ? u'\0' : units[i + 1];
      const bool isOther = !isEnd && !isLow(next) && !isPlain(next) && !isControl(next);
      score += isEnd || isOther ? -5 : 1;
    } else {
      score += 1;
    }
  }
  return score;
}

inline std::u16string unitsOf(std::string_view bytes, std::endian order) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<std::uint8_t>(bytes[i]);
    const auto second = static_cast<std::uint8_t>(bytes[i + 1]);
    units += static_cast<char16_t>(order == std::endian::little ? first | second << 8 : first << 8 | second);
  }
  return units;
}

inline std::optional<std::endian> orderOf(std::string_view bytes) {
  if (bytes.size() < 2) return std::nullopt;
  if (bytes.starts_with("\xFF\xFE")) return std::endian::little;
  if (bytes.starts_with("\xFE\xFF")) return std::endian::big;
  if (bytes.find('\0') == std::string_view::npos) return std::nullopt;
  const std::int64_t little = plausibility(unitsOf(bytes, std::endian::little));
  const std::int64_t big = plausibility(unitsOf(bytes, std::endian::big));
  if (little >= big + 4) return std::endian::little;
  if (big >= little + 4) return std::endian::big;
  if ((bytes[0] == 0) == (bytes[1] == 0)) return std::nullopt;
  return bytes[0] == 0 ? std::endian::big : std::endian::little;
}

/// The lines of a text, without their breaks. What follows the last break is a line only when there is something.
template <typename Text>
std::vector<Text> linesOf(Text text) {
  std::vector<Text> lines;
  Text line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != 10 && text[i] != 13) {
      line += text[i];
      continue;
    }
    lines.push_back(std::move(line));
    line.clear();
    if (text[i] == 13 && i + 1 < text.size() && text[i + 1] == 10) ++i;
  }
  if (!line.empty()) lines.push_back(std::move(line));
  return lines;
}

/// Everything in the result of a list but the ids of its entries.
inline std::vector<std::string> described(const ChecksumManifestService::ParseResult& result) {
  std::vector<std::string> lines = result.warnings;
  for (const ChecksumManifestEntry& entry : result.entries) {
    lines.push_back(std::to_string(entry.lineNumber) + ": " + std::string(entry.algorithm.rawValue()) + " " +
                    entry.expectedHash + " [" + entry.relativePath + "]");
  }
  lines.push_back(std::to_string(result.ignoredLineCount) + " ignored, " + std::to_string(result.unsupportedLineCount) +
                  " unsupported");
  return lines;
}

/// What a list comes to, as `described`; none when the bytes are not a text.
inline std::optional<std::vector<std::string>> plainlyRead(std::string_view bytes, std::optional<HashAlgorithm> hint) {
  ChecksumManifestService::ParseResult result;
  std::int64_t number = 0;
  if (const auto order = orderOf(bytes)) {
    if (bytes.size() % 2 != 0) return std::nullopt;
    std::u16string units = unitsOf(bytes, *order);
    if (units.starts_with(u'\uFEFF')) units.erase(0, 1);
    for (const std::u16string& line : linesOf(units)) {
      const auto text = converted({reinterpret_cast<const char*>(line.data()), 2 * line.size()}, "UTF-16LE", "UTF-8");
      if (!text) return std::nullopt;
      ChecksumManifestService::processLine(*text, ++number, hint, result);
    }
    return described(result);
  }
  for (const std::string& line : linesOf(std::string(bytes))) {
    if (!isWellFormed(line)) return std::nullopt;
    ChecksumManifestService::processLine(line, ++number, hint, result);
  }
  return described(result);
}

}  // namespace tallyfold::test
