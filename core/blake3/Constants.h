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

/// Flags of a compression, as table 3 of the paper numbers them.
enum Flag : std::uint32_t { kChunkStart = 1U << 0, kChunkEnd = 1U << 1, kParent = 1U << 2, kRoot = 1U << 3 };

}  // namespace tallyfold::blake3
