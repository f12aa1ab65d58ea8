#include "tests/core/Changes.h"

#include "tests/core/Outcome.h"

namespace tallyfold::test {

std::vector<Change> changes() {
  return {{"append", true, ""},        {"truncate", true, ""}, {"rewrite", true, ""},
          {"replace", false, ""},      {"link", false, ""},    {"remove", false, "error: No such file or directory"},
          {"pipe", false, kNotRegular}};
}

}  // namespace tallyfold::test
