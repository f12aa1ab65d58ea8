#include <csignal>
#include <sys/wait.h>

#include "tests/export/ExportTest.h"

namespace tallyfold::test {
namespace {

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

/// A report of yesterday, alone in its folder.
class ReportReplacement : public testing::Test {
 protected:
  static void write(const FileHashResults& results, const fs::path& destination) {
    ManifestService::write(results, Format::plainText, destination, {});
  }

  std::string outcomeOfWriting(const fs::path& destination) {
    return attempted([&] { write(few_, destination); });
  }

  const FileHashResults few_ = manyResults(2);
  TemporaryFolder folder_;
  const fs::path report_ = folder_.file("report.txt", oldReport);
};

TEST_F(ReportReplacement, ReportIsMadeInAPrivateFolderBesideItAndSyncedBeforeItIsRenamed) {
  WatchedSystemCalls calls;
  int renames = 0;
  calls.before = [&](std::string_view call, std::size_t) {
    if (call != "renameat") return 0;
    ++renames;
    std::set<std::string> names = namesIn(folder_.path());
    names.erase("report.txt");
    EXPECT_THAT(names, ElementsAre(StartsWith(".tallyfold-")));
    const fs::path privateFolder = folder_.path() / *names.begin();
    EXPECT_EQ(modeOf(privateFolder), mode_t{0700});
    EXPECT_THAT(namesIn(privateFolder), ElementsAre(testing::SizeIs(36)));
    EXPECT_THAT(calls.names, Contains("fsync"));
    EXPECT_EQ(calls.stillOpen, 2) << "the two folders";
    return 0;
  };
  write(few_, folder_.path() / "fresh.txt");
  EXPECT_EQ(renames, 1);
  EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"fresh.txt", "report.txt"}));
}

TEST_F(ReportReplacement, WhatAKilledExportLeftIsRemovedByTheNextIfItIsCertainlyOurs) {
  const auto left = [&](const std::string& digits) {
    return ".tallyfold-" + digits + "aaaa-bbbb-4ccc-8ddd-eeeeeeeeeeee";
  };
  const std::string file = "00000000-1111-4222-8333-444444444444";
  const std::string other = "00000000-1111-4222-8333-555555555555";
  const fs::path victim = folder_.file("victim", "kept");
  fs::create_directories(folder_.path() / "elsewhere");
  folder_.file("elsewhere/" + file, "kept");
  struct Case {
    const char* situation;
    std::string name;
    bool isRemoved;
    std::function<void(const fs::path&)> make = [](auto&) {};
  };
  const auto write = [](const fs::path& path) { std::ofstream(path) << "part of a report"; };
  std::optional<FolderHandle> lock;
  std::vector<Case> cases{
      {"empty", left("0000"), true},
      {"with a report", left("0001"), true, [&](const fs::path& path) { write(path / file); }},
      {"with another name", left("0002"), false, [&](const fs::path& path) { write(path / "my file"); }},
      {"with more", left("0003"), false, [&](const fs::path& path) { write(path / file), write(path / other); }},
      {"with a link", left("0004"), false, [&](const fs::path& path) { fs::create_symlink(victim, path / file); }},
      {"with a folder", left("0005"), false, [&](const fs::path& path) { fs::create_directory(path / file); }},
      {"that others may read", left("0006"), false, [](const fs::path& path) { chmod(path.c_str(), 0750); }},
      {"with a name of no such form", ".tallyfold-my-things", false},
      {"in use", left("0007"), false,
       [&](const fs::path& path) {
         lock = FolderHandle::open(path).openFolder(".");
         ASSERT_TRUE(lock->tryLock());
       }},
      {"behind a link", left("0008"), false,
       [&](const fs::path& path) {
         fs::remove(path);
         chmod((folder_.path() / "elsewhere").c_str(), 0700);
         fs::create_directory_symlink("elsewhere", path);
       }},
  };
  if (geteuid() == 0) {
    cases.push_back({"of another user", left("0009"), false,
                     [](const fs::path& path) { EXPECT_EQ(chown(path.c_str(), 12'345, getegid()), 0); }});
    cases.push_back({"with another user's file", left("0010"), false, [&](const fs::path& path) {
                       write(path / file);
                       EXPECT_EQ(chown((path / file).c_str(), 12'345, getegid()), 0);
                     }});
  }
  std::map<std::string, std::set<std::string>> before;
  for (const Case& now : cases) {
    const fs::path path = folder_.path() / now.name;
    fs::create_directory(path);
    chmod(path.c_str(), 0700);
    now.make(path);
    before[now.name] = namesIn(path);
  }
  ReportReplacement::write(few_, report_);
  for (const Case& now : cases) {
    const bool isThere = fs::symlink_status(folder_.path() / now.name).type() != fs::file_type::not_found;
    EXPECT_EQ(isThere, !now.isRemoved) << now.situation;
    if (!isThere) continue;
    EXPECT_EQ(namesIn(folder_.path() / now.name), before[now.name]) << now.situation;
  }
  EXPECT_EQ(contentOf(victim), "kept");
  EXPECT_EQ(contentOf(folder_.path() / "elsewhere" / file), "kept");
}

TEST_F(ReportReplacement, OfWhatKilledExportsLeftAThousandFoldersAreRemovedAtOnce) {
  for (int i = 0; i <= 1000; ++i) {
    ASSERT_EQ(mkdir((folder_.path() / (".tallyfold-" + Uuid::random().string())).c_str(), 0700), 0);
  }
  write(few_, report_);
  EXPECT_EQ(namesIn(folder_.path()).size(), 2) << "with the report";
}

TEST_F(ReportReplacement, FolderThatAnotherExportTakesForAbandonedIsMadeAgain) {
  for (const bool isStillLocked : {true, false}) {
    bool isTaken = false;
    std::optional<FolderHandle> lock;
    WatchedSystemCalls calls;
    calls.before = [&](std::string_view call, std::size_t) {
      if (call != "flock" || std::exchange(isTaken, true)) return 0;
      for (const std::string& name : namesIn(folder_.path())) {
        if (name == "report.txt") continue;
        lock = FolderHandle::open(folder_.path()).openFolder(name);
        EXPECT_TRUE(lock->tryLock());
        if (!isStillLocked) lock.reset(), fs::remove(folder_.path() / name);
      }
      return 0;
    };
    write(few_, report_);
    EXPECT_EQ(std::ranges::count(calls.names, "mkdirat"), 2);
    EXPECT_EQ(namesIn(folder_.path()), std::set<std::string>{"report.txt"});
  }
}

TEST_F(ReportReplacement, FolderThatVanishesIsNotMadeAgain) {
  const fs::path gone = folder_.path() / "gone";
  fs::create_directory(gone);
  bool isGone = false;
  WatchedSystemCalls calls;
  calls.before = [&](std::string_view call, std::size_t) {
    if (call != "write") return 0;
    // Each name once: on FUSE, what is removed while it is open gets another name, and its folder never gets empty.
    std::vector<fs::path> names{gone};
    for (const auto& entry : fs::recursive_directory_iterator(gone)) names.push_back(entry.path());
    for (std::error_code kept; !names.empty(); names.pop_back()) isGone = fs::remove(names.back(), kept);
    return 0;
  };
  EXPECT_EQ(outcomeOfWriting(gone / "report.txt"), kMissing);
  EXPECT_FALSE(fs::exists(gone / "report.txt"));
  EXPECT_NE(fs::exists(gone), isGone);
  EXPECT_EQ(calls.stillOpen, 0);
}

TEST_F(ReportReplacement, WhatIsNoFileIsRefused) {
  const fs::path& top = folder_.path();
  fs::create_directory(top / "empty");
  fs::create_directory(top / "folder");
  folder_.file("folder/kept", "kept");
  makePipe(top / "pipe");
  ASSERT_EQ(mknod((top / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
  const std::set<std::string> before = namesIn(top);
  const std::string isNoFile = "error: What has this name is not a file. Choose another name.";
  for (const auto& [name, outcome] : {std::pair("empty", "error: Is a directory"s),
                                      {"folder", "error: Is a directory"},
                                      {"pipe", isNoFile},
                                      {"socket", isNoFile},
                                      {"missing/report.txt", kMissing}}) {
    EXPECT_EQ(outcomeOfWriting(top / name), outcome) << name;
    EXPECT_EQ(namesIn(top), before) << name;
  }
  EXPECT_TRUE(fs::is_directory(top / "empty") && fs::is_fifo(top / "pipe") && fs::is_socket(top / "socket"));
  EXPECT_EQ(contentOf(top / "folder/kept"), "kept");
}

TEST_F(ReportReplacement, DeviceWithoutADiskTakesAReport) {
  EXPECT_NO_THROW(ManifestService::writeContents(few_, Format::json, FileHandle::open("/dev/null", O_WRONLY), {}));
}

TEST_F(ReportReplacement, ProcessKilledAtAnyMomentLeavesAWholeReport) {
  std::array<std::string, 3> reports;
  const std::array<FileHashResults, 3> results{few_, manyResults(2'000), manyResults(1'500)};  // Up to over 1 MiB.
  const auto begin = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < reports.size(); ++i) {
    write(results[i], report_);
    reports[i] = contentOf(report_);
  }
  const auto usual = (std::chrono::steady_clock::now() - begin) / 2;

  std::mt19937 random(seedOfThisRun());
  int killed = 0;
  const int rounds = roundsOfThisRun(30);
  for (int round = 0; round < rounds; ++round) {
    const std::string before = contentOf(report_);
    const std::size_t next = random() % reports.size();
    const auto moment = std::chrono::steady_clock::now() + usual * (random() % 1000) / (random() % 2 == 0 ? 1e3 : 1e4);
    const pid_t exporter = fork();
    ASSERT_GE(exporter, 0);
    if (exporter == 0) {
      _exit(attempted([&] { write(results[next], report_); }).empty() ? 0 : 1);
    }
    while (std::chrono::steady_clock::now() < moment) {
    }
    kill(exporter, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(exporter, &status, 0), exporter);
    killed += status == SIGKILL ? 1 : 0;
    EXPECT_THAT(status, AnyOf(0, SIGKILL));
    EXPECT_THAT(contentOf(report_), AnyOf(reports[next], status == SIGKILL ? before : reports[next]));

    // A fork has the random names that are next here.
    Uuid::random();
    Uuid::random();
    write(few_, folder_.path() / "another report");
    EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"another report", "report.txt"})) << "left behind";
  }
  std::cout << killed << " of " << rounds << " killed\n";
}

/// A group that a file can be given; our own where there is no other.
gid_t anotherGroup() {
  if (geteuid() == 0) return 12'345;
  std::array<gid_t, 64> groups{};
  const int count = std::max(0, getgroups(groups.size(), groups.data()));
  for (const gid_t group : std::span(groups).first(static_cast<std::size_t>(count))) {
    if (group != getegid()) return group;
  }
  return getegid();
}

TEST_F(ReportReplacement, PermissionsOfANewReportAreThoseOfTheUmask) {
  const mode_t umaskBefore = umask(027);
  write(few_, folder_.path() / "fresh.txt");
  umask(umaskBefore);
  EXPECT_EQ(modeOf(folder_.path() / "fresh.txt"), mode_t{0640});
}

TEST_F(ReportReplacement, NobodyGainsRightsOfTheReplacedFile) {
  struct Case {
    const char* situation;
    mode_t before;
    mode_t after;
    bool hasList = false;
    bool hasOtherGroup = false;
    bool isKept = false;
    std::string_view refused = {};  ///< The last call of this name.
    bool hasFolderList = false;
  };
  const std::vector<Case> cases{
      {"private", 0600, 0600},
      {"public", 0666, 0666},
      {"read-only", 0444, 0444},
      {"list", 0640, 0640, true, false, true},
      {"list that cannot be set", 0644, 0600, true, false, false, "fsetxattr"},
      {"list that cannot be read", 0644, 0600, true, false, false, "openat"},
      {"list of the folder for new files", 0640, 0640, false, false, true, "", true},
      {"group", 0664, 0664, false, true, true},
      {"group that cannot be set", 0664, 0604, false, true, false, "fchown"},
      {"group with fewer rights than others, that cannot be set", 0606, 0600, false, true, false, "fchown"},
      {"list of a group that cannot be set", 0644, 0600, true, true, false, "fchown"},
  };
  for (const Case& now : cases) {
    SCOPED_TRACE(now.situation);
    const gid_t group = now.hasOtherGroup ? anotherGroup() : getegid();
    if (now.hasOtherGroup && group == getegid()) continue;  // No other that a user without rights may set.
    fs::remove(report_);
    removexattr(folder_.path().c_str(), defaultList);
    folder_.file("report.txt", oldReport);
    ASSERT_EQ(chown(report_.c_str(), static_cast<uid_t>(-1), group), 0);
    if (now.hasList) setListForAnotherUser(report_, accessList);
    ASSERT_EQ(chmod(report_.c_str(), now.before), 0);
    if (now.hasFolderList) setListForAnotherUser(folder_.path(), defaultList);
    const std::string before = accessListOf(report_);

    WatchedSystemCalls calls;
    calls.before = [&](std::string_view call, std::size_t) {
      for (const auto& item : fs::recursive_directory_iterator(folder_.path())) {
        if (call != "fsync" || item.path() == report_) continue;
        EXPECT_EQ(modeOf(item), item.is_directory() ? 0700 : 0600) << "also should the folder around it be another's";
      }
      const bool isLast = call != "openat" || std::ranges::count(calls.names, "fsync") > 0;
      return call == now.refused && isLast ? EACCES : 0;
    };
    write(few_, report_);
    EXPECT_THAT(contentOf(report_), StartsWith("MD5  "));
    EXPECT_EQ(modeOf(report_), now.after);
    EXPECT_EQ(accessListOf(report_), now.isKept ? before : "");
    struct stat status {};
    ASSERT_EQ(stat(report_.c_str(), &status), 0);
    EXPECT_EQ(status.st_gid, now.refused == "fchown" ? getegid() : group);
  }
}

TEST_F(ReportReplacement, LinkIsReplacedAndNotFollowed) {
  const fs::path victim = folder_.file("victim", "kept");
  chmod(victim.c_str(), 0606);
  fs::create_directory_symlink(".", folder_.path() / "the same folder");
  for (const fs::path& target : {victim, fs::path("missing"), fs::path("link")}) {
    const fs::path link = folder_.path() / "link";
    fs::remove(link);
    fs::create_symlink(target, link);
    write(few_, folder_.path() / "the same folder/link");
    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_THAT(contentOf(link), StartsWith("MD5  "));
    EXPECT_EQ(modeOf(link), modeOf(report_)) << "not those of what the link led to";
  }
  EXPECT_EQ(contentOf(victim), "kept");
  EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"link", "report.txt", "the same folder", "victim"}));
}

TEST_F(ReportReplacement, FolderThatIsSwappedLeadsToNoOtherFile) {
  const fs::path victim = folder_.file("victim", "kept");
  chmod(victim.c_str(), 0600);
  const fs::path place = folder_.path() / "place";
  for (std::size_t call = 1, last = 1; call <= last; ++call) {
    for (const bool isPrivateFolder : {true, false}) {
      fs::remove_all(place);
      fs::remove_all(folder_.path() / "moved");
      fs::create_directory(place);
      folder_.file("place/report.txt", oldReport);
      WatchedSystemCalls calls;
      calls.before = [&](std::string_view, std::size_t number) {
        if (number != call) return 0;
        fs::path swapped = place;
        if (isPrivateFolder) {
          for (const fs::path& item : fs::directory_iterator(place)) {
            if (fs::is_directory(item)) swapped = item;
          }
          if (swapped == place) return 0;
        }
        std::set<std::string> names = namesIn(swapped);
        fs::rename(swapped, folder_.path() / "moved");
        fs::create_directory(swapped);
        for (const std::string& name : names) fs::create_symlink(victim, swapped / name);
        return 0;
      };
      outcomeOfWriting(place / "report.txt");  // Whatever comes of it.
      last = std::max(last, calls.names.size());
      EXPECT_EQ(contentOf(victim), "kept") << call;
      EXPECT_EQ(modeOf(victim), mode_t{0600}) << call;
    }
  }
}

}  // namespace
}  // namespace tallyfold::test
