#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tallyfold::blake3 {

/// The initial value, the same words as SHA-256's. In hashing mode it is the key as well.
inline constexpr std::array<std::uint32_t, 8> kIV{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                                  0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

inline constexpr std::size_t kBlockSize = 64;
inline constexpr std::size_t kChunkSize = 1024;

inline constexpr std::size_t kChainingWords = 8;
inline constexpr std::size_t kMessageWords = 16;
inline constexpr std::size_t kRounds = 7;

/// Row r holds the order in which round r reads the message words: the permutation of the paper applied r times.
inline constexpr std::array<std::array<std::size_t, kMessageWords>, kRounds> kSchedule = [] {
  constexpr std::array<std::size_t, kMessageWords> permutation{2, 6, 3, 10, 7, 0, 4, 13, 1, 11, 12, 5, 9, 14, 15, 8};
  std::array<std::array<std::size_t, kMessageWords>, kRounds> schedule{};
  for (std::size_t i = 0; i < kMessageWords; ++i) schedule[0][i] = i;
  for (std::size_t r = 1; r < kRounds; ++r) {
    for (std::size_t i = 0; i < kMessageWords; ++i) schedule[r][i] = schedule[r - 1][permutation[i]];
  }
  return schedule;
}();

/// Flags of a compression, as table 3 of the paper numbers them.
enum Flag : std::uint32_t { kChunkStart = 1U << 0, kChunkEnd = 1U << 1, kParent = 1U << 2, kRoot = 1U << 3 };

inline std::array<std::uint32_t, kMessageWords> littleEndianWords(const std::uint8_t* block) {
  std::array<std::uint32_t, kMessageWords> words;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::uint8_t* const b = block + 4 * i;
    words[i] = static_cast<std::uint32_t>(b[0]) | static_cast<std::uint32_t>(b[1]) << 8 |
               static_cast<std::uint32_t>(b[2]) << 16 | static_cast<std::uint32_t>(b[3]) << 24;
  }
  return words;
}

}  // namespace tallyfold::blake3
