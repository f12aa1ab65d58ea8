// Files are hashed and compared: on one core, and on several, where whatever their number it is one thread's result, or
// its failure.

#include <condition_variable>
#include <mutex>
#include <thread>

#include "core/digests/LanePlan.h"
#include "core/services/differences/Kernels.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

/// On one core.
class HashFile : public testing::Test {
 protected:
  void SetUp() override { pretendCores(1); }
  void TearDown() override { pretendCores(0); }

  [[nodiscard]] static std::vector<double> progressOf(const fs::path& file) {
    std::vector<double> reports;
    HashService::hashFile(file, Uuid(), {HashAlgorithm::crc32}, {}, [&](double done) { reports.push_back(done); });
    return reports;
  }

  TemporaryFolder folder;
};

TEST_F(HashFile, ResultDescribesTheFile) {
  folder.file("file", "123456789");
  fs::create_directory(folder.path() / "sub");
  fs::create_symlink("../file", folder.path() / "sub" / "link");
  const fs::path url = folder.path() / "." / "sub" / "link";
  const std::array<timespec, 2> times{{{.tv_sec = 1, .tv_nsec = 2}, {.tv_sec = -5, .tv_nsec = 999'999'999}}};
  ASSERT_EQ(utimensat(AT_FDCWD, url.c_str(), times.data(), 0), 0);

  const Uuid id = Uuid::random();
  const FileHashResult result = HashService::hashFile(url, id, {HashAlgorithm::crc32}, {}, [](double) {});
  EXPECT_EQ(result.id, id);
  EXPECT_EQ(result.url.native(), url.native());
  EXPECT_EQ(result.fileSize, 9);
  EXPECT_EQ(result.modifiedAt, (Timestamp{-5, 999'999'999}));
  EXPECT_EQ(result.hashes.find(HashAlgorithm::crc32), "cbf43926");
  EXPECT_EQ(result.hashes.size(), 1U);
}

TEST_F(HashFile, ProgressIsReportedOncePerChunkHoweverItIsRead) {
  EXPECT_THAT(progressOf(sparseFile(folder, "sparse", 0)), ElementsAre(1.0));
  EXPECT_THAT(progressOf(sparseFile(folder, "sparse", 8'388'608)), ElementsAre(1.0));
  EXPECT_THAT(progressOf(sparseFile(folder, "sparse", 8'388'609)), ElementsAre(8'388'608.0 / 8'388'609.0, 1.0));
  const fs::path file = sparseFile(folder, "sparse", 24 << 20);
  WatchedSystemCalls system;
  system.longestRead = 100'000;  // A report is due 8 MiB after the one before: with the 84th and the 168th read.
  EXPECT_THAT(progressOf(file), ElementsAre(8'400'000.0 / (24 << 20), 16'800'000.0 / (24 << 20), 1.0));
}

TEST_F(HashFile, CancellationAndAnEmptySelectionFailBeforeTheFileIsTouched) {
  std::stop_source source;
  source.request_stop();
  const WatchedSystemCalls system;
  const auto hash = [&](const std::stop_token& token) {
    HashService::hashFile(folder.path() / "missing", Uuid(), {}, token, [](double) {});
  };
  EXPECT_THROW(hash(source.get_token()), CancellationError);
  EXPECT_THAT([&] { hash({}); }, ThrowsMessage<HashServiceError>("Select at least one checksum algorithm."));
  EXPECT_EQ(outcomeOfComparison("missing", "missing", source.get_token()), "cancelled");
  EXPECT_TRUE(system.names.empty());
}

TEST_F(HashFile, ManyThreadsAtOnceDoNotDisturbEachOther) {
  const fs::path file = folder.file("file", randomBytes(400'000, 1));
  std::array<DigestMap, 4> together;
  {
    std::vector<std::jthread> workers;
    for (DigestMap& digests : together) workers.emplace_back([&] { digests = digestsOf(file); });
  }
  // Only now, so that the threads and not this one were the first to ask for each algorithm.
  EXPECT_THAT(together, Each(digestsOf(file)));
}

TEST_F(HashFile, OpenThatGivesNoReasonIsAnInvalidArgument) {
  struct : WatchedSystemCalls {
    int open(const char*, int, mode_t) override { return -1; }
  } silent;
  EXPECT_EQ(outcomeOf(folder.file("file", "")), "error: Invalid argument");
}

TEST_F(HashFile, ItemThatBecomesAnotherKindBetweenLookAndOpenFails) {
  struct : WatchedSystemCalls {
    int open(const char*, int flags, mode_t mode) override { return SystemCalls::open("/dev/null", flags, mode); }
  } swapped;
  EXPECT_EQ(outcomeOf(folder.file("file", "")), kNotRegular);
}

/// The speeds of a processor that has the SHA extensions.
const AlgorithmCosts usual{1.5, 0.6, 0.6, 0.6, 1.3, 1.3, 0.25, 0.05};

TEST(LanePlan, EveryAlgorithmIsInOneLaneAndTheTimeIsThatOfTheSlowest) {
  for (const HashAlgorithmSet algorithms :
       {HashAlgorithmSet::all(), HashAlgorithm::recommended, HashAlgorithmSet{HashAlgorithm::md5}}) {
    for (unsigned most = 1; most <= 10; ++most) {
      const LanePlan plan = planLanes(algorithms, usual, most);
      ASSERT_LE(plan.lanes.size(), most);
      std::vector<HashAlgorithm> found;
      double slowest = 0;
      for (std::size_t i = 0; i < plan.lanes.size(); ++i) {
        double time = i == 0 ? kReadingCost : 0;
        for (const HashAlgorithm algorithm : plan.lanes[i]) {
          found.push_back(algorithm);
          time += usual[algorithm];
        }
        EXPECT_TRUE(i == 0 || !plan.lanes[i].empty());
        slowest = std::max(slowest, time);
      }
      EXPECT_THAT(found, testing::UnorderedElementsAreArray(algorithms.begin(), algorithms.end()));
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

  TemporaryFolder folder;
};

TEST_P(HashLanesTest, FilesAsOtherProgramsHaveThem) {
  constexpr std::size_t small = 16 << 10;  // Up to here there are no lanes.
  constexpr std::size_t large = 2 << 20;   // From here on there may be several lanes.
  constexpr std::size_t chunk = HashService::chunkSize;
  constexpr std::size_t whole = 64 << 20;
  WatchedSystemCalls system;
  std::vector<fs::path> files;
  std::vector<DigestMap> digests;
  for (const auto& [size, longestRead] :
       {std::pair(0UL, whole), std::pair(small, whole), std::pair(small, 5'000UL), std::pair(small + 1, whole),
        std::pair(large - 1, whole), std::pair(large, whole), std::pair(large + 1, whole),
        std::pair(2 * chunk + 12'345, whole), std::pair(chunk + 1, 10'007UL), std::pair(chunk + 1, 262'143UL)}) {
    const fs::path& file =
        files.emplace_back(folder.file(std::to_string(files.size()), randomBytes(size, seedOfThisRun())));
    system.longestRead = longestRead;
    digests.push_back(digestsOf(file));
    EXPECT_EQ(digestsOf(file, {HashAlgorithm::sha256}).find(HashAlgorithm::sha256),
              digests.back().find(HashAlgorithm::sha256))
        << size;
    EXPECT_EQ(digestsOf(file, {HashAlgorithm::blake3}).find(HashAlgorithm::blake3),
              digests.back().find(HashAlgorithm::blake3))
        << size;
  }
  expectAsOthersHaveThem(digests, files);
}

TEST_P(HashLanesTest, ProgressIsReportedOncePerChunkAndMayThrow) {
  const fs::path file = sparseFile(folder, "file", 20'971'520);
  std::vector<double> reports;
  for (const HashAlgorithmSet algorithms : {HashAlgorithm::recommended, HashAlgorithmSet{HashAlgorithm::blake3}}) {
    reports.clear();
    HashService::hashFile(file, Uuid(), algorithms, {}, [&](double done) { reports.push_back(done); });
    EXPECT_THAT(reports, ElementsAre(0.4, 0.8, 1.0));
  }
  const auto refuse = [](double) { throw std::runtime_error("enough"); };
  EXPECT_THROW(HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, refuse), std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(Cores, HashLanesTest, testing::Values(1, 2, 3, 9));

TEST(FilePieces, FailureThatComesFirstInTheFileIsTold) {
  constexpr off_t first = 2 << 20;
  struct : SystemCalls {
    ssize_t pread(int descriptor, void* bytes, std::size_t count, off_t offset) override {
      if (offset < first) return SystemCalls::pread(descriptor, bytes, count, offset);
      std::unique_lock lock(mutex);
      if (offset == first) {
        EXPECT_TRUE(hasFailed.wait_for(lock, std::chrono::seconds(20), [this] { return others > 0; }));
      } else {
        ++others;
        hasFailed.notify_all();
      }
      errno = offset == first ? EACCES : EIO;
      return -1;
    }
    std::mutex mutex;
    std::condition_variable hasFailed;
    int others = 0;
  } system;
  const TemporaryFolder folder;
  const fs::path file = sparseFile(folder, "file", 3 * first);
  pretendCores(2);
  SystemCalls::replace(&system);
  EXPECT_EQ(outcomeOf(file), "error: Permission denied");
  SystemCalls::replace(nullptr);
  pretendCores(0);
}

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
  const auto versions = [](const fs::path& a, const fs::path& b) {
    return HashService::compareFilesKeepingVersions(a, b, {}, [](double) {}).versions;
  };
  const fs::path empty = folder.path() / "empty";
  EXPECT_EQ(outcomeOfCommonPart(ten, empty, versions(ten, empty)), "one is the beginning");
  EXPECT_EQ(outcomeOfCommonPart(ten, "/proc/version", versions(ten, "/proc/version")), kChanged) << "has content";
}

TEST_F(CompareFiles, FirstDifferenceIsFoundWhereverItIs) {
  constexpr std::size_t chunk = HashService::chunkSize;
  const std::string content = randomBytes(chunk + 200'001, 1);
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

TEST_F(CompareFiles, AllDifferencesAreThoseThatAnotherProgramLists) {
  std::mt19937 random(seedOfThisRun());
  for (int round = 0; round < roundsOfThisRun(30); ++round) {
    const std::array<std::size_t, 6> sizes{1, 17, 131'071, 131'073, 300'000, HashService::chunkSize + 7};
    const std::string contentOfA = randomBytes(sizes[random() % sizes.size()], static_cast<unsigned>(random()));
    std::string contentOfB = contentOfA;
    for (auto runs = 1 + random() % (random() % 2 == 0 ? 3 : 300); runs > 0; --runs) {
      const std::size_t start = random() % contentOfB.size();
      const std::size_t length = std::min<std::size_t>(random() % 4 == 0 ? 9000 : 2, contentOfB.size() - start);
      for (std::size_t i = 0; i < length; ++i) contentOfB[start + i] = static_cast<char>(contentOfB[start + i] ^ 1);
    }
    const fs::path a = folder.file("a", contentOfA);
    const fs::path b = folder.file("b", contentOfB.append(random() % 3, '+'));
    std::istringstream list(outputOf({"sh", "-c", R"(cmp -l "$0" "$1" 2>&- || true)", a, b}));
    std::vector<std::int64_t> places;
    std::int64_t runs = 0;
    for (std::string line; std::getline(list, line);) {
      const std::int64_t place = std::stoll(line) - 1;
      if (places.empty() || places.back() + 1 != place) ++runs;
      places.push_back(place);
    }
    const auto compared = HashService::compareFilesKeepingVersions(a, b, {}, [](double) {});
    const std::string found = outcomeOfCommonPart(a, b, compared.versions);
    if (places.empty()) {
      EXPECT_EQ(found, "one is the beginning");
      continue;
    }
    const std::size_t row = static_cast<std::size_t>(places.front()) / 16 * 16;
    const auto shown = [&](const std::string& text) { return " " + HexEncoder::string(bytesOf(text.substr(row, 16))); };
    EXPECT_EQ(found, "differ at " + std::to_string(places.front()) + shown(contentOfA) + shown(contentOfB));
    for (const differences::Kernel* const kernel : differences::kernels.supported()) {
      differences::kernels.pin(kernel);
      EXPECT_EQ(
          outcomeOfCount(a, b, compared.versions, places.front()),
          std::to_string(places.size()) + " in " + std::to_string(runs) + " runs to " + std::to_string(places.back()))
          << kernel->name << ", " << contentOfA.size() << " bytes";
    }
    differences::kernels.pin(nullptr);
  }
}

TEST_F(CompareFiles, ProgressIsReportedOncePerChunk) {
  const fs::path a = sparseFile(folder, "a", 20 << 20);
  const fs::path b = sparseFile(folder, "b", 20 << 20);
  EXPECT_EQ(outcomeAndProgress(a, b), "identical; 0.400000 0.800000 1.000000");
  writeByte(b, (20 << 20) - 1, 'x');
  EXPECT_EQ(outcomeAndProgress(a, b), "differ at 20971519; 0.400000 0.800000");
}

TEST_F(CompareFiles, ChangeIsToldAtTheNextReportAndOfWhichFile) {
  for (const auto side : {FileComparison::Side::a, FileComparison::Side::b}) {
    const fs::path a = sparseFile(folder, "a", 20 << 20);
    const fs::path b = sparseFile(folder, "b", 21 << 20);
    const auto versions = HashService::compareFilesKeepingVersions(a, b, {}, [](double) {}).versions;
    int reports = 0;
    auto turn = FileComparison::Side::neither;
    const auto grow = [&](double) {
      ++reports;
      fs::resize_file(side == FileComparison::Side::a ? a : b, 22 << 20);
    };
    EXPECT_THROW(HashService::compareCommonPart(a, b, versions, {}, grow, &turn), HashServiceError);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(turn, side);
  }
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
