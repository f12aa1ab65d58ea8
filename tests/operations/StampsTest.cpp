// What the times of a file tell: every operation that reads files waits until the next change of a file would show.

#include <ctime>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestVerification.h"
#include "core/Errors.h"
#include "core/FileComparison.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {
namespace {

using namespace ChecksumManifestService;
using Stamp = std::pair<std::int64_t, std::int64_t>;

Stamp clockOfFiles() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return {now.tv_sec, now.tv_nsec};
}

Stamp lastChangeOf(const std::filesystem::path& file) {
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

TEST(Stamps, NothingIsReadBeforeTheNextChangeWouldShow) {
  const TemporaryFolder folder;
  const std::string line = std::string(64, '0') + "  a\n";
  const std::filesystem::path a = folder.file("a", line);
  const std::filesystem::path b = folder.file("b", line);
  const std::pair<const char*, std::function<void(const std::stop_token&)>> operations[]{
      {"hash", [&](auto& token) { HashService::hashFile(a, Uuid(), HashAlgorithmSet::all(), token, [](double) {}); }},
      {"compare", [&](auto& token) { HashService::compareFiles(a, b, token, [](double) {}); }},
      {"load", [&](auto& token) { load(a, token); }},
      {"verify",
       [&](auto& token) {
         ManifestVerification verification(folder.path(), captureRootIdentity(folder.path(), {}));
         verification.verify({"a", {{Uuid(), 1, "a", HashAlgorithm::sha256, ""}}}, token);
       }},
  };
  Stamps system;
  for (const auto& [name, work] : operations) {
    SCOPED_TRACE(name);
    constexpr int tries = 5;
    system.areWholeSeconds = false;
    for (int i = 0; i < tries; ++i) {
      folder.file("a", line);
      Stamp firstRead;
      system.before = [&](std::string_view call, std::size_t) {
        if (call == "read" && firstRead == Stamp()) firstRead = clockOfFiles();
        return 0;
      };
      work({});
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
      EXPECT_THROW(work(source.get_token()), CancellationError);
      EXPECT_EQ(std::ranges::count(system.names, "read"), 0);
      wasCancelledInTime = clockOfFiles().first == lastChangeOf(a).first;
    }
    EXPECT_TRUE(wasCancelledInTime);
  }
}

TEST(Stamps, SecondIsWaitedForWhereThereIsNothingFiner) {
  FileSnapshot changed;
  changed.changedSeconds = clockOfFiles().first;
  waitUntilChangesShow(changed, {});
  EXPECT_GT(clockOfFiles().first, changed.changedSeconds);
}

}  // namespace
}  // namespace tallyfold::test
