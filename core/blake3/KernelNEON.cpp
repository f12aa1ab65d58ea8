#include <arm_neon.h>

#include "core/blake3/FourMessages.h"
#include "core/blake3/VectorKernel.h"

namespace tallyfold::blake3 {

namespace {

struct NEON {
  using Vector = uint32x4_t;
  static constexpr std::size_t width = 4;
  static constexpr std::size_t registers = 32;

  static Vector broadcast(std::uint32_t word) { return vdupq_n_u32(word); }
  static Vector add(Vector a, Vector b) { return vaddq_u32(a, b); }
  static Vector exclusiveOr(Vector a, Vector b) { return veorq_u32(a, b); }

  template <int bits>
  static Vector rotate(Vector a) {
    if constexpr (bits == 16) {
      return vreinterpretq_u32_u16(vrev32q_u16(vreinterpretq_u16_u32(a)));
    } else if constexpr (bits == 8) {
      const uint8x16_t order{1, 2, 3, 0, 5, 6, 7, 4, 9, 10, 11, 8, 13, 14, 15, 12};
      return vreinterpretq_u32_u8(vqtbl1q_u8(vreinterpretq_u8_u32(a), order));
    } else {
      return vsriq_n_u32(vshlq_n_u32(a, 32 - bits), a, bits);
    }
  }

  static void transpose(Vector a, Vector b, Vector c, Vector d, Vector* result) {
    const uint64x2_t ab02 = vreinterpretq_u64_u32(vtrn1q_u32(a, b));
    const uint64x2_t ab13 = vreinterpretq_u64_u32(vtrn2q_u32(a, b));
    const uint64x2_t cd02 = vreinterpretq_u64_u32(vtrn1q_u32(c, d));
    const uint64x2_t cd13 = vreinterpretq_u64_u32(vtrn2q_u32(c, d));
    result[0] = vreinterpretq_u32_u64(vtrn1q_u64(ab02, cd02));
    result[1] = vreinterpretq_u32_u64(vtrn1q_u64(ab13, cd13));
    result[2] = vreinterpretq_u32_u64(vtrn2q_u64(ab02, cd02));
    result[3] = vreinterpretq_u32_u64(vtrn2q_u64(ab13, cd13));
  }

  static Vector read(const std::uint8_t* bytes) { return vreinterpretq_u32_u8(vld1q_u8(bytes)); }
  static void write(Vector words, std::uint32_t* output) { vst1q_u32(output, words); }

  template <std::size_t step>
  static void load(const std::uint8_t* const* blocks, Vector* words) {
    FourMessages<NEON>::load<step>(blocks, words);
  }
  static void store(const Vector* words, std::uint32_t* const* outputs) { FourMessages<NEON>::store(words, outputs); }
};

struct Widths : Lanes<NEON, 1> {
  static constexpr std::size_t most = width;
};

using Functions = VectorKernel<Widths>;

}  // namespace

const Kernel kernelNEON{"NEON", kNEON, single::compress, single::absorb, Functions::chunks, Functions::parents};

}  // namespace tallyfold::blake3
