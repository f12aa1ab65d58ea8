#include <array>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "core/Errors.h"
#include "core/HashService.h"
#include "core/Processor.h"
#include "tests/core/Oracles.h"
#include "tests/core/Outcome.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

namespace fs = std::filesystem;
using test::outcomeOf;
using testing::ElementsAre;

/// On one core: HashLanesTest has more.
class HashFile : public testing::Test {
 protected:
  void SetUp() override { pretendCores(1); }
  void TearDown() override { pretendCores(0); }

  /// A file of zero bytes that takes no space.
  [[nodiscard]] fs::path sparseFile(std::uintmax_t size) const {
    fs::path path = folder.file("sparse", "");
    fs::resize_file(path, size);
    return path;
  }

  [[nodiscard]] static std::vector<double> progressOf(const fs::path& file) {
    std::vector<double> reports;
    HashService::hashFile(file, Uuid(), {HashAlgorithm::crc32}, {}, [&](double done) { reports.push_back(done); });
    return reports;
  }

  test::TemporaryFolder folder;
};

TEST_F(HashFile, RandomFilesAsOtherProgramsHaveThem) {
  const unsigned seed = test::seedOfThisRun();
  std::mt19937 engine(seed);
  std::vector<fs::path> files;
  for (unsigned i = 0; i < 12; ++i) {
    const std::size_t size = std::uniform_int_distribution<std::size_t>(0, std::size_t{1} << (2 * i))(engine);
    files.push_back(folder.file(std::to_string(i), test::randomBytes(size, seed + i)));
  }
  files.push_back(folder.file("more than a chunk", test::randomBytes(HashService::chunkSize + 12'345, seed)));

  std::vector<DigestMap> digests;
  for (const fs::path& file : files) {
    digests.push_back(HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, [](double) {}).hashes);
  }
  for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
    std::vector<std::string> expected = test::digestsByOthers(algorithm, files);
    ASSERT_EQ(expected.size(), files.size()) << algorithm.rawValue();
    for (std::size_t i = 0; i < files.size(); ++i) {
      EXPECT_EQ(digests[i].find(algorithm), expected[i]) << algorithm.rawValue() << " of " << files[i];
    }
  }
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

TEST_F(HashFile, ProgressIsReportedOncePerChunk) {
  EXPECT_THAT(progressOf(sparseFile(0)), ElementsAre(1.0));
  EXPECT_THAT(progressOf(sparseFile(8'388'608)), ElementsAre(1.0));
  EXPECT_THAT(progressOf(sparseFile(8'388'609)), ElementsAre(8'388'608.0 / 8'388'609.0, 1.0));
  EXPECT_THAT(progressOf(sparseFile(20'971'520)), ElementsAre(0.4, 0.8, 1.0));
}

TEST_F(HashFile, ProgressCountsBytesAndNotReads) {
  const fs::path file = sparseFile(24 << 20);
  test::WatchedSystemCalls system;
  system.longestRead = 100'000;  // A report is due 8 MiB after the one before: with the 84th and the 168th read.
  EXPECT_THAT(progressOf(file), ElementsAre(8'400'000.0 / (24 << 20), 16'800'000.0 / (24 << 20), 1.0));
}

TEST_F(HashFile, ProgressStepOfLargeFilesIsAHundredth) {
  constexpr std::int64_t chunk = 8'388'608;
  const std::vector<std::pair<std::int64_t, std::int64_t>> steps{
      {0, chunk},
      {1, chunk},
      {838'860'799, chunk},
      {838'860'800, chunk},
      {838'860'900, 8'388'609},
      {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::max() / 100}};
  for (const auto& [size, step] : steps) EXPECT_EQ(HashService::progressStep(size), step) << size;
}

TEST_F(HashFile, EmptySelectionFailsBeforeTheFileIsTouched) {
  test::WatchedSystemCalls system;
  try {
    HashService::hashFile(folder.path() / "missing", Uuid(), {}, {}, [](double) {});
    FAIL() << "hashed";
  } catch (const HashServiceError& error) {
    EXPECT_EQ(error.value(), HashServiceError::Case::noAlgorithms);
  }
  EXPECT_TRUE(system.names.empty());
}

TEST_F(HashFile, OnlyRegularFilesAreHashed) {
  fs::create_directory(folder.path() / "folder");
  ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
  ASSERT_EQ(mknod((folder.path() / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
  fs::create_symlink("pipe", folder.path() / "link to pipe");
  for (const fs::path item : {"folder", "pipe", "socket", "link to pipe", "/dev/null", "/dev/zero"}) {
    EXPECT_EQ(outcomeOf(folder.path() / item), test::kNotRegular) << item;
  }
}

TEST_F(HashFile, WhatCannotBeOpenedFailsWithTheSystemsSentence) {
  fs::create_symlink("nowhere", folder.path() / "dangling");
  fs::create_symlink("circle", folder.path() / "circle");
  folder.file("file", "");
  const std::vector<std::pair<std::string, std::string>> items{
      {"missing", "No such file or directory"},        {"dangling", "No such file or directory"},
      {"circle", "Too many levels of symbolic links"}, {"file/below", "Not a directory"},
      {std::string(256, 'x'), "File name too long"},   {std::string("file\0", 5), "Invalid argument"},
  };
  for (const auto& [name, sentence] : items) EXPECT_EQ(outcomeOf(folder.path() / name), "error: " + sentence) << name;
  EXPECT_EQ(outcomeOf(""), "error: No such file or directory");
}

TEST_F(HashFile, UnreadableFileFails) {
  const fs::path file = folder.file("file", "secret");
  test::WatchedSystemCalls system;
  if (geteuid() == 0) {  // Whom no permission stops.
    system.before = [](std::string_view name, std::size_t) { return name == "open" ? EACCES : 0; };
  } else {
    fs::permissions(file, fs::perms::none);
  }
  EXPECT_EQ(outcomeOf(file), "error: Permission denied");
}

TEST_F(HashFile, AnyNameThatTheSystemTakesIsFine) {
  for (const std::string& name : {std::string(255, 'n'), std::string("\xFF\xFE\xC3"), std::string("two\nlines"),
                                  std::string("\u202Egpj.exe"), std::string(" "), std::string("-rf \\ '\"")}) {
    EXPECT_EQ(outcomeOf(folder.file(name, "123456789"), HashAlgorithm::crc32), "cbf43926") << name;
  }
}

TEST_F(HashFile, CancellationComesFirstOfAll) {
  std::stop_source source;
  source.request_stop();
  test::WatchedSystemCalls system;
  EXPECT_THROW(HashService::hashFile("missing", Uuid(), {}, source.get_token(), [](double) {}), CancellationError);
  EXPECT_TRUE(system.names.empty());
}

TEST_F(HashFile, CancellationIsSeenBeforeTheNextChunk) {
  const fs::path file = sparseFile(24 << 20);
  test::WatchedSystemCalls system;
  std::stop_source source;
  std::vector<double> reports;
  const auto stopAtOnce = [&](double done) {
    reports.push_back(done);
    source.request_stop();
  };
  EXPECT_THROW(HashService::hashFile(file, Uuid(), {HashAlgorithm::crc32}, source.get_token(), stopAtOnce),
               CancellationError);
  EXPECT_EQ(reports.size(), 1U);
  EXPECT_EQ(system.bytesRead, HashService::chunkSize);
  EXPECT_EQ(system.stillOpen, 0);
}

TEST_F(HashFile, CancellationIsSeenAfterTheLastChunk) {
  const fs::path file = folder.file("file", "123456789");
  test::WatchedSystemCalls system;
  std::stop_source source;
  system.before = [&](std::string_view name, std::size_t) {
    if (name == "read") source.request_stop();
    return 0;
  };
  EXPECT_EQ(outcomeOf(file, HashAlgorithm::crc32, source.get_token()), "cancelled");
  EXPECT_EQ(system.stillOpen, 0);
}

TEST_F(HashFile, ManyThreadsAtOnceDoNotDisturbEachOther) {
  constexpr std::size_t threads = 4;
  std::vector<fs::path> files;
  std::vector<DigestMap> alone;
  const auto digestsOf = [](const fs::path& file) {
    return HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, [](double) {}).hashes;
  };
  std::vector<std::vector<DigestMap>> together(threads);
  for (unsigned i = 0; i < 5; ++i) {
    files.push_back(folder.file(std::to_string(i), test::randomBytes(std::size_t{100'000} * i, i)));
  }
  {
    std::vector<std::jthread> workers;
    for (std::vector<DigestMap>& digests : together) {
      workers.emplace_back([&] {
        for (const fs::path& file : files) digests.push_back(digestsOf(file));
      });
    }
  }
  // Only now, so that the threads and not this one were the first to ask for each algorithm.
  for (const fs::path& file : files) alone.push_back(digestsOf(file));
  for (const std::vector<DigestMap>& digests : together) EXPECT_EQ(digests, alone);
}

TEST_F(HashFile, ExactChunkIsFilledByShortReads) {
  const std::string content = test::period251(10'000);
  const fs::path file = folder.file("file", content);
  test::WatchedSystemCalls system;
  system.longestRead = 999;
  auto [handle, snapshot] = HashService::openRegularFileForReading(file);
  EXPECT_EQ(snapshot.fileSize, 10'000);

  std::string bytes(6000, '\0');
  const auto space = std::as_writable_bytes(std::span(bytes));
  EXPECT_EQ(HashService::readExactChunk(handle, {}, {}), 0U);
  EXPECT_EQ(HashService::readExactChunk(handle, space, {}), 6000U);
  EXPECT_EQ(bytes, content.substr(0, 6000));
  EXPECT_EQ(HashService::readExactChunk(handle, space, {}), 4000U);
  EXPECT_EQ(bytes.substr(0, 4000), content.substr(6000));
  EXPECT_EQ(HashService::readExactChunk(handle, space, {}), 0U);
}

TEST_F(HashFile, ExactChunkIsCancelledBetweenReads) {
  const fs::path file = folder.file("file", "0123456789");
  test::WatchedSystemCalls system;
  system.longestRead = 4;
  FileHandle handle = HashService::openRegularFileForReading(file).first;
  std::stop_source source;
  source.request_stop();
  std::array<std::byte, 10> bytes{};
  EXPECT_THROW(HashService::readExactChunk(handle, bytes, source.get_token()), CancellationError);
  EXPECT_EQ(HashService::readExactChunk(handle, std::span(bytes).first(4), source.get_token()), 4U);
}

TEST_F(HashFile, OpenThatGivesNoReasonIsAnInvalidArgument) {
  struct : test::WatchedSystemCalls {
    int open(const char*, int, mode_t) override { return -1; }
  } silent;
  EXPECT_EQ(outcomeOf(folder.file("file", "")), "error: Invalid argument");
}

TEST_F(HashFile, ItemThatBecomesAnotherKindBetweenLookAndOpenFails) {
  struct : test::WatchedSystemCalls {
    int open(const char*, int flags, mode_t mode) override { return SystemCalls::open("/dev/null", flags, mode); }
  } swapped;
  EXPECT_EQ(outcomeOf(folder.file("file", "")), test::kNotRegular);
}

}  // namespace
}  // namespace tallyfold
