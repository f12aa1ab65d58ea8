#include <immintrin.h>

#include "core/digests/sha224/Constants.h"
#include "core/digests/sha224/Kernels.h"

// With the SHA extensions: "Intel 64 and IA-32 Architectures Software Developer's Manual", volume 2, SHA256RNDS2,
// SHA256MSG1 and SHA256MSG2. Calls nothing of external linkage, because this is compiled for processors that not
// everyone has.

namespace tallyfold::sha224 {

namespace {

__m128i load(const void* bytes) { return _mm_loadu_si128(static_cast<const __m128i*>(bytes)); }

void store(std::uint32_t* words, __m128i value) { _mm_storeu_si128(reinterpret_cast<__m128i*>(words), value); }

void compress(std::uint32_t* state, const std::byte* blocks, std::size_t count) {
  constexpr int swapped = 0xB1;   // Words 1, 0, 3, 2.
  constexpr int reversed = 0x1B;  // Words 3, 2, 1, 0.
  constexpr int upperHalf = 0xF0;
  const __m128i bigEndian = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);

  // The instructions want the state as f, e, b, a and h, g, d, c, the lowest word first.
  const __m128i badc = _mm_shuffle_epi32(load(state), swapped);
  const __m128i hgfe = _mm_shuffle_epi32(load(state + 4), reversed);
  __m128i feba = _mm_alignr_epi8(badc, hgfe, 8);
  __m128i hgdc = _mm_blend_epi16(hgfe, badc, upperHalf);

  for (; count > 0; --count, blocks += kBlockSize) {
    const __m128i feba0 = feba;
    const __m128i hgdc0 = hgdc;
    __m128i w[4];
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) w[i] = _mm_shuffle_epi8(load(blocks + 16 * i), bigEndian);
#pragma GCC unroll 16
    for (std::size_t i = 0; i < 16; ++i) {
      const __m128i sum = _mm_add_epi32(w[i % 4], load(kRoundConstants + 4 * i));
      hgdc = _mm_sha256rnds2_epu32(hgdc, feba, sum);
      feba = _mm_sha256rnds2_epu32(feba, hgdc, _mm_shuffle_epi32(sum, 0x0E));
      if (i >= 12) continue;
      // The four words of the schedule that follow in sixteen words' time.
      const __m128i w1 = w[(i + 1) % 4], w2 = w[(i + 2) % 4], w3 = w[(i + 3) % 4];
      const __m128i early = _mm_add_epi32(_mm_sha256msg1_epu32(w[i % 4], w1), _mm_alignr_epi8(w3, w2, 4));
      w[i % 4] = _mm_sha256msg2_epu32(early, w3);
    }
    feba = _mm_add_epi32(feba, feba0);
    hgdc = _mm_add_epi32(hgdc, hgdc0);
  }

  const __m128i abef = _mm_shuffle_epi32(feba, reversed);
  const __m128i ghcd = _mm_shuffle_epi32(hgdc, swapped);
  store(state, _mm_blend_epi16(abef, ghcd, upperHalf));
  store(state + 4, _mm_alignr_epi8(ghcd, abef, 8));
}

}  // namespace

const Kernel kernelSHA{"SHA extensions", kSSE41 | kSHA, compress};

}  // namespace tallyfold::sha224
