#include "core/blake3/VectorKernel.h"

namespace tallyfold::blake3 {

namespace {

struct AVX2 {
  using Vector = __m256i;
  static constexpr std::size_t width = 8;

  static Vector broadcast(std::uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }
  static Vector add(Vector a, Vector b) { return _mm256_add_epi32(a, b); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm256_xor_si256(a, b); }

  template <int bits>
  static Vector rotate(Vector a) {
    if constexpr (bits % 8 == 0) {
      const auto& mask = *reinterpret_cast<const Vector*>(bits == 8 ? RotatedBytes::by8 : RotatedBytes::by16);
#ifdef __clang__
      return _mm256_shuffle_epi8(a, mask);
#else
      // GCC would give each mask a register, and there are too few.
      Vector rotated;
      __asm__("vpshufb %2, %1, %0" : "=x"(rotated) : "x"(a), "m"(mask));
      return rotated;
#endif
    } else {
      return _mm256_or_si256(_mm256_srli_epi32(a, bits), _mm256_slli_epi32(a, 32 - bits));
    }
  }

  template <int bits>
  static __m128i rotateRow(__m128i a) {
    if constexpr (bits % 8 == 0) {
      return _mm_shuffle_epi8(a, *reinterpret_cast<const __m128i*>(bits == 8 ? RotatedBytes::by8 : RotatedBytes::by16));
    } else {
      return _mm_or_si128(_mm_srli_epi32(a, bits), _mm_slli_epi32(a, 32 - bits));
    }
  }

  static Vector counters(std::uint64_t first, bool high) {
    const auto word = [&](std::uint64_t lane) { return static_cast<int>((first + lane) >> (high ? 32 : 0)); };
    return _mm256_set_epi32(word(7), word(6), word(5), word(4), word(3), word(2), word(1), word(0));
  }

  /// Eight vectors of eight words.
  static void transpose(Vector* v) {
    // Pairs of rows, then fours, within each 128-bit half; then the halves change places.
    Vector pairs[8];
    for (std::size_t i = 0; i < 8; i += 2) {
      pairs[i] = _mm256_unpacklo_epi32(v[i], v[i + 1]);
      pairs[i + 1] = _mm256_unpackhi_epi32(v[i], v[i + 1]);
    }
    Vector fours[8];
    for (std::size_t i = 0; i < 8; i += 4) {
      fours[i] = _mm256_unpacklo_epi64(pairs[i], pairs[i + 2]);
      fours[i + 1] = _mm256_unpackhi_epi64(pairs[i], pairs[i + 2]);
      fours[i + 2] = _mm256_unpacklo_epi64(pairs[i + 1], pairs[i + 3]);
      fours[i + 3] = _mm256_unpackhi_epi64(pairs[i + 1], pairs[i + 3]);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      v[i] = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x20);
      v[i + 4] = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x31);
    }
  }

  static void loadBlocks(const std::uint8_t* const* blocks, Vector* words) {
    for (std::size_t half = 0; half < 2; ++half) {
      for (std::size_t i = 0; i < width; ++i) {
        words[8 * half + i] = _mm256_loadu_si256(reinterpret_cast<const Vector*>(blocks[i] + 32 * half));
      }
      transpose(words + 8 * half);
    }
  }

  static void store(const Vector* words, std::uint32_t* const* outputs) {
    Vector rows[width];
    for (std::size_t i = 0; i < width; ++i) rows[i] = words[i];
    transpose(rows);
    for (std::size_t i = 0; i < width; ++i) _mm256_storeu_si256(reinterpret_cast<Vector*>(outputs[i]), rows[i]);
  }
};

using Functions = VectorKernel<AVX2>;

}  // namespace

const Kernel kernelAVX2{"AVX2", kAVX2, Functions::compress, Functions::absorb, Functions::chunks, Functions::parents};

}  // namespace tallyfold::blake3
