#include "app/tasks/FreeMemory.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace tallyfold {

void returnFreeMemory() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace tallyfold
