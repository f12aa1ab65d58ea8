#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/TemporaryFolder.h"

/// What the fuzz targets have in common: a check that ends the process, and slow, simple references
/// that share nothing with what they are compared with.
namespace tallyfold::fuzz {

/// Ends the process, which the fuzzer keeps the input of, unless `holds`.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
  std::abort();
}

/// A character of UTF-8, or the longest start of one that is ill-formed (Unicode 15, table 3-7 and chapter 3.9).
struct Sequence {
  std::size_t length = 1;
  bool isWellFormed = false;
};

/// The sequence at the start of `bytes`, which are not empty.
inline Sequence firstSequence(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return i < bytes.size() ? static_cast<std::uint8_t>(bytes[i]) : 0x100; };
  const int lead = at(0);
  if (lead < 0x80) return {1, true};
  const std::size_t wanted = lead >= 0xC2 && lead <= 0xDF   ? 2
                             : lead >= 0xE0 && lead <= 0xEF ? 3
                             : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                            : 1;
  if (wanted == 1) return {1, false};
  const int lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const int highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  for (std::size_t i = 1; i < wanted; ++i) {
    const bool continues = i == 1 ? at(i) >= lowest && at(i) <= highest : at(i) >= 0x80 && at(i) <= 0xBF;
    if (!continues) return {i, false};
  }
  return {wanted, true};
}

inline bool isWellFormed(std::string_view bytes) {
  while (!bytes.empty()) {
    const Sequence first = firstSequence(bytes);
    if (!first.isWellFormed) return false;
    bytes.remove_prefix(first.length);
  }
  return true;
}

inline void appendUTF8(std::string& text, std::uint32_t character) {
  const auto put = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | character >> 18);
    put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  }
}

/// UTF-16 as UTF-8; none when a surrogate has no partner.
inline std::optional<std::string> utf8FromUTF16(std::u16string_view units) {
  std::string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t character = units[i];
    if (character >= 0xDC00 && character <= 0xDFFF) return std::nullopt;
    if (character >= 0xD800 && character <= 0xDBFF) {
      const std::uint32_t next = i + 1 < units.size() ? units[i + 1] : 0U;
      if (next < 0xDC00 || next > 0xDFFF) return std::nullopt;
      character = 0x10000 + ((character - 0xD800) << 10) + (next - 0xDC00);
      ++i;
    }
    appendUTF8(text, character);
  }
  return text;
}

}  // namespace tallyfold::fuzz
