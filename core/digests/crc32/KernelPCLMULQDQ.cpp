#include "core/digests/crc32/Folding128.h"

namespace tallyfold::crc32 {

namespace {

struct PCLMULQDQ {
  using Vector = __m128i;

  static Vector load(const std::byte* bytes) { return _mm_loadu_si128(reinterpret_cast<const Vector*>(bytes)); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm_xor_si128(a, b); }
  static Vector first(std::uint32_t word) { return _mm_cvtsi32_si128(static_cast<int>(word)); }

  template <unsigned bits>
  static Vector fold(Vector v) {
    return fold128<bits>(v);
  }

  static void foldTo128(Vector v, std::byte* result) { store128(v, result); }
};

}  // namespace

const Kernel kernelPCLMULQDQ{"PCLMULQDQ", kSSE41 | kPCLMULQDQ, FoldingKernel<PCLMULQDQ, 4, kernelSlicing>::update};

}  // namespace tallyfold::crc32
