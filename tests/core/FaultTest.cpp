#include <cerrno>
#include <gtest/gtest.h>
#include <string>

#include "tests/core/Outcome.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

using test::outcomeOf;

/// A file that takes several reads, and the calls that hashing it takes.
class Fault : public testing::Test {
 protected:
  void SetUp() override {
    system.longestRead = 1000;
    digest = outcomeOf(file);
    ASSERT_EQ(digest.size(), 64U);
    names = std::exchange(system.names, {});
    ASSERT_EQ(names, (std::vector<std::string_view>{"stat", "open", "fstat", "stat", "read", "read", "read", "read",
                                                    "fstat", "fstat", "stat"}));
  }

  std::string outcomeWithError(std::size_t number, int error) {
    system.names.clear();
    system.before = [=](std::string_view, std::size_t call) { return call == number ? error : 0; };
    return outcomeOf(file);
  }

  test::TemporaryFolder folder;
  const std::filesystem::path file = folder.file("file", test::period251(3456));
  test::WatchedSystemCalls system;
  std::string digest;
  std::vector<std::string_view> names;
};

TEST_F(Fault, InterruptedCallsAreRepeated) {
  system.before = [](std::string_view, std::size_t number) { return number % 3 == 0 ? 0 : EINTR; };
  EXPECT_EQ(outcomeOf(file), digest);
  EXPECT_EQ(system.names.size(), 3 * names.size());
}

TEST_F(Fault, ErrorOfAnyCallIsTheErrorOfTheWhole) {
  for (std::size_t number = 1; number <= names.size(); ++number) {
    // Once the file is open, a path that cannot be looked at any more is a change of the file.
    const bool isLaterStat = names[number - 1] == "stat" && number > 1;
    EXPECT_EQ(outcomeWithError(number, EIO), isLaterStat ? test::kChanged : "error: Input/output error")
        << names[number - 1] << ", call " << number;
    EXPECT_EQ(system.names.size(), number) << "It went on after the error";
    EXPECT_EQ(system.stillOpen, 0) << "call " << number;
  }
}

TEST_F(Fault, OpenThatGivesNoReasonIsAnInvalidArgument) {
  struct : test::WatchedSystemCalls {
    int open(const char*, int, mode_t) override { return -1; }
  } silent;
  EXPECT_EQ(outcomeOf(file), "error: Invalid argument");
}

TEST_F(Fault, FileShorterThanRecordedFails) {
  system.before = [this](std::string_view name, std::size_t number) {
    if (name == "read" && number == 7) system.longestRead = 0;
    return 0;
  };
  EXPECT_EQ(outcomeOf(file), test::kChanged);
  EXPECT_EQ(system.names.size(), 7U);
}

TEST_F(Fault, ItemThatBecomesAnotherKindBetweenLookAndOpenFails) {
  struct : test::WatchedSystemCalls {
    int open(const char*, int flags, mode_t mode) override { return SystemCalls::open("/dev/null", flags, mode); }
  } swapped;
  EXPECT_EQ(outcomeOf(file), test::kNotRegular);
}

}  // namespace
}  // namespace tallyfold
