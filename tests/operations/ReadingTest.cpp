// What all operations that read files have in common.

#include <ctime>

#include "tests/operations/Operations.h"
#include "tests/support/PeakMemory.h"

namespace tallyfold::test {
namespace {

TEST(Reading, ContentWithoutASizeIsNoVersionOfAFile) {
  for (const Reading& reading : {kHash, kComparison, kListLoad, kVerification}) {
    EXPECT_THAT(reading.outcome("/proc/sys/kernel/ostype", "/proc/sys/kernel/osrelease", {}), kIsChanged)
        << reading.name;
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

TEST(Reading, WhatIsNoFileIsNotOpened) {
  const TemporaryFolder folder;
  const fs::path& top = folder.path();
  makePipe(top / "pipe");
  ASSERT_EQ(mknod((top / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
  fs::create_symlink("pipe", top / "link to pipe");
  fs::create_symlink("nowhere", top / "dangling");
  fs::create_symlink("circle", top / "circle");
  const fs::path file = folder.file("file", "");
  fs::permissions(folder.file("unreadable", "secret"), fs::perms::none);
  const std::pair<fs::path, std::string> items[]{
      {top, kNotRegular},
      {top / "pipe", kNotRegular},
      {top / "socket", kNotRegular},
      {top / "link to pipe", kNotRegular},
      {"/dev/null", kNotRegular},
      {"/dev/zero", kNotRegular},
      {"", kMissing},
      {top / "missing", kMissing},
      {top / "dangling", kMissing},
      {top / "circle", kCircle},
      {file / "below", kNotAFolder},
      {top / std::string(256, 'x'), kTooLong},
      {top / "file\0"s, "error: Invalid argument"},
      {top / "unreadable", "error: Permission denied"},
  };
  for (const auto& [item, told] : items) {
    const bool isSecret = item.filename() == "unreadable";
    WatchedSystemCalls system;
    // No permission stops root.
    system.before = [=](std::string_view call, std::size_t) { return isSecret && call == "open" ? EACCES : 0; };
    EXPECT_EQ(kHash.outcome(item, file, {}), told) << item;
    EXPECT_EQ(kComparison.outcome(item, top / "link to pipe", {}), told) << item;
    const bool isNoList = told == kNotRegular;
    EXPECT_EQ(kListLoad.outcome(item, file, {}),
              isNoList ? "error: The selected checksum item is not a regular file." : told)
        << item;
    EXPECT_EQ(std::ranges::count(system.names, "open"), isSecret ? 3 : 0) << item;
    EXPECT_EQ(kComparison.outcome(file, item, {}), told) << item;
    EXPECT_EQ(system.stillOpen, 0) << item;
  }
}

using Stamp = std::pair<std::int64_t, std::int64_t>;

Stamp clockOfFiles() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return {now.tv_sec, now.tv_nsec};
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
  fs::create_directory(folder.path() / "files");
  const fs::path b = folder.file("files/b", line);
  Stamps system;
  for (const Reading& reading : {kHash, kComparison, kListLoad, kVerification}) {
    SCOPED_TRACE(reading.name);
    constexpr int tries = 5;
    bool wasCancelledInTime = false;
    for (int i = 0; i < 2 * tries && !wasCancelledInTime; ++i) {
      system.areWholeSeconds = i >= tries;
      const fs::path a = folder.file("files/a", line);
      const FileSnapshot written = snapshotOfPath(a);
      Stamp firstRead;
      std::stop_source source;
      system.names.clear();
      system.before = [&](std::string_view call, std::size_t) {
        if (call == "read" && firstRead == Stamp()) firstRead = clockOfFiles();
        if (call == "fstat" && system.areWholeSeconds) source.request_stop();
        return 0;
      };
      const std::string outcome = reading.outcome(a, b, source.get_token());
      if (system.areWholeSeconds) {
        EXPECT_EQ(outcome, "cancelled");
        EXPECT_EQ(firstRead, Stamp());
        wasCancelledInTime = clockOfFiles().first == written.changedSeconds;
      } else {
        EXPECT_THAT(outcome, Not(StartsWith("error")));
        EXPECT_GT(firstRead, Stamp(written.changedSeconds, written.changedNanoseconds));
      }
    }
    EXPECT_TRUE(wasCancelledInTime);
  }
  FileSnapshot changed;
  changed.changedSeconds = clockOfFiles().first;
  waitUntilChangesShow(changed, {});
  EXPECT_GT(clockOfFiles().first, changed.changedSeconds);
  const auto now = clockOfFiles().first;
  for (const std::int64_t ahead : {std::int64_t{3600}, std::numeric_limits<std::int64_t>::max() / 2}) {
    changed.changedSeconds = now + ahead;
    for (int i = 0; i < 500; ++i) waitUntilChangesShow(changed, {});
  }
  EXPECT_LT(clockOfFiles().first, now + 5) << "or a queue with times from the future would take minutes";
}

// Of what is resident: many small pieces of memory come and go between those that stay.
TEST(PeakMemory, OfAVerificationDoesNotGrowOnceTheCacheIsFull) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "here memory is also that of the sanitizer";
#endif
  constexpr int capacity = 4096;
  const TemporaryFolder folder;
  for (int i = 0; i < 3 * capacity; ++i) folder.file("file " + std::to_string(i), "");
  ManifestVerification verification(folder.path(), ChecksumManifestService::captureRootIdentity(folder.path(), {}));
  const auto expectPeak = [&](double most, int first, int end) {
    resetPeakMemory();
    const double before = peakMemory();
    for (int i = first; i < end; ++i) {
      const ChecksumManifestEntry entry{Uuid(), 1, "file " + std::to_string(i), HashAlgorithm::crc32, ""};
      const auto outcome = verification.verify({entry.relativePath, {entry}}, {});
      ASSERT_TRUE(std::holds_alternative<DigestMap>(outcome)) << std::get<ManifestGroupFailure>(outcome).sentence;
    }
    EXPECT_LE(peakMemory() - before, most) << "MiB";
  };
  expectPeak(100, 0, 1);  // With what the first of all needs.
  expectPeak(4, 1, capacity);
  expectPeak(0.5, capacity, 3 * capacity);
}

// A file changes right before the k-th system call, for every k. Whatever happens, the outcome is that of exactly the
// old content, or of exactly the new one, or an error: never of a mixture.

struct Change {
  const char* name;
  /// It is seen from so many calls behind the first look on: the next opens the file, and the one after looks at it.
  std::size_t isSeenFrom;
  bool isInPlace;  ///< So that the last look at the path does not see it.
  void (*make)(const fs::path& file, const fs::path& fresh);
};

/// A list with another checksum in every line.
std::string otherThan(const fs::path& list) {
  std::string content = contentOf(list);
  std::ranges::replace(content, 'a', 'b');
  return content;
}

void writeTo(const fs::path& path, std::ios::openmode mode, const std::string& content) {
  std::ofstream(path, mode | std::ios::binary) << content;
}

const std::array<Change, 7> kChanges{{
    {"Append", 3, true, [](auto& file, auto&) { writeTo(file, std::ios::app, "more"); }},
    {"Truncation", 3, true, [](auto& file, auto&) { fs::resize_file(file, 5'000); }},
    {"RewriteWithTheSameSizeAndTime", 3, true,
     [](auto& file, auto&) {
       const auto time = fs::last_write_time(file);
       writeTo(file, std::ios::in | std::ios::out, otherThan(file));
       fs::last_write_time(file, time);
     }},
    {"Replacement", 1, false,
     [](auto& file, auto& fresh) {
       writeTo(fresh, std::ios::out, otherThan(file));
       fs::rename(fresh, file);
     }},
    {"Link", 2, false,
     [](auto& file, auto& fresh) {
       writeTo(fresh, std::ios::out, otherThan(file));
       fs::remove(file);
       fs::create_symlink(fresh, file);
     }},
    {"Removal", 2, false, [](auto& file, auto&) { fs::remove(file); }},
    {"Pipe", 2, false, [](auto& file, auto&) { fs::remove(file), makePipe(file); }},
}};

void PrintTo(const Change& change, std::ostream* stream) { *stream << change.name; }

/// A reading and the one of its files that changes.
struct Changed {
  Reading reading;
  const char* end = "";  ///< Of the other file.
  const char* file = "a";
  const char* look = "stat";    ///< The call that looks at this file,
  std::ptrdiff_t first = 1;     ///< for the first time when it is made so often,
  std::ptrdiff_t lastBack = 1;  ///< and for the last, counted from the end.
  int lines = 250;
};

void PrintTo(const Changed& changed, std::ostream* stream) { *stream << changed.reading.name; }

class Stability : public testing::TestWithParam<std::tuple<Changed, Change>> {};

TEST_P(Stability, NeverTheOutcomeOfAMixture) {
  const auto& [changed, change] = GetParam();
  std::string list;
  for (int i = 0; i < changed.lines; ++i) list += std::string(32, 'a') + "  " + std::to_string(100'000 + i) + "\n";
  std::vector<std::string_view> calls;
  /// Of new files, of which one is changed right before a call; before all calls when that is 0.
  const auto outcomeWhenChangedBefore = [&, &changed = changed, &change = change](std::size_t moment) {
    const TemporaryFolder folder;
    const fs::path files = fs::canonical(folder.path()) / "files";
    fs::create_directory(files);
    folder.file("files/a", list);
    folder.file("files/b", list + changed.end);
    const auto make = [&] { change.make(files / changed.file, files / "fresh"); };
    if (moment == 0) make();
    WatchedSystemCalls system;
    system.longestRead = list.size() / 3 + 1;
    system.before = [&](std::string_view, std::size_t number) { return number == moment ? make(), 0 : 0; };
    std::string outcome = changed.reading.outcome(files / "a", files / "b", {});
    EXPECT_EQ(system.stillOpen, 0) << moment;
    calls = system.names;
    return outcome;
  };
  const std::string after = outcomeWhenChangedBefore(0);
  const std::string before = outcomeWhenChangedBefore(1000);
  const std::vector<std::string_view> undisturbed = calls;
  std::vector<std::size_t> looks;
  for (std::size_t call = 1; call <= undisturbed.size(); ++call) {
    if (undisturbed[call - 1] == changed.look) looks.push_back(call);
  }
  const std::size_t first = looks.at(static_cast<std::size_t>(changed.first - 1));
  const std::size_t last = looks.at(looks.size() - static_cast<std::size_t>(changed.lastBack));
  EXPECT_GT(last, first + 3);

  for (std::size_t moment = 1; moment <= undisturbed.size(); ++moment) {
    SCOPED_TRACE("changed before call " + std::to_string(moment) + ", a " + std::string(undisturbed[moment - 1]));
    const std::string outcome = outcomeWhenChangedBefore(moment);
    if (moment <= first) {
      EXPECT_EQ(outcome, after);
    } else if (moment > last) {
      EXPECT_EQ(outcome, before);
    } else if (moment >= first + change.isSeenFrom && (moment < last || !change.isInPlace)) {
      // What opens the file again finds what is there by then.
      const bool mayBeNew = changed.reading.comesBack && !change.isInPlace;
      EXPECT_THAT(outcome, AnyOf(kIsChanged, mayBeNew ? after : "changed"));
    } else {
      EXPECT_THAT(outcome, AnyOf(before, after, kIsChanged));
    }
  }
}

std::string nameOf(const testing::TestParamInfo<std::tuple<Changed, Change>>& test) {
  const auto& [changed, change] = test.param;
  return changed.reading.name + "Of"s + changed.file + changed.end + change.name;
}

INSTANTIATE_TEST_SUITE_P(
    Of, Stability,
    testing::Combine(testing::Values(Changed{kHash}, Changed{kHashInPieces, "", "a", "stat", 1, 1, 60'000},
                                     Changed{kListLoad}, Changed{kVerification, "", "a", "fstatat"},
                                     Changed{kComparison, "", "a", "stat", 1, 2},
                                     Changed{kComparison, "", "b", "stat", 2, 1},
                                     Changed{kComparison, "more", "a", "stat", 1, 2},
                                     Changed{kComparison, "more", "b", "stat", 2, 1},
                                     Changed{kWholeComparison, "more", "a", "stat", 1, 2},
                                     Changed{kWholeComparison, "more", "b", "stat", 2, 1}),
                     testing::ValuesIn(kChanges)),
    nameOf);

}  // namespace
}  // namespace tallyfold::test
