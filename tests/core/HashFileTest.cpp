#include <thread>

#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

/// On one core: HashLanesTest has more.
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

TEST_F(HashFile, RandomFilesAsOtherProgramsHaveThem) {
  const unsigned seed = seedOfThisRun();
  std::mt19937 engine(seed);
  std::vector<fs::path> files;
  for (unsigned i = 0; i < 12; ++i) {
    const std::size_t size = std::uniform_int_distribution<std::size_t>(0, std::size_t{1} << (2 * i))(engine);
    files.push_back(folder.file(std::to_string(i), randomBytes(size, seed + i)));
  }
  files.push_back(folder.file("more than a chunk", randomBytes(HashService::chunkSize + 12'345, seed)));

  std::vector<DigestMap> digests;
  for (const fs::path& file : files) digests.push_back(digestsOf(file));
  expectAsOthersHaveThem(digests, files);
}

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
  EXPECT_GE(result.duration, 0);
  EXPECT_LT(result.duration, 60);
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

TEST_F(HashFile, WhatCannotBeHashedFailsInASentence) {
  fs::create_directory(folder.path() / "folder");
  makePipe(folder.path() / "pipe");
  ASSERT_EQ(mknod((folder.path() / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
  fs::create_symlink("pipe", folder.path() / "link to pipe");
  fs::create_symlink("nowhere", folder.path() / "dangling");
  fs::create_symlink("circle", folder.path() / "circle");
  fs::permissions(folder.file("unreadable", "secret"), fs::perms::none);
  const std::vector<std::pair<std::string, std::string>> items{
      {"folder", kNotRegular},
      {"pipe", kNotRegular},
      {"socket", kNotRegular},
      {"link to pipe", kNotRegular},
      {"/dev/null", kNotRegular},
      {"/dev/zero", kNotRegular},
      {"missing", kMissing},
      {"dangling", kMissing},
      {"circle", kCircle},
      {"unreadable/below", kNotAFolder},
      {std::string(256, 'x'), kTooLong},
      {"file\0"s, "error: Invalid argument"},
      {"unreadable", "error: Permission denied"},
  };
  WatchedSystemCalls system;
  for (const auto& [name, outcome] : items) {
    // No permission stops root.
    const bool isRefused = name == "unreadable" && geteuid() == 0;
    system.before = [=](std::string_view call, std::size_t) { return isRefused && call == "open" ? EACCES : 0; };
    EXPECT_EQ(outcomeOf(folder.path() / name), outcome) << name;
  }
  EXPECT_EQ(outcomeOf(""), kMissing);
}

TEST_F(HashFile, ManyThreadsAtOnceDoNotDisturbEachOther) {
  std::vector<fs::path> files;
  for (unsigned i = 0; i < 5; ++i) {
    files.push_back(folder.file(std::to_string(i), randomBytes(std::size_t{100'000} * i, i)));
  }
  const auto digestsOfAll = [&](std::vector<DigestMap>& digests) {
    for (const fs::path& file : files) digests.push_back(digestsOf(file));
  };
  std::array<std::vector<DigestMap>, 4> together;
  {
    std::vector<std::jthread> workers;
    for (std::vector<DigestMap>& digests : together) workers.emplace_back([&] { digestsOfAll(digests); });
  }
  // Only now, so that the threads and not this one were the first to ask for each algorithm.
  std::vector<DigestMap> alone;
  digestsOfAll(alone);
  EXPECT_THAT(together, Each(alone));
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

}  // namespace

}  // namespace tallyfold::test
