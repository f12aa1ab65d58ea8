// A file is changed by another process right before the k-th system call of hashing it, or of comparing it with
// another, for every k. Whatever happens, the outcome is that of exactly the old content, or of exactly the new one, or
// an error: never of a mixture.

#include "tests/core/Changes.h"
#include "tests/core/CoreTest.h"
#include "tests/core/OtherProcess.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

struct Operation {
  std::string name;
  std::function<std::string(const fs::path& folder)> work;  // On the files "a" and "b" in this folder.
  std::string contentOfB;
  std::string changed;   // The one that changes.
  int reads;             // That the work takes.
  std::size_t look;      // The call that looks at this file first; the next opens it, and the one after looks again.
  std::size_t lastLook;  // The call that looks at it for the last time, counted from the last one.
};

class Stability : public testing::TestWithParam<Change> {
 protected:
  struct Run {
    std::string outcome;
    std::vector<std::string_view> calls;
  };

  /// Works on new files, of which one is changed right before a call; before all calls when there is no such call.
  Run run(const Operation& operation, std::size_t moment) {
    const TemporaryFolder folder;
    const std::vector<fs::path> files{folder.file("a", content), folder.file("b", operation.contentOfB)};
    const auto change = [&] { other.change(GetParam().verb, folder.path() / operation.changed); };
    if (moment == 0) change();
    WatchedSystemCalls system;
    system.longestRead = 4000;
    bool happened = moment == 0 || moment == never;
    system.before = [&](std::string_view, std::size_t number) {
      if (number == moment) {
        change();
        happened = true;
      }
      return 0;
    };
    Run run{operation.work(folder.path()), system.names};
    EXPECT_TRUE(happened) << moment;
    EXPECT_EQ(system.stillOpen, 0) << moment;
    return run;
  }

  static constexpr std::size_t never = 1000;
  const std::string content = period251(10'000);
  OtherProcess other;
};

TEST_P(Stability, NeverTheOutcomeOfAMixture) {
  const Change& change = GetParam();
  const bool becomesOtherFile = !change.isInPlace && change.outcomeAfter.empty();
  const auto hash = [](const fs::path& folder) { return outcomeOf(folder / "a"); };
  const auto compare = [](const fs::path& folder) { return outcomeOfComparison(folder / "a", folder / "b"); };
  std::string differentAtTheEnd = content;
  differentAtTheEnd.back() = '\xFF';
  std::vector<Operation> operations{{"hashed", hash, "", "a", 3, 1, 0}};
  for (const std::string& b : {content, differentAtTheEnd, content + "more"}) {
    const int reads = b.size() == content.size() ? 6 : 0;
    operations.push_back({"compared", compare, b, "a", reads, 1, 2});
    operations.push_back({"compared", compare, b, "b", reads, 4, 0});
  }

  for (const Operation& operation : operations) {
    const auto [before, calls] = run(operation, never);
    const std::string after = run(operation, 0).outcome;
    ASSERT_TRUE(change.outcomeAfter.empty() || after == change.outcomeAfter) << after;
    ASSERT_EQ(std::ranges::count(calls, "read"), operation.reads);
    ASSERT_EQ(calls[operation.look], "open");
    ASSERT_EQ(calls.back(), "stat");
    const std::size_t look = operation.look;
    const std::size_t lastLook = calls.size() - operation.lastLook;

    for (std::size_t moment = 1; moment <= calls.size(); ++moment) {
      std::string expected = kChanged;
      if (moment <= look) expected = after;
      if (moment == look + 1 && !becomesOtherFile) expected = after;
      if (moment == look + 2 && change.isInPlace) expected = after;
      if (moment == lastLook && change.isInPlace) expected = before;
      if (moment > lastLook) expected = before;
      EXPECT_EQ(run(operation, moment).outcome, expected)
          << operation.name << ", " << operation.changed << " changed before call " << moment << ", a "
          << calls[moment - 1] << ", when the outcome was " << before;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryMoment, Stability, testing::ValuesIn(changes()),
                         [](const auto& test) { return test.param.verb; });

}  // namespace

}  // namespace tallyfold::test
