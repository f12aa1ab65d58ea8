#pragma once

#include <fstream>
#include <malloc.h>
#include <string>

namespace tallyfold::test {

/// The most memory that was resident since the start of the process or the last reset, in MiB.
inline double peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double kibibytes = 0;
    if (word == "VmHWM:" && status >> kibibytes) return kibibytes / 1024;
  }
  return 0;
}

/// Forgets the peak, and gives back what the allocator holds in reserve, which belongs to what was before.
inline void resetPeakMemory() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
  std::ofstream("/proc/self/clear_refs") << 5;
}

}  // namespace tallyfold::test
