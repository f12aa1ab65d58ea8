// What all operations that read files have in common.

#include <ctime>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestVerification.h"
#include "core/base/Errors.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {
namespace {

using namespace ChecksumManifestService;
namespace fs = std::filesystem;

struct Operation {
  const char* name;
  std::function<std::string(const std::stop_token&)> outcome;
};

/// On the file `a` in `folder`, and one also on the file `b`.
std::vector<Operation> operationsOn(const fs::path& folder, const char* a, const char* b) {
  return {
      {"hash", [=](auto& token) { return outcomeOf(folder / a, HashAlgorithm::sha256, token); }},
      {"compare", [=](auto& token) { return outcomeOfComparison(folder / a, folder / b, token); }},
      {"load",
       [=](auto& token) -> std::string {
         try {
           return std::to_string(load(folder / a, token).entries.size()) + " entries";
         } catch (const CancellationError&) {
           return "cancelled";
         } catch (const std::exception& error) {
           return std::string("error: ") + error.what();
         }
       }},
      {"verify",
       [=](auto& token) -> std::string {
         ManifestVerification verification(folder, captureRootIdentity(folder, {}));
         const ChecksumManifestEntry entry{Uuid(), 1, a, HashAlgorithm::sha256, ""};
         try {
           const auto outcome = verification.verify({entry.relativePath, {entry}}, token);
           const auto* const sentence = std::get_if<std::string>(&outcome);
           return sentence != nullptr ? "error: " + *sentence : "digests";
         } catch (const CancellationError&) {
           return "cancelled";
         }
       }},
  };
}

TEST(Reading, ContentWithoutASizeIsNoVersionOfAFile) {
  for (const Operation& operation : operationsOn("/proc/sys/kernel", "ostype", "osrelease")) {
    EXPECT_THAT(operation.outcome({}), testing::MatchesRegex("error: The .*file changed while it was being read.*"))
        << operation.name;
  }
  EXPECT_EQ(outcomeOfComparison("/proc/version", "/proc/version"), "identical") << "is not read";
  const TemporaryFolder folder;
  const fs::path empty = folder.file("empty", "");
  EXPECT_EQ(outcomeOfComparison(empty, "/proc/version"), kChanged);
  EXPECT_EQ(outcomeOfComparison("/proc/version", empty), kChanged);
  WatchedSystemCalls system;
  system.before = [](std::string_view call, std::size_t) { return call == "read" ? EIO : 0; };
  EXPECT_EQ(outcomeOf(empty), "error: Input/output error") << "is not the end of the file";
}

using Stamp = std::pair<std::int64_t, std::int64_t>;

Stamp clockOfFiles() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return {now.tv_sec, now.tv_nsec};
}

Stamp lastChangeOf(const fs::path& file) {
  struct stat status {};
  stat(file.c_str(), &status);
  return {status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

/// A file system that may keep no more than the seconds of a change.
struct Stamps : WatchedSystemCalls {
  int fstat(int descriptor, struct stat* status) override {
    const int result = WatchedSystemCalls::fstat(descriptor, status);
    if (areWholeSeconds) status->st_ctim.tv_nsec = 0;
    return result;
  }
  int stat(const char* path, struct stat* status) override {
    const int result = WatchedSystemCalls::stat(path, status);
    if (areWholeSeconds) status->st_ctim.tv_nsec = 0;
    return result;
  }
  bool areWholeSeconds = false;
};

TEST(Reading, WaitsUntilTheNextChangeWouldShow) {
  const TemporaryFolder folder;
  const std::string line = std::string(64, '0') + "  a\n";
  const fs::path a = folder.file("a", line);
  folder.file("b", line);
  Stamps system;
  for (const Operation& operation : operationsOn(folder.path(), "a", "b")) {
    SCOPED_TRACE(operation.name);
    constexpr int tries = 5;
    system.areWholeSeconds = false;
    for (int i = 0; i < tries; ++i) {
      folder.file("a", line);
      Stamp firstRead;
      system.before = [&](std::string_view call, std::size_t) {
        if (call == "read" && firstRead == Stamp()) firstRead = clockOfFiles();
        return 0;
      };
      EXPECT_THAT(operation.outcome({}), testing::Not(testing::StartsWith("error")));
      EXPECT_GT(firstRead, lastChangeOf(a));
    }

    system.areWholeSeconds = true;
    bool wasCancelledInTime = false;
    for (int i = 0; i < tries && !wasCancelledInTime; ++i) {
      folder.file("a", line);
      std::stop_source source;
      system.names.clear();
      system.before = [&](std::string_view call, std::size_t) {
        if (call == "fstat") source.request_stop();
        return 0;
      };
      EXPECT_EQ(operation.outcome(source.get_token()), "cancelled");
      EXPECT_EQ(std::ranges::count(system.names, "read"), 0);
      wasCancelledInTime = clockOfFiles().first == lastChangeOf(a).first;
    }
    EXPECT_TRUE(wasCancelledInTime);
  }
  FileSnapshot changed;
  changed.changedSeconds = clockOfFiles().first;
  waitUntilChangesShow(changed, {});
  EXPECT_GT(clockOfFiles().first, changed.changedSeconds);
}

}  // namespace
}  // namespace tallyfold::test
