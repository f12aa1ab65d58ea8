#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <thread>

#include "core/Errors.h"
#include "tests/export/Reports.h"

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
  const char* file = nullptr;               ///< Opened in place of the file that the program asked for.
  std::map<std::string_view, int> failing;  ///< Error numbers of the calls that fail.
  int writes = 0;
  int syncs = 0;
  int descriptors = 0;

  int open(const char* path, int flags, mode_t mode) override {
    if (fails("open")) return -1;
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
    return fails("fsync") ? -1 : SystemCalls::fsync(descriptor);
  }
  int close(int descriptor) override {
    --descriptors;
    const int result = SystemCalls::close(descriptor);
    return fails("close") ? -1 : result;
  }
  int rename(const char* source, const char* destination) override {
    beforeRename(source, destination);
    return fails("rename") ? -1 : SystemCalls::rename(source, destination);
  }

 private:
  bool fails(std::string_view call) {
    if (!failing.contains(call)) return false;
    errno = failing[call];
    return true;
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

TEST_F(ReportReplacement, FailuresOfTheSystemLeaveTheOldReport) {
  Calls calls;
  calls.file = "/dev/full";
  EXPECT_EQ(errorOf(few_, report_), ENOSPC);
  EXPECT_EQ(errorOf(many_, report_), ENOSPC);
  expectNothingHappened();
  calls.file = nullptr;
  for (const auto& [call, error] : {std::pair{"fsync", EIO}, {"close", EDQUOT}, {"rename", EXDEV}}) {
    calls.failing = {{call, error}};
    EXPECT_EQ(errorOf(few_, report_), error) << call;
    expectNothingHappened();
  }
  EXPECT_EQ(calls.descriptors, 0);
  calls.failing = {{"open", EACCES}};
  EXPECT_THAT([&] { write(few_, report_); },
              testing::ThrowsMessage<ManifestServiceError>("The report could not be written."));
  expectNothingHappened();
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

TEST_F(ReportReplacement, ReadersSeeOnlyWholeReports) {
  const fs::path path = folder_.path() / "shared.txt";
  const FileHashResults shorter = manyResults(500);
  write(many_, path);
  const std::string longText = contentOf(path);
  write(shorter, path);
  const std::string shortText = contentOf(path);

  std::atomic<bool> done = false;
  std::atomic<int> reads = 0;
  int mixtures = 0;
  std::set<std::size_t> seen;
  std::jthread reader([&] {
    while (!done) {
      const std::string text = contentOf(path);
      if (text != longText && text != shortText) ++mixtures;
      seen.insert(text.size());
      ++reads;
    }
  });
  for (int i = 0; i < 20; ++i) {
    write(i % 2 == 0 ? many_ : shorter, path);
    // The second read to end from now on has begun from now on.
    const int readsBefore = reads;
    while (reads < readsBefore + 2) std::this_thread::yield();
  }
  done = true;
  reader.join();
  EXPECT_EQ(mixtures, 0);
  EXPECT_EQ(seen, (std::set<std::size_t>{shortText.size(), longText.size()}));
}

}  // namespace

}  // namespace tallyfold::test
