#pragma once

#include <cstddef>
#include <cstdint>

#include "core/blake3/Constants.h"
#include "core/blake3/Kernels.h"

// The compressions of many messages side by side, for the sources of the kernels alone. Everything here has internal
// linkage and calls nothing that has not: the linker might else pick a function that one of these sources compiled,
// with instructions that not every processor has, for the rest of the program.

namespace tallyfold::blake3 {
namespace {

/// What the messages of a kind have in common: they lie one behind the other.
struct Chunks {
  static constexpr std::size_t blocks = kChunkSize / kBlockSize;
  static constexpr std::uint32_t flags = 0;
  static constexpr std::uint32_t flagsOfFirstBlock = kChunkStart;
  static constexpr std::uint32_t flagsOfLastBlock = kChunkEnd;
  static constexpr bool areCounted = true;
};
struct Parents {
  static constexpr std::size_t blocks = 1;
  static constexpr std::uint32_t flags = kParent;
  static constexpr std::uint32_t flagsOfFirstBlock = 0;
  static constexpr std::uint32_t flagsOfLastBlock = 0;
  static constexpr bool areCounted = false;
};

/// One register for each word of the state of so many messages, `groups` times: processors that take two cycles for an
/// instruction have time for a second group while the first waits for its own results.
///
///     struct InstructionSet {
///       using Vector = ...;                          // A word of each of `width` messages.
///       static constexpr std::size_t width;
///       static constexpr std::size_t registers;      // That the processor has of these.
///       static Vector broadcast(std::uint32_t), add(Vector, Vector), exclusiveOr(Vector, Vector);
///       template <int bits> static Vector rotate(Vector);  // To the right, every word by itself.
///       // Sixteen words of each message, loaded in eight steps that may stand far apart.
///       template <std::size_t step> static void load(const std::uint8_t* const* blocks, Vector* words);
///       static void store(const Vector* words, std::uint32_t* const* outputs);  // Eight words for each message.
///     };
template <typename InstructionSet, std::size_t groups>
class Lanes {
 public:
  static constexpr std::size_t width = groups * InstructionSet::width;

  /// Chaining values of the first `count` messages of a `Kind`, `width` at most; returns how many. `unfinished`, unless
  /// it is null, receives that of the last of them before its last block. Fetches what is `next` bytes further on
  /// meanwhile.
  template <typename Kind>
  [[gnu::noinline]] static std::size_t compress(const std::uint8_t* first, std::uint64_t counter, std::size_t count,
                                                std::size_t next, std::uint32_t* output, std::uint32_t* unfinished) {
    if (count > width) count = width;
    // Lanes that are left over read the last message again, and nobody wants what they write.
    const std::uint8_t* blocks[width];
    std::uint32_t* outputs[width];
    std::uint32_t unused[kChainingWords];
    for (std::size_t i = 0; i < width; ++i) {
      blocks[i] = first;
      outputs[i] = i < count ? output + i * kChainingWords : unused;
      if (i + 1 < count) first += Kind::blocks * kBlockSize;
    }

    Vector counters[groups][2];
    for (std::size_t g = 0; g < groups; ++g) {
      setCounters(Kind::areCounted ? counter + g * InstructionSet::width : 0, Kind::areCounted, counters[g]);
    }
    Vector chainingValues[groups][kChainingWords];
    for (Vector(&group)[kChainingWords] : chainingValues) {
      for (std::size_t i = 0; i < kChainingWords; ++i) group[i] = InstructionSet::broadcast(iv[i]);
    }
    constexpr std::size_t buffers = loadsAhead ? 2 : 1;
    Words words[buffers];
    std::size_t total = Kind::blocks;
    // GCC schedules several groups worse where it knows that there is one block.
    if constexpr (groups > 1) __asm__("" : "+r"(total), "+r"(next));
    for (std::size_t block = 0; block < total; ++block) {
      Words& now = words[block % buffers];
      Words& later = words[(block + 1) % buffers];
      if (!loadsAhead || block == 0) load<0, 1, 2, 3, 4, 5, 6, 7>(blocks, now);
      if (block + 1 < total) {
        for (const std::uint8_t*& place : blocks) {
          // The processor by itself sees too late that each lane leaps over the others' chunks.
          if (next != 0) __builtin_prefetch(place + next);
          place += kBlockSize;
        }
      } else if (unfinished != nullptr) {
        copyLane(chainingValues, count - 1, unfinished);
      }
      std::uint32_t flags = Kind::flags;
      if (block == 0) flags |= Kind::flagsOfFirstBlock;
      if (block + 1 == total) flags |= Kind::flagsOfLastBlock;
      Vector v[groups][16];
      for (std::size_t g = 0; g < groups; ++g) {
        for (std::size_t i = 0; i < kChainingWords; ++i) v[g][i] = chainingValues[g][i];
        for (std::size_t i = 0; i < 4; ++i) v[g][8 + i] = InstructionSet::broadcast(iv[i]);
        v[g][12] = counters[g][0];
        v[g][13] = counters[g][1];
        v[g][14] = InstructionSet::broadcast(kBlockSize);
        v[g][15] = InstructionSet::broadcast(flags);
      }
      mixRound<0>(v, now);
      loadAhead<0, 1>(blocks, later);
      mixRound<1>(v, now);
      loadAhead<2>(blocks, later);
      mixRound<2>(v, now);
      loadAhead<3>(blocks, later);
      mixRound<3>(v, now);
      loadAhead<4>(blocks, later);
      mixRound<4>(v, now);
      loadAhead<5>(blocks, later);
      mixRound<5>(v, now);
      loadAhead<6, 7>(blocks, later);
      mixRound<6>(v, now);
      for (std::size_t g = 0; g < groups; ++g) {
        for (std::size_t i = 0; i < kChainingWords; ++i) {
          chainingValues[g][i] = InstructionSet::exclusiveOr(v[g][i], v[g][i + 8]);
        }
      }
    }
    for (std::size_t g = 0; g < groups; ++g) {
      InstructionSet::store(chainingValues[g], outputs + g * InstructionSet::width);
    }
    return count;
  }

 private:
  using Vector = typename InstructionSet::Vector;
  using Words = Vector[groups][kMessageWords];

  static constexpr std::uint32_t iv[kChainingWords]{kIV[0], kIV[1], kIV[2], kIV[3], kIV[4], kIV[5], kIV[6], kIV[7]};

  /// Whether the words of the next block are put into their places between the rounds, which leave the processor time
  /// for it, but need the registers where these are few.
  static constexpr bool loadsAhead = InstructionSet::registers >= 32;

  /// The lower and the upper words of the counters of a group's messages.
  [[gnu::always_inline]] static inline void setCounters(std::uint64_t first, bool counts, Vector* counters) {
    alignas(sizeof(Vector)) static constexpr std::uint32_t numbers[16]{0, 1, 2,  3,  4,  5,  6,  7,
                                                                       8, 9, 10, 11, 12, 13, 14, 15};
    const auto low = static_cast<std::uint32_t>(first);
    const auto high = static_cast<std::uint32_t>(first >> 32);
    counters[0] = InstructionSet::broadcast(low);
    counters[1] = InstructionSet::broadcast(high);
    if (!counts) return;
    counters[0] = InstructionSet::add(counters[0], *reinterpret_cast<const Vector*>(numbers));
    if (low <= UINT32_MAX - InstructionSet::width) return;
    alignas(sizeof(Vector)) std::uint32_t carries[InstructionSet::width];
    for (std::size_t i = 0; i < InstructionSet::width; ++i) carries[i] = low + i > UINT32_MAX ? 1 : 0;
    counters[1] = InstructionSet::add(counters[1], *reinterpret_cast<const Vector*>(carries));
  }

  /// From a copy: what has an address would be in memory all the time.
  [[gnu::always_inline]] static inline void copyLane(const Vector (&chainingValues)[groups][kChainingWords],
                                                     std::size_t lane, std::uint32_t* words) {
    for (std::size_t g = 0; g < groups; ++g) {
      if (lane / InstructionSet::width != g) continue;
      Vector copy[kChainingWords];
      for (std::size_t i = 0; i < kChainingWords; ++i) copy[i] = chainingValues[g][i];
      const auto* const bytes = reinterpret_cast<const std::uint8_t*>(copy) + 4 * (lane % InstructionSet::width);
      for (std::size_t i = 0; i < kChainingWords; ++i) __builtin_memcpy(words + i, bytes + sizeof(Vector) * i, 4);
    }
  }

  template <std::size_t... steps>
  [[gnu::always_inline]] static inline void load(const std::uint8_t* const* blocks, Words& words) {
    const auto step = [&]<std::size_t number>() __attribute__((always_inline)) {
      for (std::size_t g = 0; g < groups; ++g) {
        InstructionSet::template load<number>(blocks + g * InstructionSet::width, words[g]);
      }
    };
    (step.template operator()<steps>(), ...);
    keepInMemory(words);
  }

  template <std::size_t... steps>
  [[gnu::always_inline]] static inline void loadAhead(const std::uint8_t* const* blocks, Words& words) {
    if constexpr (loadsAhead) load<steps...>(blocks, words);
  }

  /// Has the message words of several groups read where they are needed. GCC else loads them early, into registers that
  /// it then has to save.
  [[gnu::always_inline]] static inline void keepInMemory(const Words& words) {
    if constexpr (groups > 1) __asm__ volatile("" : : "r"(words) : "memory");
  }

  /// Half of the quarter-round "G" for four columns or diagonals, in step, so that none waits for its own result.
  template <int rotationOfD, int rotationOfB, std::size_t j, std::size_t k, std::size_t l>
  [[gnu::always_inline]] static inline void mix(Vector* v, Vector x0, Vector x1, Vector x2, Vector x3) {
    using I = InstructionSet;
    Vector &a0 = v[0], &a1 = v[1], &a2 = v[2], &a3 = v[3];
    Vector &b0 = v[4 + j], &b1 = v[4 + (j + 1) % 4], &b2 = v[4 + (j + 2) % 4], &b3 = v[4 + (j + 3) % 4];
    Vector &c0 = v[8 + k], &c1 = v[8 + (k + 1) % 4], &c2 = v[8 + (k + 2) % 4], &c3 = v[8 + (k + 3) % 4];
    Vector &d0 = v[12 + l], &d1 = v[12 + (l + 1) % 4], &d2 = v[12 + (l + 2) % 4], &d3 = v[12 + (l + 3) % 4];
    a0 = settled(I::add(a0, x0));
    a1 = settled(I::add(a1, x1));
    a2 = settled(I::add(a2, x2));
    a3 = settled(I::add(a3, x3));
    a0 = I::add(a0, b0);
    a1 = I::add(a1, b1);
    a2 = I::add(a2, b2);
    a3 = I::add(a3, b3);
    d0 = I::exclusiveOr(d0, a0);
    d1 = I::exclusiveOr(d1, a1);
    d2 = I::exclusiveOr(d2, a2);
    d3 = I::exclusiveOr(d3, a3);
    d0 = I::template rotate<rotationOfD>(d0);
    d1 = I::template rotate<rotationOfD>(d1);
    d2 = I::template rotate<rotationOfD>(d2);
    d3 = I::template rotate<rotationOfD>(d3);
    c0 = I::add(c0, d0);
    c1 = I::add(c1, d1);
    c2 = I::add(c2, d2);
    c3 = I::add(c3, d3);
    putAside(d1);
    b0 = I::exclusiveOr(b0, c0);
    b1 = I::exclusiveOr(b1, c1);
    b2 = I::exclusiveOr(b2, c2);
    b3 = I::exclusiveOr(b3, c3);
    b0 = I::template rotate<rotationOfB>(b0);
    b1 = I::template rotate<rotationOfB>(b1);
    b2 = I::template rotate<rotationOfB>(b2);
    b3 = I::template rotate<rotationOfB>(b3);
  }

  /// A sum that the compiler takes as it is. GCC else adds last what is ready first, and all wait for it. Where
  /// registers are few, its order is as good.
  [[gnu::always_inline]] static inline Vector settled(Vector sum) {
#if defined(__x86_64__) && !defined(__clang__)
    if constexpr (InstructionSet::registers >= 32) __asm__("" : "+v"(sum));
#endif
    return sum;
  }

  /// Stores what is not needed at once. Where there are sixteen registers, one too few, one word of the state has to be
  /// in memory. GCC by itself puts words there that are needed next, and takes a third longer; with more than one the
  /// way through memory, longer than one through registers, becomes what the rounds wait for.
  [[gnu::always_inline]] static inline void putAside([[maybe_unused]] Vector& value) {
#ifndef __clang__
    if constexpr (InstructionSet::registers < 32 && groups == 1) __asm__("" : "+m"(value));
#endif
  }

  template <std::size_t round>
  [[gnu::always_inline]] static inline void mixRound(Vector (&v)[groups][16], const Words& words) {
    constexpr std::size_t s0 = kSchedule[round][0], s1 = kSchedule[round][1], s2 = kSchedule[round][2],
                          s3 = kSchedule[round][3], s4 = kSchedule[round][4], s5 = kSchedule[round][5],
                          s6 = kSchedule[round][6], s7 = kSchedule[round][7], s8 = kSchedule[round][8],
                          s9 = kSchedule[round][9], s10 = kSchedule[round][10], s11 = kSchedule[round][11],
                          s12 = kSchedule[round][12], s13 = kSchedule[round][13], s14 = kSchedule[round][14],
                          s15 = kSchedule[round][15];
    for (std::size_t g = 0; g < groups; ++g) {
      const Vector* const m = words[g];
      mix<16, 12, 0, 0, 0>(v[g], m[s0], m[s2], m[s4], m[s6]);
      mix<8, 7, 0, 0, 0>(v[g], m[s1], m[s3], m[s5], m[s7]);
      keepInMemory(words);
    }
    for (std::size_t g = 0; g < groups; ++g) {
      const Vector* const m = words[g];
      mix<16, 12, 1, 2, 3>(v[g], m[s8], m[s10], m[s12], m[s14]);
      mix<8, 7, 1, 2, 3>(v[g], m[s9], m[s11], m[s13], m[s15]);
      keepInMemory(words);
    }
  }
};

}  // namespace
}  // namespace tallyfold::blake3
