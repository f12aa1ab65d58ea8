#include "core/blake3/VectorKernel.h"

namespace tallyfold::blake3 {

namespace {

struct SSE41 {
  using Vector = __m128i;
  static constexpr std::size_t width = 4;

  static Vector broadcast(std::uint32_t word) { return _mm_set1_epi32(static_cast<int>(word)); }
  static Vector add(Vector a, Vector b) { return _mm_add_epi32(a, b); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm_xor_si128(a, b); }

  template <int bits>
  static Vector rotate(Vector a) {
    if constexpr (bits % 8 == 0) {
      const auto& mask = *reinterpret_cast<const Vector*>(bits == 8 ? RotatedBytes::by8 : RotatedBytes::by16);
#ifdef __clang__
      return _mm_shuffle_epi8(a, mask);
#else
      // GCC would give each mask a register, and there are too few.
      __asm__("pshufb %1, %0" : "+x"(a) : "m"(mask));
      return a;
#endif
    } else {
      return _mm_or_si128(_mm_srli_epi32(a, bits), _mm_slli_epi32(a, 32 - bits));
    }
  }

  template <int bits>
  static __m128i rotateRow(__m128i a) {
    return rotate<bits>(a);
  }

  static Vector counters(std::uint64_t first, bool high) {
    const auto word = [&](std::uint64_t lane) { return static_cast<int>((first + lane) >> (high ? 32 : 0)); };
    return _mm_set_epi32(word(3), word(2), word(1), word(0));
  }

  static void transpose(Vector& a, Vector& b, Vector& c, Vector& d) {
    const Vector ab02 = _mm_unpacklo_epi32(a, b);
    const Vector ab13 = _mm_unpackhi_epi32(a, b);
    const Vector cd02 = _mm_unpacklo_epi32(c, d);
    const Vector cd13 = _mm_unpackhi_epi32(c, d);
    a = _mm_unpacklo_epi64(ab02, cd02);
    b = _mm_unpackhi_epi64(ab02, cd02);
    c = _mm_unpacklo_epi64(ab13, cd13);
    d = _mm_unpackhi_epi64(ab13, cd13);
  }

  static void loadBlocks(const std::uint8_t* const* blocks, Vector* words) {
    for (std::size_t quarter = 0; quarter < 4; ++quarter) {
      Vector* const w = words + 4 * quarter;
      for (std::size_t i = 0; i < width; ++i) {
        w[i] = _mm_loadu_si128(reinterpret_cast<const Vector*>(blocks[i] + 16 * quarter));
      }
      transpose(w[0], w[1], w[2], w[3]);
    }
  }

  static void store(const Vector* words, std::uint32_t* const* outputs) {
    for (std::size_t half = 0; half < 2; ++half) {
      Vector rows[width];
      for (std::size_t i = 0; i < width; ++i) rows[i] = words[4 * half + i];
      transpose(rows[0], rows[1], rows[2], rows[3]);
      for (std::size_t i = 0; i < width; ++i) {
        _mm_storeu_si128(reinterpret_cast<Vector*>(outputs[i] + 4 * half), rows[i]);
      }
    }
  }
};

using Functions = VectorKernel<SSE41>;

}  // namespace

const Kernel kernelSSE41{"SSE4.1",          kSSE41, Functions::compress, Functions::absorb, Functions::chunks,
                         Functions::parents};

}  // namespace tallyfold::blake3
