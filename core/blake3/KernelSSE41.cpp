#include "core/blake3/Registers128.h"
#include "core/blake3/RotatedBytes.h"
#include "core/blake3/VectorKernel.h"

namespace tallyfold::blake3 {

namespace {

struct SSE41 : Registers128 {
  static constexpr std::size_t registers = 16;

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
};

struct Widths : Lanes<SSE41, 1> {
  static constexpr std::size_t most = width;
};

using Functions = VectorKernel<Widths>;

}  // namespace

const Kernel kernelSSE41{"SSE4.1", kSSE41, single::compress, single::absorb, Functions::chunks, Functions::parents};

}  // namespace tallyfold::blake3
