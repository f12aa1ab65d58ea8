#include "core/blake3/VectorKernel.h"

namespace tallyfold::blake3 {

namespace {

struct AVX512 {
  using Vector = __m512i;
  static constexpr std::size_t width = 16;

  static Vector broadcast(std::uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }
  static Vector add(Vector a, Vector b) { return _mm512_add_epi32(a, b); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm512_xor_si512(a, b); }

  template <int bits>
  static Vector rotate(Vector a) {
    return _mm512_ror_epi32(a, bits);
  }

  template <int bits>
  static __m128i rotateRow(__m128i a) {
    return _mm_ror_epi32(a, bits);
  }

  static Vector counters(std::uint64_t first, bool high) {
    alignas(64) std::uint32_t words[width];
    for (std::size_t i = 0; i < width; ++i) words[i] = static_cast<std::uint32_t>((first + i) >> (high ? 32 : 0));
    return _mm512_load_si512(words);
  }

  /// Sixteen vectors of sixteen words.
  static void transpose(Vector* v) {
    // Pairs of rows, then fours, within each 128-bit quarter.
    Vector pairs[16];
    for (std::size_t i = 0; i < 16; i += 2) {
      pairs[i] = _mm512_unpacklo_epi32(v[i], v[i + 1]);
      pairs[i + 1] = _mm512_unpackhi_epi32(v[i], v[i + 1]);
    }
    Vector fours[16];
    for (std::size_t i = 0; i < 16; i += 4) {
      fours[i] = _mm512_unpacklo_epi64(pairs[i], pairs[i + 2]);
      fours[i + 1] = _mm512_unpackhi_epi64(pairs[i], pairs[i + 2]);
      fours[i + 2] = _mm512_unpacklo_epi64(pairs[i + 1], pairs[i + 3]);
      fours[i + 3] = _mm512_unpackhi_epi64(pairs[i + 1], pairs[i + 3]);
    }
    // Vector i of a group of four holds words i, i + 4, i + 8 and i + 12 of its rows, a quarter each. Quarters change
    // places between the groups as words do in a transposition of four by four.
    constexpr int firstAndThird = 0x88;
    constexpr int secondAndFourth = 0xDD;
    for (std::size_t i = 0; i < 4; ++i) {
      const Vector low02 = _mm512_shuffle_i32x4(fours[i], fours[i + 4], firstAndThird);
      const Vector low13 = _mm512_shuffle_i32x4(fours[i], fours[i + 4], secondAndFourth);
      const Vector high02 = _mm512_shuffle_i32x4(fours[i + 8], fours[i + 12], firstAndThird);
      const Vector high13 = _mm512_shuffle_i32x4(fours[i + 8], fours[i + 12], secondAndFourth);
      v[i] = _mm512_shuffle_i32x4(low02, high02, firstAndThird);
      v[i + 4] = _mm512_shuffle_i32x4(low13, high13, firstAndThird);
      v[i + 8] = _mm512_shuffle_i32x4(low02, high02, secondAndFourth);
      v[i + 12] = _mm512_shuffle_i32x4(low13, high13, secondAndFourth);
    }
  }

  static void loadBlocks(const std::uint8_t* const* blocks, Vector* words) {
    for (std::size_t i = 0; i < width; ++i) words[i] = _mm512_loadu_si512(blocks[i]);
    transpose(words);
  }

  static void store(const Vector* words, std::uint32_t* const* outputs) {
    // The upper half of what comes out of the transposition is what was left in the unused words.
    Vector rows[width];
    for (std::size_t i = 0; i < width; ++i) rows[i] = i < kChainingWords ? words[i] : _mm512_setzero_si512();
    transpose(rows);
    for (std::size_t i = 0; i < width; ++i) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(outputs[i]), _mm512_castsi512_si256(rows[i]));
    }
  }
};

using Functions = VectorKernel<AVX512>;

}  // namespace

const Kernel kernelAVX512{"AVX-512",         kAVX512,           Functions::compress,
                          Functions::absorb, Functions::chunks, Functions::parents};

}  // namespace tallyfold::blake3
