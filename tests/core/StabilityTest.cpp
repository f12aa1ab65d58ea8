// A file is changed by another process right before the k-th system call of hashing it, for every k. Whatever happens,
// the outcome is the digest of exactly the old content, or of exactly the new one, or an error: never of a mixture.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <stdexcept>
#include <string>
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
using testing::AnyOf;

struct Change {
  const char* verb;
  /// What the outcome is when the file was changed before anyone looked: an error, or "" for the digest of the new
  /// content.
  const char* outcomeWhenFirst;

  friend void PrintTo(const Change& change, std::ostream* stream) { *stream << change.verb; }
};

std::pair<std::int64_t, std::int64_t> changeTimeOf(const fs::path& path) {
  const FileSnapshot snapshot = snapshotOfPath(path);
  return {snapshot.changedSeconds, snapshot.changedNanoseconds};
}

class Stability : public testing::TestWithParam<Change> {
 protected:
  /// A new file, old enough for its next change to be seen. The system stamps changes with a clock that on many kernels
  /// ticks only every few milliseconds: a change in place within the tick of the one before has the same time, and no
  /// program can tell. Waits until the clock has moved on.
  fs::path settledFile(const test::TemporaryFolder& folder) {
    const fs::path file = folder.file("file", content);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (changeTimeOf(folder.file("probe", "x")) <= changeTimeOf(file)) {
      if (std::chrono::steady_clock::now() > limit)
        throw std::runtime_error("The clock of the file system stands still");
    }
    return file;
  }

  const std::string content = test::period251(10'000);
  test::OtherProcess other;
};

TEST_P(Stability, NeverTheDigestOfAMixture) {
  const auto& [verb, outcomeWhenFirst] = GetParam();
  std::string oldDigest;
  std::string whenFirst = outcomeWhenFirst;
  std::vector<std::string_view> calls;
  {
    const test::TemporaryFolder folder;
    const fs::path file = settledFile(folder);
    test::WatchedSystemCalls system;
    system.longestRead = 1000;
    oldDigest = outcomeOf(file);
    calls = system.names;
    other.change(verb, file);
    const std::string after = outcomeOf(file);
    if (whenFirst.empty()) whenFirst = after;
    ASSERT_EQ(after, whenFirst);
    ASSERT_NE(after, oldDigest);
  }
  ASSERT_EQ(std::ranges::count(calls, "read"), 10);
  const auto firstRead = static_cast<std::size_t>(std::ranges::find(calls, "read") - calls.begin()) + 1;

  for (std::size_t moment = 1; moment <= calls.size(); ++moment) {
    const test::TemporaryFolder folder;
    const fs::path file = settledFile(folder);
    test::WatchedSystemCalls system;
    system.longestRead = 1000;
    bool changed = false;
    system.before = [&](std::string_view, std::size_t number) {
      if (number == moment) {
        other.change(verb, file);
        changed = true;
      }
      return 0;
    };
    const std::string outcome = outcomeOf(file);
    const std::string when = "changed before call " + std::to_string(moment) + ", a " + std::string(calls[moment - 1]);
    ASSERT_TRUE(changed) << when;
    if (moment == 1) {
      EXPECT_EQ(outcome, whenFirst);
    } else if (moment >= firstRead && moment < calls.size()) {
      EXPECT_EQ(outcome, test::kChanged) << when;
    } else {
      EXPECT_THAT(outcome, AnyOf(oldDigest, whenFirst, test::kChanged)) << when;
    }
    EXPECT_EQ(system.stillOpen, 0) << when;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryMoment, Stability,
                         testing::Values(Change{"append", ""}, Change{"truncate", ""}, Change{"rewrite", ""},
                                         Change{"replace", ""}, Change{"link", ""},
                                         Change{"remove", "error: No such file or directory"},
                                         Change{"pipe", "error: The selected item is not a regular file."}),
                         [](const auto& test) { return std::string(test.param.verb); });

}  // namespace
}  // namespace tallyfold
