#include "core/digests/crc32/Folding128.h"

namespace tallyfold::crc32 {

namespace {

struct AVX512 {
  using Vector = __m512i;

  static Vector load(const std::byte* bytes) { return _mm512_loadu_si512(bytes); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm512_xor_si512(a, b); }
  static Vector first(std::uint32_t word) { return _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(word))); }

  template <unsigned bits>
  static Vector fold(Vector v) {
    constexpr Factors f = kFactors<bits>;
    const auto low = static_cast<long long>(f.low);
    const auto high = static_cast<long long>(f.high);
    const Vector factors = _mm512_set_epi64(high, low, high, low, high, low, high, low);
    return _mm512_xor_si512(_mm512_clmulepi64_epi128(v, factors, 0x00), _mm512_clmulepi64_epi128(v, factors, 0x11));
  }

  static void foldTo128(Vector v, std::byte* result) {
    __m128i sum = _mm512_extracti32x4_epi32(v, 0);
    sum = _mm_xor_si128(fold128<128>(sum), _mm512_extracti32x4_epi32(v, 1));
    sum = _mm_xor_si128(fold128<128>(sum), _mm512_extracti32x4_epi32(v, 2));
    store128(_mm_xor_si128(fold128<128>(sum), _mm512_extracti32x4_epi32(v, 3)), result);
  }
};

}  // namespace

const Kernel kernelAVX512{"AVX-512", kPCLMULQDQ | kAVX2 | kAVX512 | kVPCLMULQDQ,
                          FoldingKernel<AVX512, 8, kernelSlicing>::update};

}  // namespace tallyfold::crc32
