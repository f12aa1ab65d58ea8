#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "core/blake3/FourMessages.h"

// For the sources of the kernels alone, and of internal linkage as all that they include.

namespace tallyfold::blake3 {
namespace {

/// A word of each of four messages. What uses it adds `rotate` and `registers`.
struct Registers128 {
  using Vector = __m128i;
  static constexpr std::size_t width = 4;

  static Vector broadcast(std::uint32_t word) { return _mm_set1_epi32(static_cast<int>(word)); }
  static Vector add(Vector a, Vector b) { return _mm_add_epi32(a, b); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm_xor_si128(a, b); }

  static void transpose(Vector a, Vector b, Vector c, Vector d, Vector* result) {
    const Vector ab02 = _mm_unpacklo_epi32(a, b);
    const Vector ab13 = _mm_unpackhi_epi32(a, b);
    const Vector cd02 = _mm_unpacklo_epi32(c, d);
    const Vector cd13 = _mm_unpackhi_epi32(c, d);
    result[0] = _mm_unpacklo_epi64(ab02, cd02);
    result[1] = _mm_unpackhi_epi64(ab02, cd02);
    result[2] = _mm_unpacklo_epi64(ab13, cd13);
    result[3] = _mm_unpackhi_epi64(ab13, cd13);
  }

  static Vector read(const std::uint8_t* bytes) { return _mm_loadu_si128(reinterpret_cast<const Vector*>(bytes)); }
  static void write(Vector words, std::uint32_t* output) { _mm_storeu_si128(reinterpret_cast<Vector*>(output), words); }

  template <std::size_t step>
  static void load(const std::uint8_t* const* blocks, Vector* words) {
    FourMessages<Registers128>::load<step>(blocks, words);
  }
  static void store(const Vector* words, std::uint32_t* const* outputs) {
    FourMessages<Registers128>::store(words, outputs);
  }
};

}  // namespace
}  // namespace tallyfold::blake3
