#include "core/CRC32.h"

#include <array>

namespace tallyfold {

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;

/// Entry n is what eight steps of the bitwise division make of the byte n.
constexpr std::array<std::uint32_t, 256> kTable = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t n = 0; n < table.size(); ++n) {
    std::uint32_t entry = n;
    for (int bit = 0; bit < 8; ++bit) entry = (entry >> 1) ^ ((entry & 1) != 0 ? kPolynomial : 0);
    table[n] = entry;
  }
  return table;
}();

}  // namespace

void CRC32::update(std::span<const std::byte> bytes) {
  std::uint32_t state = state_;
  for (const std::byte byte : bytes) {
    state = kTable[(state ^ std::to_integer<std::uint32_t>(byte)) & 0xFF] ^ (state >> 8);
  }
  state_ = state;
}

}  // namespace tallyfold
