// Hashing one file on several threads: whatever their number, it is one thread's result, or its failure.

#include "core/digests/LanePlan.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

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

TEST(LanePlan, NoMoreLanesThanHelp) {
  const HashAlgorithmSet two{HashAlgorithm::md5, HashAlgorithm::crc32};
  const auto lanesFor = [&](HashAlgorithmSet algorithms, const AlgorithmCosts& costs, unsigned cores) {
    return planForCores(algorithms, costs, cores).lanes.size();
  };
  EXPECT_NEAR(planLanes(HashAlgorithmSet::all(), usual, 2).time, (kReadingCost + 6.2) / 2, 0.05) << "balanced";
  EXPECT_EQ(lanesFor(HashAlgorithmSet::all(), usual, 1), 1U);
  EXPECT_EQ(lanesFor(HashAlgorithm::recommended, usual, 2), 2U);
  EXPECT_EQ(lanesFor(HashAlgorithmSet::all(), usual, 64), 5U);
  EXPECT_EQ(lanesFor(two, usual, 64), 2U) << "MD5 is slower than all that the first lane does";
  EXPECT_EQ(lanesFor({HashAlgorithm::blake3}, usual, 64), 1U) << "faster than bytes pass from core to core";
  AlgorithmCosts uneven = usual;
  uneven[HashAlgorithm::md5] = 20;
  EXPECT_EQ(lanesFor(two, uneven, 64), 1U) << "what a second lane would save is not worth it";
}

/// Runs each test as if there were so many cores.
class HashLanesTest : public testing::TestWithParam<unsigned> {
 protected:
  void SetUp() override { pretendCores(GetParam()); }
  void TearDown() override { pretendCores(0); }

  [[nodiscard]] static DigestMap digestsOnOneCore(const fs::path& file, HashAlgorithmSet algorithms) {
    pretendCores(1);
    DigestMap digests = digestsOf(file, algorithms);
    pretendCores(GetParam());
    return digests;
  }

  TemporaryFolder folder;
};

TEST_P(HashLanesTest, SameDigestsAsOnOneCore) {
  constexpr std::size_t smallest = 2 << 20;
  constexpr std::size_t chunk = 8 << 20;
  constexpr std::size_t whole = 64 << 20;
  WatchedSystemCalls system;
  for (const auto& [size, longestRead] :
       {std::pair(smallest - 1, whole), std::pair(smallest, whole), std::pair(smallest + 1, whole),
        std::pair(2 * chunk + 12'345, whole), std::pair(chunk + 1, std::size_t{10'007}),
        std::pair(chunk + 1, std::size_t{262'143})}) {
    const fs::path file = folder.file("file", randomBytes(size, seedOfThisRun()));
    for (const HashAlgorithmSet algorithms : {HashAlgorithmSet::all(), HashAlgorithmSet{HashAlgorithm::sha256}}) {
      system.longestRead = whole;
      const DigestMap expected = digestsOnOneCore(file, algorithms);
      system.longestRead = longestRead;
      EXPECT_EQ(digestsOf(file, algorithms), expected) << size << " bytes, by " << longestRead;
    }
  }
}

TEST_P(HashLanesTest, ProgressIsReportedOncePerChunkAndMayThrow) {
  const fs::path file = sparseFile(folder, "file", 20'971'520);
  std::vector<double> reports;
  HashService::hashFile(file, Uuid(), HashAlgorithm::recommended, {}, [&](double done) { reports.push_back(done); });
  EXPECT_THAT(reports, ElementsAre(0.4, 0.8, 1.0));
  const auto refuse = [](double) { throw std::runtime_error("enough"); };
  EXPECT_THROW(HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, refuse), std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(Cores, HashLanesTest, testing::Values(1, 2, 3, 9));

}  // namespace

}  // namespace tallyfold::test
