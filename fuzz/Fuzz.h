#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iconv.h>
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

/// What the C library makes of a text in another encoding; none when it is no text.
inline std::optional<std::string> converted(std::string_view text, const char* from, const char* to) {
  const iconv_t conversion = iconv_open(to, from);
  require(reinterpret_cast<std::intptr_t>(conversion) != -1);
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

/// UTF-16 as UTF-8; none when a surrogate has no partner.
inline std::optional<std::string> utf8FromUTF16(std::u16string_view units) {
  return converted({reinterpret_cast<const char*>(units.data()), 2 * units.size()}, "UTF-16LE", "UTF-8");
}

}  // namespace tallyfold::fuzz
