#pragma once

#include <cstddef>
#include <immintrin.h>

#include "core/digests/crc32/Folding.h"

namespace tallyfold::crc32 {
namespace {

template <unsigned bits>
[[gnu::always_inline]] inline __m128i fold128(__m128i v) {
  constexpr Factors f = kFactors<bits>;
  const __m128i factors = _mm_set_epi64x(static_cast<long long>(f.high), static_cast<long long>(f.low));
  return _mm_xor_si128(_mm_clmulepi64_si128(v, factors, 0x00), _mm_clmulepi64_si128(v, factors, 0x11));
}

inline void store128(__m128i v, std::byte* bytes) { _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), v); }

}  // namespace
}  // namespace tallyfold::crc32
