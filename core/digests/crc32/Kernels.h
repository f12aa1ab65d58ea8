#pragma once

#include <cstddef>
#include <cstdint>

#include "core/base/KernelTable.h"

namespace tallyfold::crc32 {

/// One implementation of the CRC-32 register's progress.
struct Kernel {
  const char* name;
  ProcessorFeatures features;

  /// The register after `size` more bytes. `bytes` needs no alignment.
  std::uint32_t (*update)(std::uint32_t state, const std::byte* bytes, std::size_t size);
};

extern const Kernel kernelPortable;
extern const Kernel kernelSlicing;
#ifdef __x86_64__
extern const Kernel kernelPCLMULQDQ;
extern const Kernel kernelVPCLMULQDQ;
extern const Kernel kernelAVX512;
#elif defined(__AARCH64EL__)
extern const Kernel kernelCRC32;
extern const Kernel kernelPMULL;
#endif

extern KernelTable<Kernel> kernels;

}  // namespace tallyfold::crc32
