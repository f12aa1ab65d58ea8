#pragma once

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace tallyfold::test {

/// The seed of this run's random tests, printed so that a failure can be repeated: the environment variable
/// TALLYFOLD_TEST_SEED when it is set, otherwise a new one for every process.
inline unsigned seedOfThisRun() {
  static const unsigned seed = [] {
    const char* const wanted = std::getenv("TALLYFOLD_TEST_SEED");
    const unsigned value =
        wanted != nullptr ? static_cast<unsigned>(std::stoul(wanted)) : static_cast<unsigned>(std::random_device()());
    std::cout << "TALLYFOLD_TEST_SEED=" << value << std::endl;
    return value;
  }();
  return seed;
}

/// How often a test of random rounds goes round: `few`, which keeps the whole suite short, times the environment
/// variable TALLYFOLD_ROUNDS when that is set. A tenth of it under ThreadSanitizer, which is ten times slower.
inline int roundsOfThisRun(int few) {
  const char* const factor = std::getenv("TALLYFOLD_ROUNDS");
#ifdef __SANITIZE_THREAD__
  few = std::max(few / 10, 1);
#endif
  return factor != nullptr ? few * std::stoi(factor) : few;
}

}  // namespace tallyfold::test
