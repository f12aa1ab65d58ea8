#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

#include "core/blake3/Constants.h"
#include "core/blake3/Kernels.h"

// The compressions of BLAKE3 in vector registers, for the sources of the kernels alone. Everything here has internal
// linkage and calls nothing that has not: the linker might else pick a function that one of these sources compiled,
// with instructions that not every processor has, for the rest of the program.

namespace tallyfold::blake3 {
namespace {

/// Where each byte of a register comes from when its words are rotated to the right.
struct RotatedBytes {
  alignas(32) static constexpr std::uint8_t by8[32]{1, 2, 3, 0, 5, 6, 7, 4, 9, 10, 11, 8, 13, 14, 15, 12,
                                                    1, 2, 3, 0, 5, 6, 7, 4, 9, 10, 11, 8, 13, 14, 15, 12};
  alignas(32) static constexpr std::uint8_t by16[32]{2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13,
                                                     2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13};
};

/// What one instruction set offers. `Vector` holds a word of each of `width` messages side by side, `Row` four words of
/// one message:
///
///     struct InstructionSet {
///       using Vector = ...;
///       static constexpr std::size_t width;
///       static Vector broadcast(std::uint32_t), add(Vector, Vector), exclusiveOr(Vector, Vector);
///       template <int bits> static Vector rotate(Vector);  // To the right, every word by itself.
///       static Vector counters(std::uint64_t first, bool high);  // Half of first, first + 1, ...
///       static void loadBlocks(const std::uint8_t* const* blocks, Vector* words);  // Sixteen words of each message.
///       static void store(const Vector* words, std::uint32_t* const* outputs);  // Eight words for each message.
///       template <int bits> static __m128i rotateRow(__m128i);
///     };
template <typename InstructionSet>
class VectorKernel {
 public:
  static void compress(const std::uint32_t* chainingValue, const std::uint32_t* message, std::uint64_t counter,
                       std::uint32_t blockLength, std::uint32_t flags, std::uint32_t* output) {
    Rows rows = load(chainingValue);
    compressRows(rows, reinterpret_cast<const std::uint8_t*>(message), counter, blockLength, flags);
    store(rows, output);
  }

  static void absorb(std::uint32_t* chainingValue, const std::uint8_t* blocks, std::size_t count, std::uint64_t counter,
                     std::uint32_t flags) {
    Rows rows = load(chainingValue);
    for (; count > 0; --count, blocks += kBlockSize) compressRows(rows, blocks, counter, kBlockSize, flags);
    store(rows, chainingValue);
  }

  static void chunks(const std::uint8_t* input, std::size_t count, std::uint64_t counter, std::uint32_t* output,
                     std::uint32_t* unfinished) {
    while (count > 1) {
      const std::size_t taken = count < width ? count : width;
      Lanes lanes;
      spread(lanes, input, kChunkSize, output, taken);
      // The processor by itself sees too late that each lane leaps over the others' chunks.
      const std::size_t next = count - taken < width ? 0 : width * kChunkSize;
      chunksSideBySide(lanes, counter, next);
      if (taken == count && unfinished != nullptr) lanes.copyUnfinished(taken - 1, unfinished);
      input += taken * kChunkSize;
      output += taken * kChainingWords;
      counter += taken;
      count -= taken;
    }
    if (count == 1) oneChunk(input, counter, output, unfinished);
  }

  static void parents(const std::uint32_t* children, std::size_t count, std::uint32_t* output) {
    while (count > 1) {
      const std::size_t taken = count < width ? count : width;
      Lanes lanes;
      spread(lanes, reinterpret_cast<const std::uint8_t*>(children), kBlockSize, output, taken);
      parentsSideBySide(lanes);
      children += taken * kMessageWords;
      output += taken * kChainingWords;
      count -= taken;
    }
    if (count == 1) compress(iv, children, 0, kBlockSize, kParent, output);
  }

 private:
  using Vector = typename InstructionSet::Vector;
  static constexpr std::size_t width = InstructionSet::width;
  static constexpr std::uint32_t iv[kChainingWords]{kIV[0], kIV[1], kIV[2], kIV[3], kIV[4], kIV[5], kIV[6], kIV[7]};

  // Four words of one message's state side by side.

  struct Rows {
    __m128i low;
    __m128i high;
  };

  [[gnu::always_inline]] static inline __m128i unaligned(const void* words) {
    return _mm_loadu_si128(static_cast<const __m128i*>(words));
  }

  [[gnu::always_inline]] static inline Rows load(const std::uint32_t* words) {
    return {unaligned(words), unaligned(words + 4)};
  }

  [[gnu::always_inline]] static inline void store(const Rows& rows, std::uint32_t* words) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(words), rows.low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(words + 4), rows.high);
  }

  /// Words i and j of `a`, then k and l of `b`.
  template <int i, int j, int k, int l>
  [[gnu::always_inline]] static inline __m128i pick(__m128i a, __m128i b) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(l, k, j, i)));
  }

  template <int i, int j, int k, int l>
  [[gnu::always_inline]] static inline __m128i pick(__m128i a) {
    return _mm_shuffle_epi32(a, _MM_SHUFFLE(l, k, j, i));
  }

  /// `a`, with some words as `b` has them.
  template <int halfWords>
  [[gnu::always_inline]] static inline __m128i blend(__m128i a, __m128i b) {
    return _mm_blend_epi16(a, b, halfWords);
  }

  [[gnu::always_inline]] static inline void mixRows(__m128i& a, __m128i& b, __m128i& c, __m128i& d, __m128i x,
                                                    __m128i y) {
    a = _mm_add_epi32(_mm_add_epi32(a, x), b);
    d = InstructionSet::template rotateRow<16>(_mm_xor_si128(d, a));
    c = _mm_add_epi32(c, d);
    b = InstructionSet::template rotateRow<12>(_mm_xor_si128(b, c));
    a = _mm_add_epi32(_mm_add_epi32(a, y), b);
    d = InstructionSet::template rotateRow<8>(_mm_xor_si128(d, a));
    c = _mm_add_epi32(c, d);
    b = InstructionSet::template rotateRow<7>(_mm_xor_si128(b, c));
  }

  /// Diagonals become columns by turning the rows `a`, `c` and `d`, not `b`, which is the last to be ready. So the
  /// words for the diagonals stand one place further right: x and y hold words 0, 2, 4, 6 and 1, 3, 5, 7 of the round,
  /// z and w hold words 14, 8, 10, 12 and 15, 9, 11, 13.
  [[gnu::always_inline]] static inline void compressRows(Rows& chainingValue, const std::uint8_t* block,
                                                         std::uint64_t counter, std::uint32_t blockLength,
                                                         std::uint32_t flags) {
    constexpr int secondAndThird = 0x3C;
    constexpr int secondAndFourth = 0xCC;
    __m128i a = chainingValue.low;
    __m128i b = chainingValue.high;
    __m128i c = unaligned(iv);
    __m128i d = _mm_set_epi32(static_cast<int>(flags), static_cast<int>(blockLength), static_cast<int>(counter >> 32),
                              static_cast<int>(counter));
    __m128i x = pick<0, 2, 0, 2>(unaligned(block), unaligned(block + 16));
    __m128i y = pick<1, 3, 1, 3>(unaligned(block), unaligned(block + 16));
    __m128i z = pick<3, 0, 1, 2>(pick<0, 2, 0, 2>(unaligned(block + 32), unaligned(block + 48)));
    __m128i w = pick<3, 0, 1, 2>(pick<1, 3, 1, 3>(unaligned(block + 32), unaligned(block + 48)));
#pragma GCC unroll 7  // The permutation after the last round falls away.
    for (std::size_t round = 0; round < kRounds; ++round) {
      mixRows(a, b, c, d, x, y);
      a = pick<3, 0, 1, 2>(a);
      c = pick<1, 2, 3, 0>(c);
      d = pick<2, 3, 0, 1>(d);
      mixRows(a, b, c, d, z, w);
      a = pick<1, 2, 3, 0>(a);
      c = pick<3, 0, 1, 2>(c);
      d = pick<2, 3, 0, 1>(d);
      const __m128i nextX = pick<0, 2, 3, 1>(pick<1, 2, 1, 3>(x, y));
      const __m128i nextY = blend<secondAndFourth>(pick<3, 3, 0, 0>(x), pick<2, 2, 3, 3>(z, w));
      const __m128i nextZ = blend<secondAndThird>(pick<0, 0, 1, 1>(w), pick<0, 0, 3, 3>(y, z));
      const __m128i nextW = blend<secondAndThird>(pick<1, 1, 0, 0>(z), pick<2, 2, 2, 2>(w, y));
      x = nextX;
      y = nextY;
      z = nextZ;
      w = nextW;
    }
    chainingValue.low = _mm_xor_si128(a, c);
    chainingValue.high = _mm_xor_si128(b, d);
  }

  static void oneChunk(const std::uint8_t* input, std::uint64_t counter, std::uint32_t* output,
                       std::uint32_t* unfinished) {
    constexpr std::size_t last = kChunkSize - kBlockSize;
    Rows rows = load(iv);
    for (std::size_t at = 0; at < kChunkSize; at += kBlockSize) {
      if (at == last && unfinished != nullptr) store(rows, unfinished);
      const std::uint32_t flags = at == 0 ? kChunkStart : at == last ? kChunkEnd : 0U;
      compressRows(rows, input + at, counter, kBlockSize, flags);
    }
    store(rows, output);
  }

  // One word of many messages side by side.

  struct Lanes {
    const std::uint8_t* inputs[width];
    std::uint32_t* outputs[width];
    std::uint32_t unused[kChainingWords];
    Vector unfinished[kChainingWords];  // The chaining values before the last block.

    void copyUnfinished(std::size_t lane, std::uint32_t* words) const {
      for (const Vector& vector : unfinished) {
        __builtin_memcpy(words++, reinterpret_cast<const std::uint8_t*>(&vector) + 4 * lane, 4);
      }
    }
  };

  /// One lane per message. Lanes that are left over read the last message again, and nobody wants what they write.
  [[gnu::always_inline]] static inline void spread(Lanes& lanes, const std::uint8_t* input, std::size_t distance,
                                                   std::uint32_t* output, std::size_t count) {
    for (std::size_t i = 0; i < width; ++i) {
      lanes.inputs[i] = input + (i < count ? i : count - 1) * distance;
      lanes.outputs[i] = i < count ? output + i * kChainingWords : lanes.unused;
    }
  }

  /// Half of the quarter-round "G" for four columns or diagonals, in step, so that none waits for its own result.
  template <int rotationOfD, int rotationOfB, std::size_t j, std::size_t k, std::size_t l>
  [[gnu::always_inline]] static inline void mix(Vector* v, Vector x0, Vector x1, Vector x2, Vector x3) {
    using I = InstructionSet;
    Vector &a0 = v[0], &a1 = v[1], &a2 = v[2], &a3 = v[3];
    Vector &b0 = v[4 + j], &b1 = v[4 + (j + 1) % 4], &b2 = v[4 + (j + 2) % 4], &b3 = v[4 + (j + 3) % 4];
    Vector &c0 = v[8 + k], &c1 = v[8 + (k + 1) % 4], &c2 = v[8 + (k + 2) % 4], &c3 = v[8 + (k + 3) % 4];
    Vector &d0 = v[12 + l], &d1 = v[12 + (l + 1) % 4], &d2 = v[12 + (l + 2) % 4], &d3 = v[12 + (l + 3) % 4];
    a0 = I::add(I::add(a0, x0), b0);
    a1 = I::add(I::add(a1, x1), b1);
    a2 = I::add(I::add(a2, x2), b2);
    a3 = I::add(I::add(a3, x3), b3);
    const Vector t0 = I::template rotate<rotationOfD>(I::exclusiveOr(a0, d0));
    const Vector t1 = I::template rotate<rotationOfD>(I::exclusiveOr(a1, d1));
    const Vector t2 = I::template rotate<rotationOfD>(I::exclusiveOr(a2, d2));
    const Vector t3 = I::template rotate<rotationOfD>(I::exclusiveOr(a3, d3));
    const Vector u0 = I::add(c0, t0);
    const Vector u1 = I::add(c1, t1);
    const Vector u2 = I::add(c2, t2);
    const Vector u3 = I::add(c3, t3);
    d0 = t0;
    putAside(d1, t1);
    d2 = t2;
    d3 = t3;
    c0 = u0;
    c1 = u1;
    c2 = u2;
    c3 = u3;
    b0 = I::template rotate<rotationOfB>(I::exclusiveOr(b0, u0));
    b1 = I::template rotate<rotationOfB>(I::exclusiveOr(b1, u1));
    b2 = I::template rotate<rotationOfB>(I::exclusiveOr(b2, u2));
    b3 = I::template rotate<rotationOfB>(I::exclusiveOr(b3, u3));
  }

  /// Stores what is not needed at once. Up to AVX2 there are sixteen registers, one too few: one word of the state has
  /// to be in memory. GCC by itself puts words there that are needed next, and takes a third longer; with more than one
  /// the way through memory, longer than one through registers, becomes what the rounds wait for.
  [[gnu::always_inline]] static inline void putAside(Vector& place, Vector value) {
    place = value;
#ifndef __clang__
    if constexpr (sizeof(Vector) < sizeof(__m512i)) __asm__("" : "+m"(place));
#endif
  }

  template <std::size_t round>
  [[gnu::always_inline]] static inline void mixRound(Vector* v, const Vector* m) {
    constexpr std::size_t s0 = kSchedule[round][0], s1 = kSchedule[round][1], s2 = kSchedule[round][2],
                          s3 = kSchedule[round][3], s4 = kSchedule[round][4], s5 = kSchedule[round][5],
                          s6 = kSchedule[round][6], s7 = kSchedule[round][7], s8 = kSchedule[round][8],
                          s9 = kSchedule[round][9], s10 = kSchedule[round][10], s11 = kSchedule[round][11],
                          s12 = kSchedule[round][12], s13 = kSchedule[round][13], s14 = kSchedule[round][14],
                          s15 = kSchedule[round][15];
    mix<16, 12, 0, 0, 0>(v, m[s0], m[s2], m[s4], m[s6]);
    mix<8, 7, 0, 0, 0>(v, m[s1], m[s3], m[s5], m[s7]);
    mix<16, 12, 1, 2, 3>(v, m[s8], m[s10], m[s12], m[s14]);
    mix<8, 7, 1, 2, 3>(v, m[s9], m[s11], m[s13], m[s15]);
  }

  [[gnu::always_inline]] static inline void compressLanes(Vector* chainingValues, const std::uint8_t* const* blocks,
                                                          Vector counterLow, Vector counterHigh, std::uint32_t flags) {
    using I = InstructionSet;
    Vector m[kMessageWords];
    I::loadBlocks(blocks, m);
    const Vector* const cv = chainingValues;
    Vector v[16] = {cv[0],
                    cv[1],
                    cv[2],
                    cv[3],
                    cv[4],
                    cv[5],
                    cv[6],
                    cv[7],
                    I::broadcast(iv[0]),
                    I::broadcast(iv[1]),
                    I::broadcast(iv[2]),
                    I::broadcast(iv[3]),
                    counterLow,
                    counterHigh,
                    I::broadcast(kBlockSize),
                    I::broadcast(flags)};
    mixRound<0>(v, m);
    mixRound<1>(v, m);
    mixRound<2>(v, m);
    mixRound<3>(v, m);
    mixRound<4>(v, m);
    mixRound<5>(v, m);
    mixRound<6>(v, m);
    for (std::size_t i = 0; i < 8; ++i) chainingValues[i] = I::exclusiveOr(v[i], v[i + 8]);
  }

  [[gnu::always_inline]] static inline void start(Vector* chainingValues) {
    for (std::size_t i = 0; i < kChainingWords; ++i) chainingValues[i] = InstructionSet::broadcast(iv[i]);
  }

  /// Fetches what is `next` bytes further on meanwhile.
  static void chunksSideBySide(Lanes& lanes, std::uint64_t counter, std::size_t next) {
    constexpr std::size_t last = kChunkSize - kBlockSize;
    const Vector counterLow = InstructionSet::counters(counter, false);
    const Vector counterHigh = InstructionSet::counters(counter, true);
    Vector chainingValues[kChainingWords];
    start(chainingValues);
    for (std::size_t at = 0; at < kChunkSize; at += kBlockSize) {
      const std::uint32_t flags = at == 0 ? kChunkStart : at == last ? kChunkEnd : 0U;
      for (std::size_t i = 0; i < kChainingWords; ++i) lanes.unfinished[i] = chainingValues[i];
      compressLanes(chainingValues, lanes.inputs, counterLow, counterHigh, flags);
      for (const std::uint8_t*& input : lanes.inputs) {
        _mm_prefetch(reinterpret_cast<const char*>(input + next), _MM_HINT_T0);
        input += kBlockSize;
      }
    }
    InstructionSet::store(chainingValues, lanes.outputs);
  }

  static void parentsSideBySide(const Lanes& lanes) {
    const Vector zero = InstructionSet::broadcast(0);
    Vector chainingValues[kChainingWords];
    start(chainingValues);
    compressLanes(chainingValues, lanes.inputs, zero, zero, kParent);
    InstructionSet::store(chainingValues, lanes.outputs);
  }
};

}  // namespace
}  // namespace tallyfold::blake3
