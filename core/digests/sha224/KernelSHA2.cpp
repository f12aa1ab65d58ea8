#include <arm_neon.h>

#include "core/digests/sha224/Constants.h"
#include "core/digests/sha224/Kernels.h"

// "Arm Architecture Reference Manual for A-profile architecture", C7.2: SHA256H, SHA256H2, SHA256SU0 and SHA256SU1.
// Calls nothing of external linkage, because this is compiled for processors that not everyone has.

namespace tallyfold::sha224 {

namespace {

uint32x4_t bigEndianWords(const std::byte* bytes) {
  return vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(reinterpret_cast<const std::uint8_t*>(bytes))));
}

void compress(std::uint32_t* state, const std::byte* blocks, std::size_t count) {
  uint32x4_t abcd = vld1q_u32(state);
  uint32x4_t efgh = vld1q_u32(state + 4);
  for (; count > 0; --count, blocks += kBlockSize) {
    const uint32x4_t abcd0 = abcd;
    const uint32x4_t efgh0 = efgh;
    uint32x4_t w[4];
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) w[i] = bigEndianWords(blocks + 16 * i);
#pragma GCC unroll 16
    for (std::size_t i = 0; i < 16; ++i) {
      const uint32x4_t sum = vaddq_u32(w[i % 4], vld1q_u32(kRoundConstants + 4 * i));
      const uint32x4_t before = abcd;
      abcd = vsha256hq_u32(abcd, efgh, sum);
      efgh = vsha256h2q_u32(efgh, before, sum);
      if (i >= 12) continue;
      // The four words of the schedule that follow in sixteen words' time.
      const uint32x4_t w1 = w[(i + 1) % 4], w2 = w[(i + 2) % 4], w3 = w[(i + 3) % 4];
      w[i % 4] = vsha256su1q_u32(vsha256su0q_u32(w[i % 4], w1), w2, w3);
    }
    abcd = vaddq_u32(abcd, abcd0);
    efgh = vaddq_u32(efgh, efgh0);
  }
  vst1q_u32(state, abcd);
  vst1q_u32(state + 4, efgh);
}

}  // namespace

const Kernel kernelSHA2{"SHA2", kNEON | kSHA2, compress};

}  // namespace tallyfold::sha224
