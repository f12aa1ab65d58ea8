#include "core/digests/crc32/Folding128.h"

namespace tallyfold::crc32 {

namespace {

struct VPCLMULQDQ {
  using Vector = __m256i;

  static Vector load(const std::byte* bytes) { return _mm256_loadu_si256(reinterpret_cast<const Vector*>(bytes)); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm256_xor_si256(a, b); }
  static Vector first(std::uint32_t word) { return _mm256_zextsi128_si256(_mm_cvtsi32_si128(static_cast<int>(word))); }

  template <unsigned bits>
  static Vector fold(Vector v) {
    constexpr Factors f = kFactors<bits>;
    const auto low = static_cast<long long>(f.low);
    const auto high = static_cast<long long>(f.high);
    const Vector factors = _mm256_set_epi64x(high, low, high, low);
    return _mm256_xor_si256(_mm256_clmulepi64_epi128(v, factors, 0x00), _mm256_clmulepi64_epi128(v, factors, 0x11));
  }

  static void foldTo128(Vector v, std::byte* result) {
    store128(_mm_xor_si128(fold128<128>(_mm256_castsi256_si128(v)), _mm256_extracti128_si256(v, 1)), result);
  }
};

}  // namespace

const Kernel kernelVPCLMULQDQ{"VPCLMULQDQ", kPCLMULQDQ | kAVX2 | kVPCLMULQDQ,
                              FoldingKernel<VPCLMULQDQ, 8, kernelSlicing>::update};

}  // namespace tallyfold::crc32
