#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "core/Errors.h"
#include "tests/export/Reports.h"
#include "tests/support/Process.h"
#include "tests/support/Seed.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;
using ManifestService::Format;

const std::string oldReport = "the report of yesterday\n";

std::set<std::string> namesIn(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

mode_t modeOf(const fs::path& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) throw std::system_error(errno, std::system_category());
  return status.st_mode & 07777;
}

/// Does what the real calls do, unless a test puts something else in place, and counts the descriptors left open.
class Calls : public SystemCalls {
 public:
  Calls() { replace(this); }
  ~Calls() override { replace(nullptr); }

  std::function<void()> beforeWrite = [] {};
  std::function<void(const fs::path& source, const fs::path& destination)> beforeRename = [](auto&&...) {};
  const char* file = nullptr;  ///< Opened in place of the file that the program asked for.
  int writes = 0;
  int syncs = 0;
  int descriptors = 0;

  int open(const char* path, int flags, mode_t mode) override {
    const int descriptor =
        file != nullptr ? SystemCalls::open(file, O_WRONLY, 0) : SystemCalls::open(path, flags, mode);
    if (descriptor >= 0) ++descriptors;
    return descriptor;
  }
  ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
    ++writes;
    beforeWrite();
    return SystemCalls::write(descriptor, bytes, count);
  }
  int fsync(int descriptor) override {
    ++syncs;
    return SystemCalls::fsync(descriptor);
  }
  int close(int descriptor) override {
    --descriptors;
    return SystemCalls::close(descriptor);
  }
  int rename(const char* source, const char* destination) override {
    beforeRename(source, destination);
    return SystemCalls::rename(source, destination);
  }
};

class ReportReplacement : public testing::Test {
 protected:
  static void write(const FileHashResults& results, const fs::path& destination,
                    const std::stop_token& cancellation = {}) {
    ManifestService::write(results, Format::plainText, destination, cancellation);
  }

  /// The error number that writing a report ends with, 0 when it does not fail.
  static int errorOf(const FileHashResults& results, const fs::path& destination) {
    try {
      write(results, destination);
      return 0;
    } catch (const std::system_error& error) {
      return error.code().value();
    }
  }

  void expectNothingHappened() {
    EXPECT_EQ(contentOf(report_), oldReport);
    EXPECT_EQ(namesIn(folder_.path()), std::set<std::string>{"report.txt"});
  }

  const FileHashResults few_ = manyResults(2);
  const FileHashResults many_ = manyResults(2'000);  ///< Over 1 MiB as a report.
  TemporaryFolder folder_;
  const fs::path report_ = folder_.file("report.txt", oldReport);
};

TEST_F(ReportReplacement, ReportIsMadeInAPrivateFolderBesideItAndSyncedBeforeItIsRenamed) {
  const fs::path fresh = folder_.path() / "fresh.txt";
  Calls calls;
  int renames = 0;
  calls.beforeRename = [&](const fs::path& source, const fs::path& destination) {
    ++renames;
    EXPECT_EQ(destination, fresh);
    EXPECT_THAT(source.filename(), testing::Property(&fs::path::native, testing::SizeIs(36)));
    EXPECT_THAT(source.parent_path().filename().native(), testing::StartsWith("."));
    EXPECT_EQ(source.parent_path().parent_path(), folder_.path());
    EXPECT_EQ(modeOf(source.parent_path()), mode_t{0700});
    EXPECT_EQ(calls.syncs, 1);
    EXPECT_EQ(calls.descriptors, 0);
  };
  write(few_, fresh);
  EXPECT_EQ(renames, 1);
  EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"fresh.txt", "report.txt"}));
}

TEST_F(ReportReplacement, PermissionsAreThoseOfTheReplacedFileOrOfTheUmask) {
  const mode_t umaskBefore = umask(027);
  write(few_, folder_.path() / "fresh.txt");
  umask(umaskBefore);
  EXPECT_EQ(modeOf(folder_.path() / "fresh.txt"), mode_t{0640});
  for (const mode_t mode : {0600U, 0666U, 0444U}) {
    chmod(report_.c_str(), mode);
    write(few_, report_);
    EXPECT_EQ(modeOf(report_), mode);
  }
}

TEST_F(ReportReplacement, FileBehindSymbolicLinksIsReplacedAndTheLinksStay) {
  fs::create_directory(folder_.path() / "elsewhere");
  const fs::path target = folder_.file("elsewhere/target.txt", oldReport);
  fs::create_symlink("elsewhere/hop", folder_.path() / "relative");
  fs::create_symlink(target, folder_.path() / "elsewhere/hop");
  fs::create_symlink("elsewhere/new.txt", folder_.path() / "dangling");
  fs::create_symlink("loop", folder_.path() / "loop");

  write(few_, folder_.path() / "relative");
  EXPECT_THAT(contentOf(target), testing::StartsWith("MD5  "));
  write(few_, folder_.path() / "dangling");
  EXPECT_EQ(contentOf(folder_.path() / "elsewhere/new.txt"), contentOf(target));
  EXPECT_EQ(errorOf(few_, folder_.path() / "loop"), ELOOP);
  for (const char* link : {"relative", "elsewhere/hop", "dangling", "loop"}) {
    EXPECT_TRUE(fs::is_symlink(folder_.path() / link)) << link;
  }
  EXPECT_EQ(namesIn(folder_.path()),
            (std::set<std::string>{"dangling", "elsewhere", "loop", "relative", "report.txt"}));
  EXPECT_EQ(namesIn(folder_.path() / "elsewhere"), (std::set<std::string>{"hop", "new.txt", "target.txt"}));
}

TEST_F(ReportReplacement, AsManyLinksAreFollowedAsTheSystemFollows) {
  const auto link = [&](int number) { return folder_.path() / ("link " + std::to_string(number)); };
  for (int i = 1; i <= 41; ++i) fs::create_symlink(i == 1 ? report_ : link(i - 1), link(i));
  EXPECT_EQ(contentOf(link(40)), oldReport);
  write(few_, link(40));
  EXPECT_THAT(contentOf(report_), testing::StartsWith("MD5  "));
  EXPECT_THROW(write(few_, link(41)), std::system_error);
  EXPECT_TRUE(fs::is_symlink(link(41)));
  EXPECT_EQ(open(link(41).c_str(), O_RDONLY | O_CLOEXEC), -1);
  EXPECT_EQ(errno, ELOOP);
}

TEST_F(ReportReplacement, FullDiskLeavesTheOldReport) {
  Calls calls;
  calls.file = "/dev/full";
  EXPECT_EQ(errorOf(few_, report_), ENOSPC);
  EXPECT_EQ(errorOf(many_, report_), ENOSPC);
  expectNothingHappened();
  EXPECT_EQ(calls.descriptors, 0);
}

TEST_F(ReportReplacement, VanishedFolderIsNotMadeAgain) {
  const fs::path gone = folder_.path() / "gone";
  EXPECT_EQ(errorOf(few_, gone / "report.txt"), ENOENT);
  EXPECT_FALSE(fs::exists(gone));

  fs::create_directory(gone);
  Calls calls;
  calls.beforeWrite = [&] { fs::remove_all(gone); };
  EXPECT_EQ(errorOf(few_, gone / "report.txt"), ENOENT);
  EXPECT_FALSE(fs::exists(gone));
  EXPECT_EQ(calls.writes, 1);
  EXPECT_EQ(calls.descriptors, 0);
}

TEST_F(ReportReplacement, FolderIsNotReplaced) {
  const fs::path destination = folder_.path() / "folder";
  for (const char* const kept : {"", "folder/kept"}) {
    fs::create_directory(destination);
    if (*kept != '\0') folder_.file(kept, "kept");
    EXPECT_NE(errorOf(few_, destination), 0);
    EXPECT_TRUE(fs::is_directory(destination));
    EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"folder", "report.txt"}));
  }
  EXPECT_EQ(contentOf(destination / "kept"), "kept");
}

TEST_F(ReportReplacement, CancellationAtAnyTimeLeavesTheOldReport) {
  std::stop_source before;
  before.request_stop();
  for (const FileHashResults& results : {many_, few_, {}}) {
    EXPECT_THROW(write(results, report_, before.get_token()), CancellationError);
    expectNothingHappened();
  }
  // After the first write of several, and after the only one.
  for (const FileHashResults& results : {many_, few_}) {
    Calls calls;
    std::stop_source during;
    calls.beforeWrite = [&] { during.request_stop(); };
    EXPECT_THROW(write(results, report_, during.get_token()), CancellationError);
    expectNothingHappened();
    EXPECT_EQ(calls.writes, 1);
    EXPECT_EQ(calls.descriptors, 0);
  }
}

TEST_F(ReportReplacement, DeviceWithoutADiskTakesAReport) {
  EXPECT_NO_THROW(ManifestService::writeContents(few_, Format::json, FileHandle::open("/dev/null", O_WRONLY), {}));
}

TEST_F(ReportReplacement, ProcessKilledAtAnyMomentLeavesAWholeReport) {
  // Another format and another length each time; one of the names is a link.
  struct Report {
    const FileHashResults& results;
    Format format;
    fs::path destination;
    std::string text;
  };
  const fs::path link = folder_.path() / "link";
  fs::create_symlink("report.txt", link);
  std::vector<Report> reports{
      {many_, Format::csv, link, ""}, {many_, Format::json, report_, ""}, {few_, Format::plainText, link, ""}};
  const auto begin = std::chrono::steady_clock::now();
  for (Report& report : reports) {
    ManifestService::write(report.results, report.format, report.destination, {});
    report.text = contentOf(report_);
  }
  const auto usual = (std::chrono::steady_clock::now() - begin) / 2;

  std::mt19937 random(seedOfThisRun());
  std::map<std::string, int> found;
  std::size_t last = reports.size() - 1;
  for (int round = 0; round < roundsOfThisRun(30); ++round) {
    const std::string before = contentOf(report_);
    const Report& report = reports[(last + 1 + random() % 2) % reports.size()];
    const auto moment =
        std::chrono::steady_clock::now() + usual * (random() % 1000) / (random() % 2 == 0 ? 1'000 : 10'000);
    ForkedProcess exporter([&] { ManifestService::write(report.results, report.format, report.destination, {}); });
    while (std::chrono::steady_clock::now() < moment) {
    }
    const bool isKilled = exporter.kill() == SIGKILL;

    const std::string after = contentOf(report_);
    ASSERT_TRUE(after == before || after == report.text) << after.size() << " bytes of no report";
    EXPECT_TRUE(isKilled || after == report.text);
    EXPECT_TRUE(fs::is_symlink(link));
    // What a killed process leaves behind is its one private folder, which nothing mistakes for a report.
    std::set<std::string> left = namesIn(folder_.path());
    left.erase("link");
    left.erase("report.txt");
    ASSERT_LE(left.size(), isKilled ? 1U : 0U);
    std::string state = "no folder";
    for (const std::string& name : left) {
      EXPECT_THAT(name, testing::StartsWith(".tallyfold-"));
      EXPECT_EQ(modeOf(folder_.path() / name), mode_t{0700});
      const std::set<std::string> files = namesIn(folder_.path() / name);
      ASSERT_LE(files.size(), 1U);
      state = files.empty() ? "empty folder" : "folder with a part of a report";
      if (!files.empty() && contentOf(folder_.path() / name / *files.begin()) == report.text) {
        state = "folder with a whole report";
      }
    }
    ++found[(isKilled ? "killed: " : "ended: ") + state + (after == before ? ", old report" : ", new report")];

    // A fork has the random names that are next here.
    Uuid::random();
    Uuid::random();
    last = random() % reports.size();
    const Report& next = reports[last];
    ManifestService::write(next.results, next.format, next.destination, {});
    ASSERT_EQ(contentOf(report_), next.text);
    for (const std::string& name : left) fs::remove_all(folder_.path() / name);
  }
  for (const auto& [state, count] : found) std::cout << count << " " << state << '\n';
}

}  // namespace

}  // namespace tallyfold::test
