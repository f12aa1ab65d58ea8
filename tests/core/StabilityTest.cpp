// A file is changed by another process right before the k-th system call of hashing it, for every k. Whatever happens,
// the outcome is the digest of exactly the old content, or of exactly the new one, or an error: never of a mixture.

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/core/Changes.h"
#include "tests/core/OtherProcess.h"
#include "tests/core/Outcome.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

namespace fs = std::filesystem;
using test::outcomeOf;
using testing::ElementsAre;

class Stability : public testing::TestWithParam<test::Change> {
 protected:
  const std::string content = test::period251(10'000);
  test::OtherProcess other;
};

TEST_P(Stability, NeverTheDigestOfAMixture) {
  const test::Change& change = GetParam();
  std::string before;
  std::string after;
  std::vector<std::string_view> calls;
  {
    const test::TemporaryFolder folder;
    const fs::path file = folder.file("file", content);
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
    const fs::path file = folder.file("file", content);
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

INSTANTIATE_TEST_SUITE_P(EveryMoment, Stability, testing::ValuesIn(test::changes()),
                         [](const auto& test) { return test.param.verb; });

}  // namespace
}  // namespace tallyfold
