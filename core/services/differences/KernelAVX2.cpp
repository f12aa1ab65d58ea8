#include "core/services/differences/VectorKernel.h"

// Calls nothing of external linkage, because this is compiled for processors that not everyone has.

namespace tallyfold::differences {

const Kernel kernelAVX2{"AVX2", kAVX2, VectorKernel<32>::count};

}  // namespace tallyfold::differences
