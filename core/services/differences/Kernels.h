#pragma once

#include <cstddef>
#include <cstdint>

#include "core/base/KernelTable.h"

namespace tallyfold::differences {

struct Counts {
  std::int64_t bytes = 0;  ///< That differ.
  std::int64_t runs = 0;   ///< That begin: bytes that differ behind one that does not.
};

/// One implementation of the counting of differences.
struct Kernel {
  const char* name;
  ProcessorFeatures features;

  /// Compares `size` bytes of both sequences. The byte before each can be read. No pointer needs an alignment.
  Counts (*count)(const std::byte* a, const std::byte* b, std::size_t size);
};

extern const Kernel kernelPortable;
#ifdef __x86_64__
extern const Kernel kernelAVX2;
#endif

extern KernelTable<Kernel> kernels;

}  // namespace tallyfold::differences
