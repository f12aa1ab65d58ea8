#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

namespace fs = std::filesystem;
using test::outcomeOfComparison;
using testing::ElementsAre;

class CompareFiles : public testing::Test {
 protected:
  /// A file of zero bytes that takes no space.
  [[nodiscard]] fs::path sparseFile(std::string_view name, std::uintmax_t size) const {
    fs::path path = folder.file(name, "");
    fs::resize_file(path, size);
    return path;
  }

  std::string outcomeAndProgress(const fs::path& a, const fs::path& b) {
    std::string text;
    const std::string outcome = outcomeOfComparison(a, b, {}, [&](double done) { text += " " + std::to_string(done); });
    return outcome + ";" + text;
  }

  test::TemporaryFolder folder;
};

void writeByte(const fs::path& file, std::size_t offset, char byte) {
  std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
  stream.seekp(static_cast<std::streamoff>(offset)).put(byte);
  ASSERT_TRUE(stream.flush());
}

TEST_F(CompareFiles, WhatNeedsNoReadingIsNotRead) {
  const fs::path ten = folder.file("ten", "0123456789");
  folder.file("eleven", "0123456789A");
  folder.file("empty", "");
  folder.file("empty too", "");
  fs::create_hard_link(ten, folder.path() / "hard link");
  fs::create_symlink("ten", folder.path() / "link");
  struct {
    std::string a, b, outcome;
  } const pairs[]{
      {"empty", "empty too", "identical; 1.000000"}, {"ten", "ten", "identical; 1.000000"},
      {"ten", "hard link", "identical; 1.000000"},   {"link", "ten", "identical; 1.000000"},
      {"ten", "eleven", "sizes 10, 11; 1.000000"},   {"eleven", "empty", "sizes 11, 0; 1.000000"},
  };
  for (const auto& [a, b, outcome] : pairs) {
    test::WatchedSystemCalls system;
    EXPECT_EQ(outcomeAndProgress(folder.path() / a, folder.path() / b), outcome) << a << ", " << b;
    EXPECT_EQ(std::ranges::count(system.names, "read"), 0) << a << ", " << b;
    EXPECT_EQ(system.stillOpen, 0) << a << ", " << b;
  }
}

TEST_F(CompareFiles, FirstDifferenceIsFoundWhereverItIs) {
  constexpr std::size_t chunk = HashService::chunkSize;
  const std::string content = test::period251(chunk + 200'000);
  const fs::path a = folder.file("a", content);
  const fs::path b = folder.file("b", content);
  EXPECT_EQ(outcomeOfComparison(a, b), "identical");
  for (const std::size_t offset :
       {content.size() - 1, chunk + 131'072, chunk + 131'071, chunk, chunk - 1, std::size_t{131'072},
        std::size_t{131'071}, std::size_t{4096}, std::size_t{4095}, std::size_t{1}, std::size_t{0}}) {
    writeByte(b, offset, static_cast<char>(~content[offset]));
    EXPECT_EQ(outcomeOfComparison(a, b), "differ at " + std::to_string(offset));
    EXPECT_EQ(outcomeOfComparison(b, a), "differ at " + std::to_string(offset));
  }
}

TEST_F(CompareFiles, ProgressIsReportedOncePerChunk) {
  const fs::path a = sparseFile("a", 20 << 20);
  const fs::path b = sparseFile("b", 20 << 20);
  EXPECT_EQ(outcomeAndProgress(a, b), "identical; 0.400000 0.800000 1.000000");
  writeByte(b, (20 << 20) - 1, 'x');
  EXPECT_EQ(outcomeAndProgress(a, b), "differ at 20971519; 0.400000 0.800000");
}

TEST_F(CompareFiles, ProgressOfLargeFilesIsReportedOncePerHundredth) {
  struct : test::WatchedSystemCalls {
    // Zero bytes without the time that it takes to read them.
    ssize_t read(int, void* bytes, std::size_t count) override {
      std::memset(bytes, 0, count);
      return static_cast<ssize_t>(count);
    }
  } system;
  constexpr std::int64_t size = 1000 << 20;  // Ten MiB are a hundredth.
  const fs::path a = sparseFile("a", size);
  std::vector<std::int64_t> reports;
  EXPECT_EQ(outcomeOfComparison(a, sparseFile("b", size), {},
                                [&](double done) { reports.push_back(std::llround(done * 1000)); }),
            "identical");
  ASSERT_GT(reports.size(), 5U);
  EXPECT_LE(reports.size(), 100U);
  EXPECT_THAT(std::vector(reports.begin(), reports.begin() + 5), ElementsAre(16, 24, 32, 40, 56));
  EXPECT_EQ(reports.back(), 1000);
  EXPECT_EQ(std::ranges::adjacent_find(reports, std::greater_equal()), reports.end());
}

TEST_F(CompareFiles, WhatCannotBeReadFailsOnEitherSide) {
  const fs::path good = folder.file("good", "good");
  ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
  for (const auto& [bad, outcome] : std::vector<std::pair<fs::path, std::string>>{
           {folder.path() / "missing", "error: No such file or directory"},
           {folder.path() / "pipe", test::kNotRegular},
           {folder.path(), test::kNotRegular},
           {"/dev/zero", test::kNotRegular},
       }) {
    test::WatchedSystemCalls system;
    EXPECT_EQ(outcomeAndProgress(bad, good), outcome + ";") << bad;
    EXPECT_EQ(outcomeAndProgress(good, bad), outcome + ";") << bad;
    EXPECT_EQ(system.stillOpen, 0) << bad;
  }
}

TEST_F(CompareFiles, CancellationComesFirstAndIsSeenWithinAChunk) {
  std::stop_source stopped;
  stopped.request_stop();
  test::WatchedSystemCalls system;
  EXPECT_EQ(outcomeOfComparison("missing", "missing", stopped.get_token()), "cancelled");
  EXPECT_TRUE(system.names.empty());

  const fs::path a = sparseFile("a", 24 << 20);
  const fs::path b = sparseFile("b", 24 << 20);
  std::stop_source source;
  std::vector<double> reports;
  const auto stopAtOnce = [&](double done) {
    reports.push_back(done);
    source.request_stop();
  };
  EXPECT_EQ(outcomeOfComparison(a, b, source.get_token(), stopAtOnce), "cancelled");
  EXPECT_THAT(reports, ElementsAre(1.0 / 3));
  EXPECT_EQ(system.stillOpen, 0);

  for (const long reads : {1, 9}) {  // In the first chunk of either file, when reads are short.
    system.longestRead = 1 << 20;
    system.names.clear();
    std::stop_source inRead;
    system.before = [&](std::string_view, std::size_t) {
      if (std::ranges::count(system.names, "read") == reads) inRead.request_stop();
      return 0;
    };
    EXPECT_EQ(outcomeOfComparison(a, b, inRead.get_token(), [](double) { FAIL(); }), "cancelled");
    EXPECT_EQ(system.stillOpen, 0);
  }
}

TEST(FirstDifference, IsFoundInRangesOfAnyLength) {
  const auto difference = [](std::string_view a, std::string_view b) {
    return HashService::firstDifference(std::as_bytes(std::span(a)), std::as_bytes(std::span(b)));
  };
  for (const std::size_t size : {0U, 1U, 2U, 63U, 64U, 65U, 130U, 4095U, 4096U, 4097U, 8300U}) {
    const std::string a = test::period251(size);
    EXPECT_EQ(difference(a, a), std::nullopt) << size;
    EXPECT_EQ(difference(a, a + "x"), std::nullopt) << size;
    std::string b = a + "x";
    for (std::size_t i = size; i-- > 0;) {
      b[i] = static_cast<char>(b[i] ^ 1);
      ASSERT_EQ(difference(a, b), i) << size;
      ASSERT_EQ(difference(b, a), i) << size;
    }
  }
}

}  // namespace
}  // namespace tallyfold
