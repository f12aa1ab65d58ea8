#include "core/services/differences/VectorKernel.h"

namespace tallyfold::differences {

const Kernel kernelPortable{"portable", 0, VectorKernel<16>::count};

}  // namespace tallyfold::differences
