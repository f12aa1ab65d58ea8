#pragma once

#include <cstddef>
#include <cstdint>

#include "core/digests/crc32/Constants.h"
#include "core/digests/crc32/Kernels.h"

// CRC-32 by carry-less multiplication: Gopal, Ozturk, Guilford and others, "Fast CRC Computation for Generic
// Polynomials Using PCLMULQDQ Instruction", Intel, 2009. For the sources of the kernels alone; everything here has
// internal linkage and calls nothing that has not, because those sources are compiled for processors that not everyone
// has.

namespace tallyfold::crc32 {
namespace {

/// x^`exponent` modulo the polynomial, as a factor of a reflected carry-less multiplication, whose product comes out
/// one bit too far to the right.
constexpr std::uint64_t power(unsigned exponent) {
  std::uint32_t value = 0x80000000;
  for (; exponent > 0; --exponent) value = timesX(value);
  return std::uint64_t{value} << 1;
}

/// The factors that move the two halves of 128 bits past `bits` more bits of input.
struct Factors {
  std::uint64_t low;
  std::uint64_t high;
};

template <unsigned bits>
constexpr Factors kFactors{power(bits + 32), power(bits - 32)};

/// What one instruction set offers. `Vector` holds `size` bytes of input:
///
///     struct InstructionSet {
///       using Vector = ...;
///       static Vector load(const std::byte*), exclusiveOr(Vector, Vector);
///       static Vector first(std::uint32_t);  // In the first four bytes, with zeros behind.
///       template <unsigned bits> static Vector fold(Vector);  // Moves every 16 bytes of it by kFactors<bits>.
///       static void foldTo128(Vector, std::byte* result);  // All of it into its last 16 bytes.
///     };
///
/// `registers` vectors are folded independently of each other, so that none waits for a multiplication. `rest` takes
/// what is too short for them, and the 16 bytes that they become.
template <typename InstructionSet, std::size_t registers, const Kernel& rest>
class FoldingKernel {
 public:
  static std::uint32_t update(std::uint32_t state, const std::byte* bytes, std::size_t size) {
    if (size < step) return rest.update(state, bytes, size);
    Vector v[registers];
    for (std::size_t i = 0; i < registers; ++i) v[i] = InstructionSet::load(bytes + i * sizeof(Vector));
    v[0] = InstructionSet::exclusiveOr(v[0], InstructionSet::first(state));
    bytes += step;
    size -= step;
    for (; size >= step; bytes += step, size -= step) {
      for (std::size_t i = 0; i < registers; ++i) {
        v[i] = next<step>(v[i], InstructionSet::load(bytes + i * sizeof(Vector)));
      }
    }
    Vector last = v[0];
    for (std::size_t i = 1; i < registers; ++i) last = next<sizeof(Vector)>(last, v[i]);
    for (; size >= sizeof(Vector); bytes += sizeof(Vector), size -= sizeof(Vector)) {
      last = next<sizeof(Vector)>(last, InstructionSet::load(bytes));
    }
    // These sixteen bytes have the same remainder as everything so far.
    std::byte remainder[16];
    InstructionSet::foldTo128(last, remainder);
    return rest.update(rest.update(0, remainder, sizeof remainder), bytes, size);
  }

 private:
  using Vector = typename InstructionSet::Vector;
  static constexpr std::size_t step = registers * sizeof(Vector);

  template <std::size_t distance>
  [[gnu::always_inline]] static inline Vector next(Vector sum, Vector input) {
    return InstructionSet::exclusiveOr(InstructionSet::template fold<8 * distance>(sum), input);
  }
};

}  // namespace
}  // namespace tallyfold::crc32
