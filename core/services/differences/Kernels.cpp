#include "core/services/differences/Kernels.h"

#include <array>

namespace tallyfold::differences {

namespace {

constexpr std::array rows{
    &kernelPortable,
#ifdef __x86_64__
    &kernelAVX2,
#endif
};

}  // namespace

constinit KernelTable<Kernel> kernels(rows);

}  // namespace tallyfold::differences
