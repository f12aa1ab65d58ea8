#pragma once

#include "core/blake3/Lanes.h"
#include "core/blake3/SingleMessage.h"

namespace tallyfold::blake3 {
namespace {

/// The functions of a kernel, made of lanes of the widths that it chooses from:
///
///     struct Widths {
///       // Compresses at least two messages of `count`, which is at least two, and returns how many.
///       template <typename Kind>
///       static std::size_t compress(const std::uint8_t* first, std::uint64_t counter, std::size_t count,
///                                   std::size_t next, std::uint32_t* output, std::uint32_t* unfinished);
///       static constexpr std::size_t most;
///     };
///
/// A message that is left over alone is quicker in ordinary registers, where no instruction waits for more than a
/// cycle.
template <typename Widths>
struct VectorKernel {
  static void chunks(const std::uint8_t* input, std::size_t count, std::uint64_t counter, std::uint32_t* output,
                     std::uint32_t* unfinished) {
    while (count > 1) {
      const std::size_t next = count < 2 * Widths::most ? 0 : Widths::most * kChunkSize;
      std::uint32_t* const last = count <= Widths::most ? unfinished : nullptr;
      const std::size_t done = Widths::template compress<Chunks>(input, counter, count, next, output, last);
      input += done * kChunkSize;
      counter += done;
      output += done * kChainingWords;
      count -= done;
    }
    if (count == 1) single::chunks(input, 1, counter, output, unfinished);
  }

  static void parents(const std::uint32_t* children, std::size_t count, std::uint32_t* output) {
    while (count > 1) {
      const auto* const first = reinterpret_cast<const std::uint8_t*>(children);
      const std::size_t done = Widths::template compress<Parents>(first, 0, count, 0, output, nullptr);
      children += done * kMessageWords;
      output += done * kChainingWords;
      count -= done;
    }
    if (count == 1) single::parents(children, 1, output);
  }
};

}  // namespace
}  // namespace tallyfold::blake3
