#include <algorithm>
#include <array>
#include <cerrno>
#include <gmock/gmock.h>
#include <set>
#include <span>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "tests/export/ReportReplacement.h"
#include "tests/support/AccessList.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

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
        if (call != "fsync" || item.path().parent_path() == folder_.path()) continue;
        EXPECT_EQ(modeOf(item), mode_t{0600}) << "also should the folder around it be another's";
      }
      const bool isLast = call != "openat" || std::ranges::count(calls.names, "fsync") > 0;
      return call == now.refused && isLast ? EACCES : 0;
    };
    write(few_, report_);
    EXPECT_THAT(contentOf(report_), testing::StartsWith("MD5  "));
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
    EXPECT_THAT(contentOf(link), testing::StartsWith("MD5  "));
    EXPECT_EQ(modeOf(link), modeOf(report_)) << "not those of what the link led to";
  }
  EXPECT_EQ(contentOf(victim), "kept");
  EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"link", "report.txt", "the same folder", "victim"}));
}

TEST_F(ReportReplacement, WhatIsNoFileIsRefused) {
  const fs::path pipe = folder_.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const fs::path door = folder_.path() / "socket";
  ASSERT_EQ(mknod(door.c_str(), S_IFSOCK | 0600, 0), 0);
  for (const fs::path& path : {pipe, door}) {
    EXPECT_THAT([&] { write(few_, path); },
                testing::ThrowsMessage<ManifestServiceError>(
                    "What has this name is not a file. Choose another name for the report."));
  }
  EXPECT_TRUE(fs::is_fifo(pipe));
  EXPECT_TRUE(fs::is_socket(door));
  EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"pipe", "report.txt", "socket"}));
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
      errorOf(few_, place / "report.txt");  // Whatever comes of it.
      last = std::max(last, calls.names.size());
      EXPECT_EQ(contentOf(victim), "kept") << call;
      EXPECT_EQ(modeOf(victim), mode_t{0600}) << call;
    }
  }
}

}  // namespace

}  // namespace tallyfold::test
