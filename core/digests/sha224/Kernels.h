#pragma once

#include <cstddef>
#include <cstdint>

#include "core/base/KernelTable.h"

namespace tallyfold::sha224 {

inline constexpr std::size_t kBlockSize = 64;

/// One implementation of the compression function that SHA-224 and SHA-256 share (FIPS 180-4, section 6.2.2).
struct Kernel {
  const char* name;
  ProcessorFeatures features;

  /// Takes `count` blocks into the eight words of `state`. No pointer needs an alignment.
  void (*compress)(std::uint32_t* state, const std::byte* blocks, std::size_t count);
};

extern const Kernel kernelPortable;
#ifdef __x86_64__
extern const Kernel kernelSHA;
#elif defined(__AARCH64EL__)
extern const Kernel kernelSHA2;
#endif

extern KernelTable<Kernel> kernels;

}  // namespace tallyfold::sha224
