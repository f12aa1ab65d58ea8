#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

/// Work on files that take several reads.
struct Work {
  std::string name;
  std::function<std::string(const fs::path& a, const fs::path& b)> outcome;
  std::vector<std::string_view> calls;
  std::size_t opened;  // From this call on all files are open.
};

void PrintTo(const Work& work, std::ostream* stream) { *stream << work.name; }

const Work hashing{
    "Hashing",
    [](const fs::path& a, const fs::path&) { return outcomeOf(a); },
    {"stat", "open", "fstat", "stat", "read", "read", "read", "read", "fstat", "fstat", "stat"},
    3,
};
const Work comparing{
    "Comparing",
    [](const fs::path& a, const fs::path& b) { return outcomeOfComparison(a, b); },
    {"stat", "open", "fstat", "stat", "open", "fstat", "stat",  "stat", "read",  "read",
     "read", "read", "read",  "read", "read", "read",  "fstat", "stat", "fstat", "stat"},
    6,
};

class Fault : public testing::TestWithParam<Work> {
 protected:
  void SetUp() override {
    system.longestRead = 1000;
    expected = outcome();
    ASSERT_FALSE(expected.starts_with("error"));
    ASSERT_EQ(system.names, calls);
  }

  std::string outcome() {
    system.names.clear();
    return GetParam().outcome(a, b);
  }

  TemporaryFolder folder;
  const fs::path a = folder.file("a", period251(3456));
  const fs::path b = folder.file("b", period251(3456));
  const std::vector<std::string_view>& calls = GetParam().calls;
  WatchedSystemCalls system;
  std::string expected;
};

TEST_P(Fault, InterruptedCallsAreRepeated) {
  system.before = [](std::string_view, std::size_t number) { return number % 3 == 0 ? 0 : EINTR; };
  EXPECT_EQ(outcome(), expected);
  EXPECT_EQ(system.names.size(), 3 * calls.size());
}

TEST_P(Fault, ErrorOfAnyCallIsTheErrorOfTheWhole) {
  for (std::size_t number = 1; number <= calls.size(); ++number) {
    system.before = [=](std::string_view, std::size_t call) { return call == number ? EIO : 0; };
    // Once the files are open, a path that cannot be looked at any more is a change of the file.
    const bool isLaterStat = calls[number - 1] == "stat" && number > GetParam().opened;
    EXPECT_EQ(outcome(), isLaterStat ? kChanged : "error: Input/output error") << "call " << number;
    EXPECT_EQ(system.names.size(), number) << "It went on after the error";
    EXPECT_EQ(system.stillOpen, 0) << "call " << number;
  }
}

TEST_P(Fault, FileShorterThanRecordedFails) {
  for (std::size_t number = 1; number <= calls.size(); ++number) {
    if (calls[number - 1] != "read") continue;
    system.before = [=, this](std::string_view, std::size_t call) {
      system.longestRead = call == number ? 0 : 1000;
      return 0;
    };
    EXPECT_EQ(outcome(), kChanged) << "nothing came of call " << number;
    EXPECT_EQ(system.names.size(), number);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, Fault, testing::Values(hashing, comparing),
                         [](const auto& test) { return test.param.name; });

}  // namespace

}  // namespace tallyfold::test
