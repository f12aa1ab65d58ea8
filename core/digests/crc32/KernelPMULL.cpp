#include <arm_neon.h>

#include "core/digests/crc32/Folding.h"

namespace tallyfold::crc32 {

namespace {

struct PMULL {
  using Vector = uint64x2_t;

  static Vector load(const std::byte* bytes) {
    return vreinterpretq_u64_u8(vld1q_u8(reinterpret_cast<const std::uint8_t*>(bytes)));
  }
  static Vector exclusiveOr(Vector a, Vector b) { return veorq_u64(a, b); }
  static Vector first(std::uint32_t word) { return Vector{word, 0}; }

  template <unsigned bits>
  static Vector fold(Vector v) {
    constexpr Factors f = kFactors<bits>;
    const poly64x2_t halves = vreinterpretq_p64_u64(v);
    const poly64x2_t factors = vreinterpretq_p64_u64(Vector{f.low, f.high});
    return veorq_u64(vreinterpretq_u64_p128(vmull_p64(vgetq_lane_p64(halves, 0), vgetq_lane_p64(factors, 0))),
                     vreinterpretq_u64_p128(vmull_high_p64(halves, factors)));
  }

  static void foldTo128(Vector v, std::byte* result) {
    vst1q_u8(reinterpret_cast<std::uint8_t*>(result), vreinterpretq_u8_u64(v));
  }
};

}  // namespace

const Kernel kernelPMULL{"PMULL", kNEON | kPMULL | kCRC32, FoldingKernel<PMULL, 8, kernelCRC32>::update};

}  // namespace tallyfold::crc32
