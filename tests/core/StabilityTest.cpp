// A file is changed by another process right before the k-th system call of hashing it, for every k. Whatever happens,
// the outcome is the digest of exactly the old content, or of exactly the new one, or an error: never of a mixture.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "tests/core/OtherProcess.h"
#include "tests/core/Outcome.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

namespace fs = std::filesystem;
using test::outcomeOf;
using testing::ElementsAre;

struct Change {
  std::string verb;
  /// Whether the file stays the same file, with other content.
  bool isInPlace;
  /// What hashing gives after the change: an error, or "" for the digest of the new content.
  std::string outcomeAfter;

  friend void PrintTo(const Change& change, std::ostream* stream) { *stream << change.verb; }
};

/// The system's own times: it must not depend on what is being tested when they differ.
std::pair<time_t, long> changeTimeOf(const fs::path& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw std::runtime_error("cannot look at " + path.string());
  return {status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

class Stability : public testing::TestWithParam<Change> {
 protected:
  /// A new file, old enough for its next change to be seen. The system stamps changes with a clock that on many kernels
  /// ticks only every few milliseconds: a change in place within the tick of the one before has the same time, and no
  /// program can tell. Waits until the clock has moved on.
  fs::path settledFile(const test::TemporaryFolder& folder) {
    fs::path file = folder.file("file", content);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (changeTimeOf(folder.file("probe", "x")) <= changeTimeOf(file)) {
      if (std::chrono::steady_clock::now() > limit) throw std::runtime_error("the clock stands still");
    }
    return file;
  }

  const std::string content = test::period251(10'000);
  test::OtherProcess other;
};

TEST_P(Stability, NeverTheDigestOfAMixture) {
  const Change& change = GetParam();
  std::string before;
  std::string after;
  std::vector<std::string_view> calls;
  {
    const test::TemporaryFolder folder;
    const fs::path file = settledFile(folder);
    test::WatchedSystemCalls system;
    system.longestRead = 1000;
    before = outcomeOf(file);
    calls = system.names;
    other.change(change.verb, file);
    after = outcomeOf(file);
    ASSERT_NE(before, after);
    ASSERT_TRUE(change.outcomeAfter.empty() || after == change.outcomeAfter) << after;
  }
  ASSERT_EQ(std::ranges::count(calls, "read"), 10);
  ASSERT_THAT(std::span(calls).first(4), ElementsAre("stat", "open", "fstat", "stat"));
  ASSERT_EQ(calls.back(), "stat");
  const bool becomesOtherFile = !change.isInPlace && change.outcomeAfter.empty();

  for (std::size_t moment = 1; moment <= calls.size(); ++moment) {
    std::string expected = test::kChanged;
    if (moment == 1) expected = after;
    if (moment == 2 && !becomesOtherFile) expected = after;
    if (moment == 3 && change.isInPlace) expected = after;
    if (moment == calls.size() && change.isInPlace) expected = before;

    const test::TemporaryFolder folder;
    const fs::path file = settledFile(folder);
    test::WatchedSystemCalls system;
    system.longestRead = 1000;
    bool changed = false;
    system.before = [&](std::string_view, std::size_t number) {
      if (number == moment) {
        other.change(change.verb, file);
        changed = true;
      }
      return 0;
    };
    EXPECT_EQ(outcomeOf(file), expected) << "changed before call " << moment << ", a " << calls[moment - 1];
    EXPECT_TRUE(changed) << moment;
    EXPECT_EQ(system.stillOpen, 0) << moment;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryMoment, Stability,
                         testing::Values(Change{"append", true, ""}, Change{"truncate", true, ""},
                                         Change{"rewrite", true, ""}, Change{"replace", false, ""},
                                         Change{"link", false, ""},
                                         Change{"remove", false, "error: No such file or directory"},
                                         Change{"pipe", false, test::kNotRegular}),
                         [](const auto& test) { return test.param.verb; });

}  // namespace
}  // namespace tallyfold
