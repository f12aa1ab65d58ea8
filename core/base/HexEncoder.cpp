#include "core/base/HexEncoder.h"

#include <string_view>

namespace tallyfold::HexEncoder {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

}  // namespace

std::string string(std::span<const std::byte> bytes) {
  std::string text(bytes.size() * 2, '\0');
  char* place = text.data();
  for (const std::byte byte : bytes) {
    *place++ = kDigits[std::to_integer<std::size_t>(byte >> 4)];
    *place++ = kDigits[std::to_integer<std::size_t>(byte & std::byte{0x0F})];
  }
  return text;
}

std::string string(std::uint32_t number) {
  std::string text;
  for (int shift = 28; shift >= 0; shift -= 4) text += kDigits[(number >> shift) & 0x0F];
  return text;
}

}  // namespace tallyfold::HexEncoder
