// One of two files is changed by another process right before the k-th system call of comparing them, for every k.
// Whatever happens, the outcome is that of exactly the old content, or of exactly the new one, or an error.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "tests/core/Changes.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/OtherProcess.h"
#include "tests/core/Outcome.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

namespace fs = std::filesystem;
using test::outcomeOfComparison;

class ComparisonStability : public testing::TestWithParam<test::Change> {
 protected:
  struct Comparison {
    std::string outcome;
    std::vector<std::string_view> calls;
  };

  /// Compares two new files, and changes one of them right before a call; before all calls when there is no such call.
  Comparison compare(const std::string& contentOfB, const std::string& changed, std::size_t moment) {
    const test::TemporaryFolder folder;
    const fs::path a = folder.file("a", contentOfA);
    const fs::path b = folder.file("b", contentOfB);
    const auto change = [&] { other.change(GetParam().verb, folder.path() / changed); };
    if (moment == 0) change();
    test::WatchedSystemCalls system;
    system.longestRead = 4000;
    bool happened = moment == 0 || moment == never;
    system.before = [&](std::string_view, std::size_t number) {
      if (number == moment) {
        change();
        happened = true;
      }
      return 0;
    };
    Comparison comparison{outcomeOfComparison(a, b), system.names};
    EXPECT_TRUE(happened) << moment;
    EXPECT_EQ(system.stillOpen, 0) << moment;
    return comparison;
  }

  static constexpr std::size_t never = 1000;
  const std::string contentOfA = test::period251(10'000);
  test::OtherProcess other;
};

TEST_P(ComparisonStability, NeverTheOutcomeOfAMixture) {
  const test::Change& change = GetParam();
  const bool becomesOtherFile = !change.isInPlace && change.outcomeAfter.empty();
  std::string differentAtTheEnd = contentOfA;
  differentAtTheEnd.back() = '\xFF';

  for (const std::string& contentOfB : {contentOfA, differentAtTheEnd, contentOfA + "more"}) {
    for (const std::string changed : {"a", "b"}) {
      const auto [before, calls] = compare(contentOfB, changed, never);
      const std::string after = compare(contentOfB, changed, 0).outcome;
      ASSERT_TRUE(change.outcomeAfter.empty() || after == change.outcomeAfter) << after;
      ASSERT_EQ(std::ranges::count(calls, "stat"), 6);
      ASSERT_EQ(std::ranges::count(calls, "read"), contentOfB.size() == contentOfA.size() ? 6 : 0);
      // When the file that changes is looked at, opened, looked at again, and looked at twice for the last time.
      const std::size_t look = changed == "a" ? 1 : 4;
      const std::size_t lastLook = changed == "a" ? calls.size() - 2 : calls.size();

      for (std::size_t moment = 1; moment <= calls.size(); ++moment) {
        std::string expected = test::kChanged;
        if (moment <= look) expected = after;
        if (moment == look + 1 && !becomesOtherFile) expected = after;
        if (moment == look + 2 && change.isInPlace) expected = after;
        if (moment == lastLook && change.isInPlace) expected = before;
        if (moment > lastLook) expected = before;
        EXPECT_EQ(compare(contentOfB, changed, moment).outcome, expected)
            << changed << " changed before call " << moment << ", a " << calls[moment - 1] << ", when they were "
            << before;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryMoment, ComparisonStability, testing::ValuesIn(test::changes()),
                         [](const auto& test) { return test.param.verb; });

}  // namespace
}  // namespace tallyfold
