// Hashing one file on several threads: whatever their number, it is one thread's result, or its failure.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "core/HashService.h"
#include "core/LanePlan.h"
#include "core/Processor.h"
#include "tests/core/Outcome.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Gt;
using testing::Le;

AlgorithmCosts costsOf(std::initializer_list<std::pair<HashAlgorithm, double>> items) {
  AlgorithmCosts costs{};
  for (const auto& [algorithm, cost] : items) costs[algorithm] = cost;
  return costs;
}

/// The speeds of a processor that has the SHA extensions.
const AlgorithmCosts usual{1.5, 0.6, 0.6, 0.6, 1.3, 1.3, 0.25, 0.05};

TEST(LanePlan, EveryAlgorithmIsInOneLaneAndTheTimeIsThatOfTheSlowest) {
  for (const HashAlgorithmSet algorithms :
       {HashAlgorithmSet::all(), HashAlgorithm::recommended, HashAlgorithmSet{HashAlgorithm::md5}}) {
    for (unsigned most = 1; most <= 10; ++most) {
      const LanePlan plan = planLanes(algorithms, usual, most);
      ASSERT_LE(plan.lanes.size(), most);
      HashAlgorithmSet found;
      std::size_t count = 0;
      double slowest = 0;
      for (std::size_t i = 0; i < plan.lanes.size(); ++i) {
        double time = i == 0 ? kReadingCost : 0;
        for (const HashAlgorithm algorithm : plan.lanes[i]) {
          found.insert(algorithm);
          ++count;
          time += usual[algorithm];
        }
        EXPECT_TRUE(i == 0 || !plan.lanes[i].empty());
        slowest = std::max(slowest, time);
      }
      EXPECT_EQ(found, algorithms);
      EXPECT_EQ(count, algorithms.size());
      EXPECT_DOUBLE_EQ(plan.time, slowest);
    }
  }
}

TEST(LanePlan, LanesAreBalanced) {
  const double all = kReadingCost + 6.2;
  EXPECT_DOUBLE_EQ(planLanes(HashAlgorithmSet::all(), usual, 1).time, all);
  EXPECT_NEAR(planLanes(HashAlgorithmSet::all(), usual, 2).time, all / 2, 0.05);
  EXPECT_DOUBLE_EQ(planLanes(HashAlgorithmSet::all(), usual, 8).time, 1.5) << "as fast as the slowest algorithm";

  const LanePlan recommended = planForCores(HashAlgorithm::recommended, usual, 2);
  EXPECT_THAT(recommended.lanes,
              ElementsAre(HashAlgorithmSet{HashAlgorithm::blake3}, HashAlgorithmSet{HashAlgorithm::sha256}));
}

TEST(LanePlan, NoMoreLanesThanHelp) {
  const HashAlgorithmSet two{HashAlgorithm::md5, HashAlgorithm::crc32};
  const auto lanesFor = [&](HashAlgorithmSet algorithms, const AlgorithmCosts& costs, unsigned cores) {
    return planForCores(algorithms, costs, cores).lanes.size();
  };
  EXPECT_EQ(lanesFor(HashAlgorithmSet::all(), usual, 1), 1U);
  EXPECT_EQ(lanesFor(HashAlgorithmSet::all(), usual, 64), 5U);
  EXPECT_EQ(lanesFor(two, usual, 64), 2U) << "MD5 is slower than all that the first lane does";
  EXPECT_EQ(lanesFor(two, costsOf({{HashAlgorithm::md5, 20.0}, {HashAlgorithm::crc32, 0.1}}), 64), 1U)
      << "what a second lane would save is not worth it";
  EXPECT_EQ(lanesFor({HashAlgorithm::blake3}, usual, 64), 1U) << "faster than bytes pass from core to core";
}

/// Runs each test as if there were so many cores.
class HashLanesTest : public testing::TestWithParam<unsigned> {
 protected:
  void SetUp() override { pretendCores(GetParam()); }
  void TearDown() override { pretendCores(0); }

  [[nodiscard]] static DigestMap digestsOf(const fs::path& file, HashAlgorithmSet algorithms) {
    return HashService::hashFile(file, Uuid(), algorithms, {}, [](double) {}).hashes;
  }

  [[nodiscard]] static DigestMap digestsOnOneCore(const fs::path& file, HashAlgorithmSet algorithms) {
    pretendCores(1);
    DigestMap digests = digestsOf(file, algorithms);
    pretendCores(GetParam());
    return digests;
  }

  test::TemporaryFolder folder;
};

TEST_P(HashLanesTest, SameDigestsAsOnOneCore) {
  constexpr std::size_t smallest = 2 << 20;
  constexpr std::size_t chunk = 8 << 20;
  for (const std::size_t size : {smallest - 1, smallest, smallest + 1, chunk + 1, 2 * chunk + 12'345}) {
    const fs::path file = folder.file("file", test::randomBytes(size, test::seedOfThisRun()));
    for (const HashAlgorithmSet algorithms : {HashAlgorithmSet::all(), HashAlgorithmSet{HashAlgorithm::sha256}}) {
      EXPECT_EQ(digestsOf(file, algorithms), digestsOnOneCore(file, algorithms)) << size << " bytes";
    }
  }
}

TEST_P(HashLanesTest, ShortReadsAreAccepted) {
  const fs::path file = folder.file("file", test::randomBytes(9'000'000, test::seedOfThisRun()));
  const DigestMap expected = digestsOnOneCore(file, HashAlgorithmSet::all());
  test::WatchedSystemCalls system;
  for (const std::size_t longest : {10'007U, 262'143U}) {
    system.longestRead = longest;
    EXPECT_EQ(digestsOf(file, HashAlgorithmSet::all()), expected) << longest;
  }
}

TEST_P(HashLanesTest, WhatStopsTheReadingStopsAll) {
  const fs::path file = folder.file("file", test::randomBytes(20 << 20, 1));
  test::WatchedSystemCalls system;
  std::stop_source source;
  const auto outcomeWhen = [&](std::size_t read, const std::function<int()>& event) {
    std::size_t reads = 0;
    system.longestRead = 1 << 20;
    system.before = [=, &reads](std::string_view name, std::size_t) {
      return name == "read" && ++reads == read ? event() : 0;
    };
    return test::outcomeOf(file, HashAlgorithm::md5, source.get_token());
  };
  for (const std::size_t read : {1U, 2U, 17U}) {
    EXPECT_EQ(outcomeWhen(read, [] { return EIO; }), "error: Input/output error");
    EXPECT_EQ(outcomeWhen(read,
                          [&] {
                            system.longestRead = 0;
                            return 0;
                          }),
              test::kChanged);
  }
  EXPECT_EQ(outcomeWhen(17,
                        [&] {
                          source.request_stop();
                          return 0;
                        }),
            "cancelled");
  EXPECT_EQ(system.stillOpen, 0);
}

TEST_P(HashLanesTest, ProgressIsReportedOncePerChunk) {
  const fs::path file = folder.file("file", "");
  fs::resize_file(file, 20'971'520);
  std::vector<double> reports;
  HashService::hashFile(file, Uuid(), HashAlgorithm::recommended, {}, [&](double done) { reports.push_back(done); });
  EXPECT_THAT(reports, ElementsAre(0.4, 0.8, 1.0));
}

TEST_P(HashLanesTest, ProgressThatThrowsLeavesNoThreadBehind) {
  const fs::path file = folder.file("file", "");
  fs::resize_file(file, 20'971'520);
  const auto refuse = [](double) { throw std::runtime_error("enough"); };
  EXPECT_THROW(HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, refuse), std::runtime_error);
}

TEST_P(HashLanesTest, WhatComesNextIsAnnouncedAheadOfItsReading) {
  struct : test::WatchedSystemCalls {
    int willNeed(int descriptor, off_t offset, off_t count) override {
      // Up to there the file has been read or announced, without a gap.
      if (offset <= known) known = std::max(known, offset + count);
      announced.push_back(count);
      return WatchedSystemCalls::willNeed(descriptor, offset, count);
    }
    ssize_t read(int descriptor, void* bytes, std::size_t count) override {
      const ssize_t result = WatchedSystemCalls::read(descriptor, bytes, count);
      isAhead = isAhead && (position == 0 || position + result <= known);
      position += result;
      known = std::max(known, position);
      return result;
    }
    off_t position = 0;
    off_t known = 0;
    bool isAhead = true;
    std::vector<off_t> announced;
  } system;
  const fs::path file = folder.file("file", "");
  fs::resize_file(file, (30 << 20) + 1);
  EXPECT_EQ(digestsOf(file, HashAlgorithm::recommended).size(), 2U);
  EXPECT_EQ(system.position, (30 << 20) + 1);
  EXPECT_TRUE(system.isAhead);
  EXPECT_LE(system.announced.size(), 4U);
  EXPECT_THAT(system.announced, Each(AllOf(Gt(0), Le(HashService::chunkSize))));
}

INSTANTIATE_TEST_SUITE_P(Cores, HashLanesTest, testing::Values(1, 2, 3, 9));

}  // namespace
}  // namespace tallyfold
