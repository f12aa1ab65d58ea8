#include "app/tasks/FreeMemory.h"

#include <cstdlib>
#include <mutex>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace tallyfold {

void returnFreeMemory() {
#ifdef __GLIBC__
  // Where a sanitizer allocates in its place, the first call sets it up, which two threads must not do at once.
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  malloc_trim(0);
#endif
}

}  // namespace tallyfold
