#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

// For the sources of the kernels alone, and of internal linkage as all that they include.

namespace tallyfold::blake3 {
namespace {

/// A word of each of eight messages. What uses it adds `rotate` and `registers`.
struct Registers256 {
  using Vector = __m256i;
  static constexpr std::size_t width = 8;

  static Vector broadcast(std::uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }
  static Vector add(Vector a, Vector b) { return _mm256_add_epi32(a, b); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm256_xor_si256(a, b); }

  /// Four rows, within each 128-bit half.
  static void transposeFour(Vector a, Vector b, Vector c, Vector d, Vector* result) {
    const Vector ab02 = _mm256_unpacklo_epi32(a, b);
    const Vector ab13 = _mm256_unpackhi_epi32(a, b);
    const Vector cd02 = _mm256_unpacklo_epi32(c, d);
    const Vector cd13 = _mm256_unpackhi_epi32(c, d);
    result[0] = _mm256_unpacklo_epi64(ab02, cd02);
    result[1] = _mm256_unpackhi_epi64(ab02, cd02);
    result[2] = _mm256_unpacklo_epi64(ab13, cd13);
    result[3] = _mm256_unpackhi_epi64(ab13, cd13);
  }

  /// After two fours of rows: the halves change places.
  static void exchangeHalves(Vector* v) {
    for (std::size_t i = 0; i < 4; ++i) {
      const Vector upper = v[i];
      const Vector lower = v[i + 4];
      v[i] = _mm256_permute2x128_si256(upper, lower, 0x20);
      v[i + 4] = _mm256_permute2x128_si256(upper, lower, 0x31);
    }
  }

  template <std::size_t step>
  static void load(const std::uint8_t* const* blocks, Vector* words) {
    constexpr std::size_t half = step / 3;
    if constexpr (half == 2) {
      return;
    } else if constexpr (step % 3 < 2) {
      constexpr std::size_t first = step % 3 * 4;
      const auto row = [&](std::size_t i) {
        return _mm256_loadu_si256(reinterpret_cast<const Vector*>(blocks[first + i] + 32 * half));
      };
      transposeFour(row(0), row(1), row(2), row(3), words + 8 * half + first);
    } else {
      exchangeHalves(words + 8 * half);
    }
  }

  static void store(const Vector* words, std::uint32_t* const* outputs) {
    Vector rows[width];
    transposeFour(words[0], words[1], words[2], words[3], rows);
    transposeFour(words[4], words[5], words[6], words[7], rows + 4);
    exchangeHalves(rows);
    for (std::size_t i = 0; i < width; ++i) _mm256_storeu_si256(reinterpret_cast<Vector*>(outputs[i]), rows[i]);
  }
};

}  // namespace
}  // namespace tallyfold::blake3
