#include "core/digests/sha224/Kernels.h"

#include <array>

namespace tallyfold::sha224 {

namespace {

constexpr std::array rows{
    &kernelPortable,
#ifdef __x86_64__
    &kernelSHA,
#elif defined(__AARCH64EL__)
    &kernelSHA2,
#endif
};

}  // namespace

constinit KernelTable<Kernel> kernels(rows);

}  // namespace tallyfold::sha224
