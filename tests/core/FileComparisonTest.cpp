#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

class CompareFiles : public testing::Test {
 protected:
  std::string outcomeAndProgress(const fs::path& a, const fs::path& b) {
    std::string text;
    const std::string outcome = outcomeOfComparison(a, b, {}, [&](double done) { text += " " + std::to_string(done); });
    return outcome + ";" + text;
  }

  TemporaryFolder folder;
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
    int reads = 0;
  } const pairs[]{
      {"empty", "empty too", "identical; 1.000000", 2}, {"ten", "ten", "identical; 1.000000"},
      {"ten", "hard link", "identical; 1.000000"},      {"link", "ten", "identical; 1.000000"},
      {"ten", "eleven", "sizes 10, 11; 1.000000"},      {"eleven", "empty", "sizes 11, 0; 1.000000"},
  };
  for (const auto& [a, b, outcome, reads] : pairs) {
    WatchedSystemCalls system;
    EXPECT_EQ(outcomeAndProgress(folder.path() / a, folder.path() / b), outcome) << a << ", " << b;
    EXPECT_EQ(std::ranges::count(system.names, "read"), reads) << a << ", " << b;
    EXPECT_EQ(system.stillOpen, 0) << a << ", " << b;
  }
}

TEST_F(CompareFiles, FirstDifferenceIsFoundWhereverItIs) {
  constexpr std::size_t chunk = HashService::chunkSize;
  const std::string content = period251(chunk + 200'001);
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
  const fs::path a = sparseFile(folder, "a", 20 << 20);
  const fs::path b = sparseFile(folder, "b", 20 << 20);
  EXPECT_EQ(outcomeAndProgress(a, b), "identical; 0.400000 0.800000 1.000000");
  writeByte(b, (20 << 20) - 1, 'x');
  EXPECT_EQ(outcomeAndProgress(a, b), "differ at 20971519; 0.400000 0.800000");
}

TEST_F(CompareFiles, ProgressOfLargeFilesIsReportedOncePerHundredth) {
  struct : WatchedSystemCalls {
    // Zero bytes without the time that it takes to read them.
    ssize_t read(int, void* bytes, std::size_t count) override {
      std::memset(bytes, 0, count);
      return static_cast<ssize_t>(count);
    }
  } system;
  constexpr std::int64_t size = 1000 << 20;  // Ten MiB are a hundredth.
  const fs::path a = sparseFile(folder, "a", size);
  std::vector<std::int64_t> reports;
  EXPECT_EQ(outcomeOfComparison(a, sparseFile(folder, "b", size), {},
                                [&](double done) { reports.push_back(std::llround(done * 1000)); }),
            "identical");
  ASSERT_GT(reports.size(), 5U);
  EXPECT_LE(reports.size(), 100U);
  EXPECT_THAT(std::vector(reports.begin(), reports.begin() + 5), ElementsAre(16, 24, 32, 40, 56));
  EXPECT_EQ(reports.back(), 1000);
  EXPECT_EQ(std::ranges::adjacent_find(reports, std::greater_equal()), reports.end());
}

}  // namespace

}  // namespace tallyfold::test
