#include "core/digests/crc32/Kernels.h"

#include <array>

namespace tallyfold::crc32 {

namespace {

constexpr std::array rows{
    &kernelPortable,  &kernelSlicing,
#ifdef __x86_64__
    &kernelPCLMULQDQ, &kernelVPCLMULQDQ, &kernelAVX512,
#elif defined(__AARCH64EL__)
    &kernelCRC32,     &kernelPMULL,
#endif
};

}  // namespace

constinit KernelTable<Kernel> kernels(rows);

}  // namespace tallyfold::crc32
