#include "core/blake3/Registers256.h"
#include "core/blake3/RotatedBytes.h"
#include "core/blake3/VectorKernel.h"

namespace tallyfold::blake3 {

namespace {

struct AVX2 : Registers256 {
  static constexpr std::size_t registers = 16;

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
};

struct Widths : Lanes<AVX2, 1> {
  static constexpr std::size_t most = width;
};

using Functions = VectorKernel<Widths>;

}  // namespace

const Kernel kernelAVX2{"AVX2", kAVX2, single::compress, single::absorb, Functions::chunks, Functions::parents};

}  // namespace tallyfold::blake3
