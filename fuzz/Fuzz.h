#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace tallyfold::fuzz {

/// Ends the process, which the fuzzer keeps the input of, unless `holds`.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
  std::abort();
}

}  // namespace tallyfold::fuzz
