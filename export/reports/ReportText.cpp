#include "export/reports/ReportText.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>

namespace tallyfold {

namespace {

constexpr std::int64_t startOfYear0 = -62'167'219'200;
constexpr std::int64_t startOfYear10000 = 253'402'300'800;

constexpr std::string_view kHexDigits = "0123456789abcdef";

/// Of UTF-8 text, the character of two or three bytes that it begins with; 0 where it begins with another.
char32_t longCharacterAt(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const auto rest = [&](std::size_t i) { return static_cast<char32_t>(byte(i) & 0x3F); };
  if (text.size() >= 2 && byte(0) >= 0xC2 && byte(0) < 0xE0) return (char32_t{byte(0)} & 0x1F) << 6 | rest(1);
  if (text.size() < 3 || byte(0) < 0xE0 || byte(0) >= 0xF0) return 0;
  return (char32_t{byte(0)} & 0x0F) << 12 | rest(1) << 6 | rest(2);
}

/// Whether a character ends lines for some programs, or moves what is beside it.
bool isDisturbing(char32_t character) {
  const auto isBetween = [&](char32_t first, char32_t last) { return character >= first && character <= last; };
  return isBetween(0x7F, 0x9F) || character == 0x061C || isBetween(0x200E, 0x200F) || isBetween(0x2028, 0x202E) ||
         isBetween(0x2066, 0x2069);
}

void appendEscape(std::string& text, char32_t character) {
  text += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) text += kHexDigits[character >> shift & 0xF];
}

}  // namespace

void appendJsonString(std::string& text, std::string_view value) {
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
          appendEscape(text, byte);
        } else {
          text += character;
        }
      }
    }
  }
  text += '"';
}

void appendQuoted(std::string& text, std::string_view field) {
  text += '"';
  for (const char character : field) {
    if (character == '"') text += '"';
    text += character;
  }
  text += '"';
}

void appendOnOneLine(std::string& text, std::string_view value) {
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char character = value[i];
    const auto byte = static_cast<unsigned char>(character);
    const char32_t longCharacter = byte < 0x80 ? 0 : longCharacterAt(value.substr(i));
    if (character == '\\') {
      text += "\\\\";
    } else if (character == '\n') {
      text += "\\n";
    } else if (character == '\r') {
      text += "\\r";
    } else if (character == '\t') {
      text += "\\t";
    } else if (byte < 0x20 || byte == 0x7F) {
      appendEscape(text, byte);
    } else if (isDisturbing(longCharacter)) {
      appendEscape(text, longCharacter);
      i += longCharacter < 0x800 ? 1 : 2;
    } else {
      text += character;
    }
  }
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

}  // namespace tallyfold
