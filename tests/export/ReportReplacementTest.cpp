#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "core/base/Errors.h"
#include "tests/export/ReportReplacement.h"
#include "tests/support/Process.h"
#include "tests/support/Seed.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;
using ManifestService::Format;

TEST_F(ReportReplacement, ReportIsMadeInAPrivateFolderBesideItAndSyncedBeforeItIsRenamed) {
  WatchedSystemCalls calls;
  int renames = 0;
  calls.before = [&](std::string_view call, std::size_t) {
    if (call != "renameat") return 0;
    ++renames;
    std::set<std::string> names = namesIn(folder_.path());
    names.erase("report.txt");
    EXPECT_THAT(names, testing::ElementsAre(testing::StartsWith(".tallyfold-")));
    const fs::path privateFolder = folder_.path() / *names.begin();
    EXPECT_EQ(modeOf(privateFolder), mode_t{0700});
    EXPECT_THAT(namesIn(privateFolder), testing::ElementsAre(testing::SizeIs(36)));
    EXPECT_THAT(calls.names, testing::Contains("fsync"));
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
  }
  for (const Case& now : cases) {
    const fs::path path = folder_.path() / now.name;
    fs::create_directory(path);
    chmod(path.c_str(), 0700);
    now.make(path);
  }
  ReportReplacement::write(few_, report_);
  for (const Case& now : cases) {
    const bool isThere = fs::symlink_status(folder_.path() / now.name).type() != fs::file_type::not_found;
    EXPECT_EQ(isThere, !now.isRemoved) << now.situation;
  }
  EXPECT_EQ(contentOf(victim), "kept");
  EXPECT_EQ(contentOf(folder_.path() / "elsewhere" / file), "kept");
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

TEST_F(ReportReplacement, VanishedFolderIsNotMadeAgain) {
  const fs::path gone = folder_.path() / "gone";
  EXPECT_EQ(errorOf(few_, gone / "report.txt"), ENOENT);
  EXPECT_FALSE(fs::exists(gone));

  fs::create_directory(gone);
  WatchedSystemCalls calls;
  calls.before = [&](std::string_view call, std::size_t) {
    if (call == "write") fs::remove_all(gone);
    return 0;
  };
  EXPECT_EQ(errorOf(few_, gone / "report.txt"), ENOENT);
  EXPECT_FALSE(fs::exists(gone));
  EXPECT_EQ(calls.stillOpen, 0);
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
  // During any call until the rename.
  for (const FileHashResults& results : {many_, few_}) {
    folder_.file("report.txt", oldReport);
    bool isRenaming = false;
    for (std::size_t call = 1; !isRenaming; ++call) {
      WatchedSystemCalls calls;
      std::stop_source during;
      calls.before = [&](std::string_view name, std::size_t number) {
        if (number != call) return 0;
        isRenaming = name == "renameat";
        during.request_stop();
        return 0;
      };
      try {
        write(results, report_, during.get_token());
        EXPECT_TRUE(isRenaming) << calls.names.at(call - 1);
      } catch (const CancellationError&) {
        expectNothingHappened();
        const std::span after = std::span(calls.names).subspan(call);
        EXPECT_THAT(after, testing::Each(testing::Not(testing::AnyOf("write", "fsync", "renameat"))));
      }
      EXPECT_EQ(calls.stillOpen, 0);
    }
  }
}

TEST_F(ReportReplacement, DeviceWithoutADiskTakesAReport) {
  EXPECT_NO_THROW(ManifestService::writeContents(few_, Format::json, FileHandle::open("/dev/null", O_WRONLY), {}));
}

TEST_F(ReportReplacement, ProcessKilledAtAnyMomentLeavesAWholeReport) {
  // Another format and another length each time.
  struct Report {
    const FileHashResults& results;
    Format format;
    std::string text;
  };
  std::vector<Report> reports{{many_, Format::csv, ""}, {many_, Format::json, ""}, {few_, Format::plainText, ""}};
  const auto begin = std::chrono::steady_clock::now();
  for (Report& report : reports) {
    ManifestService::write(report.results, report.format, report_, {});
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
    ForkedProcess exporter([&] { ManifestService::write(report.results, report.format, report_, {}); });
    while (std::chrono::steady_clock::now() < moment) {
    }
    const bool isKilled = exporter.kill() == SIGKILL;

    const std::string after = contentOf(report_);
    ASSERT_TRUE(after == before || after == report.text) << after.size() << " bytes of no report";
    EXPECT_TRUE(isKilled || after == report.text);
    // What a killed process leaves behind is its one private folder, which nothing mistakes for a report.
    std::set<std::string> left = namesIn(folder_.path());
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
    ManifestService::write(next.results, next.format, report_, {});
    ASSERT_EQ(contentOf(report_), next.text);
    ASSERT_EQ(namesIn(folder_.path()), std::set<std::string>{"report.txt"});
  }
  for (const auto& [state, count] : found) std::cout << count << " " << state << '\n';
}

}  // namespace

}  // namespace tallyfold::test
