#pragma once

#include <cstddef>
#include <cstdint>

#include "core/base/KernelTable.h"

namespace tallyfold::blake3 {

/// One implementation of the compressions that BLAKE3 is made of. A chaining value is 8 words in the processor's byte
/// order. No pointer needs an alignment.
struct Kernel {
  const char* name;
  ProcessorFeatures features;

  /// One compression of 16 message words. `output`, 8 words, may be `chainingValue`.
  void (*compress)(const std::uint32_t* chainingValue, const std::uint32_t* message, std::uint64_t counter,
                   std::uint32_t blockLength, std::uint32_t flags, std::uint32_t* output);

  /// Takes `count` full blocks into `chainingValue`, one after another, all with the same flags.
  void (*absorb)(std::uint32_t* chainingValue, const std::uint8_t* blocks, std::size_t count, std::uint64_t counter,
                 std::uint32_t flags);

  /// The chaining values of `count` complete chunks, none of them the root. The first has the number `counter`.
  /// `unfinished`, unless it is null, receives that of the last chunk before its last block.
  void (*chunks)(const std::uint8_t* input, std::size_t count, std::uint64_t counter, std::uint32_t* output,
                 std::uint32_t* unfinished);

  /// The chaining values of `count` parents, none of them the root, from those of their 2 * `count` children.
  /// `output` does not overlap `children`.
  void (*parents)(const std::uint32_t* children, std::size_t count, std::uint32_t* output);
};

extern const Kernel kernelPortable;
#ifdef __x86_64__
extern const Kernel kernelSSE41;
extern const Kernel kernelAVX2;
extern const Kernel kernelAVX512;
#elif defined(__AARCH64EL__)
extern const Kernel kernelNEON;
#endif

extern KernelTable<Kernel> kernels;

}  // namespace tallyfold::blake3
