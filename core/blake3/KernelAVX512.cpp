#include "core/blake3/Registers128.h"
#include "core/blake3/Registers256.h"
#include "core/blake3/VectorKernel.h"

namespace tallyfold::blake3 {

namespace {

struct Registers512 {
  using Vector = __m512i;
  static constexpr std::size_t width = 16;
  static constexpr std::size_t registers = 32;

  static Vector broadcast(std::uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }
  static Vector add(Vector a, Vector b) { return _mm512_add_epi32(a, b); }
  static Vector exclusiveOr(Vector a, Vector b) { return _mm512_xor_si512(a, b); }

  template <int bits>
  static Vector rotate(Vector a) {
    return _mm512_ror_epi32(a, bits);
  }

  /// Four rows, within each 128-bit quarter.
  static void transposeFour(Vector a, Vector b, Vector c, Vector d, Vector* result) {
    const Vector ab02 = _mm512_unpacklo_epi32(a, b);
    const Vector ab13 = _mm512_unpackhi_epi32(a, b);
    const Vector cd02 = _mm512_unpacklo_epi32(c, d);
    const Vector cd13 = _mm512_unpackhi_epi32(c, d);
    result[0] = _mm512_unpacklo_epi64(ab02, cd02);
    result[1] = _mm512_unpackhi_epi64(ab02, cd02);
    result[2] = _mm512_unpacklo_epi64(ab13, cd13);
    result[3] = _mm512_unpackhi_epi64(ab13, cd13);
  }

  /// After four fours of rows, vector i of each four holds words i, i + 4, i + 8 and i + 12 of its rows, a quarter
  /// each. Quarters change places between the fours as words do in a transposition of four by four.
  static void exchangeQuarters(Vector* v, std::size_t i) {
    constexpr int firstAndThird = 0x88;
    constexpr int secondAndFourth = 0xDD;
    const Vector low02 = _mm512_shuffle_i32x4(v[i], v[i + 4], firstAndThird);
    const Vector low13 = _mm512_shuffle_i32x4(v[i], v[i + 4], secondAndFourth);
    const Vector high02 = _mm512_shuffle_i32x4(v[i + 8], v[i + 12], firstAndThird);
    const Vector high13 = _mm512_shuffle_i32x4(v[i + 8], v[i + 12], secondAndFourth);
    v[i] = _mm512_shuffle_i32x4(low02, high02, firstAndThird);
    v[i + 4] = _mm512_shuffle_i32x4(low13, high13, firstAndThird);
    v[i + 8] = _mm512_shuffle_i32x4(low02, high02, secondAndFourth);
    v[i + 12] = _mm512_shuffle_i32x4(low13, high13, secondAndFourth);
  }

  template <std::size_t step>
  static void load(const std::uint8_t* const* blocks, Vector* words) {
    if constexpr (step < 4) {
      const auto row = [&](std::size_t i) { return _mm512_loadu_si512(blocks[4 * step + i]); };
      transposeFour(row(0), row(1), row(2), row(3), words + 4 * step);
    } else {
      exchangeQuarters(words, step - 4);
    }
  }

  static void store(const Vector* words, std::uint32_t* const* outputs) {
    // The upper half of what comes out of the transposition is what was left in the unused words.
    Vector rows[width];
    const Vector zero = broadcast(0);
    transposeFour(words[0], words[1], words[2], words[3], rows);
    transposeFour(words[4], words[5], words[6], words[7], rows + 4);
    for (std::size_t i = 8; i < width; ++i) rows[i] = zero;
    for (std::size_t i = 0; i < 4; ++i) exchangeQuarters(rows, i);
    for (std::size_t i = 0; i < width; ++i) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(outputs[i]), _mm512_castsi512_si256(rows[i]));
    }
  }
};

struct Half : Registers256 {
  static constexpr std::size_t registers = 32;

  template <int bits>
  static Vector rotate(Vector a) {
    return _mm256_ror_epi32(a, bits);
  }
};

struct Quarter : Registers128 {
  static constexpr std::size_t registers = 32;

  template <int bits>
  static Vector rotate(Vector a) {
    return _mm_ror_epi32(a, bits);
  }
};

struct Widths {
  static constexpr std::size_t most = Lanes<Registers512, 2>::width;

  /// Many processors run narrower registers faster, and padding costs them its loads.
  template <typename Kind>
  static std::size_t compress(const std::uint8_t* first, std::uint64_t counter, std::size_t count, std::size_t next,
                              std::uint32_t* output, std::uint32_t* unfinished) {
    using Four = Lanes<Quarter, 1>;
    using Eight = Lanes<Half, 1>;
    using Sixteen = Lanes<Registers512, 1>;
    if (count <= Four::width) return Four::compress<Kind>(first, counter, count, next, output, unfinished);
    if (count <= Eight::width) return Eight::compress<Kind>(first, counter, count, next, output, unfinished);
    if (count <= Sixteen::width) return Sixteen::compress<Kind>(first, counter, count, next, output, unfinished);
    return Lanes<Registers512, 2>::compress<Kind>(first, counter, count, next, output, unfinished);
  }
};

using Functions = VectorKernel<Widths>;

}  // namespace

const Kernel kernelAVX512{"AVX-512", kAVX512, single::compress, single::absorb, Functions::chunks, Functions::parents};

}  // namespace tallyfold::blake3
