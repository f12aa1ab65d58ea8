#include "tests/support/Seed.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace tallyfold::test {

unsigned seedOfThisRun() {
  static const unsigned seed = [] {
    const char* const wanted = std::getenv("TALLYFOLD_TEST_SEED");
    const unsigned value =
        wanted != nullptr ? static_cast<unsigned>(std::stoul(wanted)) : static_cast<unsigned>(std::random_device()());
    std::cout << "TALLYFOLD_TEST_SEED=" << value << std::endl;
    return value;
  }();
  return seed;
}

int roundsOfThisRun(int few) {
  const char* const factor = std::getenv("TALLYFOLD_ROUNDS");
#ifdef __SANITIZE_THREAD__
  few = std::max(few / 10, 1);
#endif
  return factor != nullptr ? few * std::stoi(factor) : few;
}

}  // namespace tallyfold::test
