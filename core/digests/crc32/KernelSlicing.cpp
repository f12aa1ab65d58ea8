#include <array>

#include "core/digests/crc32/Constants.h"
#include "core/digests/crc32/Kernels.h"

// Slicing-by-16: sixteen bytes at a time through sixteen tables that do not wait for each other.
// Kounavis and Berry, "Novel Table Lookup-Based Algorithms for High-Performance CRC Generation", 2008.

namespace tallyfold::crc32 {

namespace {

constexpr std::size_t kSlices = 16;

/// Table k holds what a byte has become when k more bytes have followed it.
constexpr std::array<std::array<std::uint32_t, 256>, kSlices> kTables = [] {
  std::array<std::array<std::uint32_t, 256>, kSlices> tables{};
  for (std::uint32_t n = 0; n < 256; ++n) {
    std::uint32_t entry = n;
    for (auto& table : tables) {
      for (int bit = 0; bit < 8; ++bit) entry = timesX(entry);
      table[n] = entry;
    }
  }
  return tables;
}();

std::uint32_t littleEndianWord(const std::byte* bytes) {
  const auto byte = [&](std::size_t i) { return std::to_integer<std::uint32_t>(bytes[i]); };
  return byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
}

std::uint32_t throughTables(std::uint32_t word, std::size_t bytesBehind) {
  return kTables[bytesBehind + 3][word & 0xFF] ^ kTables[bytesBehind + 2][(word >> 8) & 0xFF] ^
         kTables[bytesBehind + 1][(word >> 16) & 0xFF] ^ kTables[bytesBehind][word >> 24];
}

std::uint32_t update(std::uint32_t state, const std::byte* bytes, std::size_t size) {
  for (; size >= kSlices; size -= kSlices, bytes += kSlices) {
    state = throughTables(state ^ littleEndianWord(bytes), 12) ^ throughTables(littleEndianWord(bytes + 4), 8) ^
            throughTables(littleEndianWord(bytes + 8), 4) ^ throughTables(littleEndianWord(bytes + 12), 0);
  }
  for (; size > 0; --size, ++bytes) {
    state = kTables[0][(state ^ std::to_integer<std::uint32_t>(*bytes)) & 0xFF] ^ (state >> 8);
  }
  return state;
}

}  // namespace

const Kernel kernelSlicing{"slicing-by-16", 0, update};

}  // namespace tallyfold::crc32
