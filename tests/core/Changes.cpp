#include "tests/core/Changes.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>

#include "tests/core/Outcome.h"

namespace tallyfold::test {

namespace fs = std::filesystem;

namespace {

/// The system's own times: it must not depend on what is being tested when they differ.
std::pair<time_t, long> changeTimeOf(const fs::path& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw std::runtime_error("cannot look at " + path.string());
  return {status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

}  // namespace

std::vector<Change> changes() {
  return {{"append", true, ""},        {"truncate", true, ""}, {"rewrite", true, ""},
          {"replace", false, ""},      {"link", false, ""},    {"remove", false, "error: No such file or directory"},
          {"pipe", false, kNotRegular}};
}

void settle(const TemporaryFolder& folder, const std::vector<fs::path>& files) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  const auto isAsOldAsTheClock = [&](const fs::path& file) {
    return changeTimeOf(folder.file("probe", "x")) <= changeTimeOf(file);
  };
  while (std::ranges::any_of(files, isAsOldAsTheClock)) {
    if (std::chrono::steady_clock::now() > limit) throw std::runtime_error("the clock stands still");
  }
}

}  // namespace tallyfold::test
