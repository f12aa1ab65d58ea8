#include "core/blake3/Kernels.h"

#include <array>

namespace tallyfold::blake3 {

namespace {

constexpr std::array rows{
    &kernelPortable,
#ifdef __x86_64__
    &kernelSSE41,
    &kernelAVX2,
    &kernelAVX512,
#elif defined(__AARCH64EL__)
    &kernelNEON,
#endif
};

}  // namespace

constinit KernelTable<Kernel> kernels(rows);

}  // namespace tallyfold::blake3
