#include "tests/support/Seed.h"

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

}  // namespace tallyfold::test
