#include <array>

#include "core/digests/crc32/Constants.h"
#include "core/digests/crc32/Kernels.h"

namespace tallyfold::crc32 {

namespace {

/// Entry n is what eight steps of the bitwise division make of the byte n.
constexpr std::array<std::uint32_t, 256> kTable = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t n = 0; n < table.size(); ++n) {
    std::uint32_t entry = n;
    for (int bit = 0; bit < 8; ++bit) entry = timesX(entry);
    table[n] = entry;
  }
  return table;
}();

std::uint32_t update(std::uint32_t state, const std::byte* bytes, std::size_t size) {
  for (; size > 0; --size, ++bytes) {
    state = kTable[(state ^ std::to_integer<std::uint32_t>(*bytes)) & 0xFF] ^ (state >> 8);
  }
  return state;
}

}  // namespace

const Kernel kernelPortable{"portable", 0, update};

}  // namespace tallyfold::crc32
