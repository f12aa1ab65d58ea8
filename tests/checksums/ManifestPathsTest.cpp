#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "checksums/ManifestPaths.h"
#include "core/Errors.h"
#include "tests/support/RandomTree.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

using namespace ChecksumManifestService;
using namespace std::string_literals;
namespace fs = std::filesystem;
using test::realPath;

const std::string kOutside = "A manifest path resolves outside the selected root folder.";
const std::string kAbsolute = "Absolute paths are not allowed in manifest verification.";
const std::string kInvalidRoot = "The selected manifest root is not an accessible directory.";
const std::string kRootChanged =
    "The manifest root folder changed while verification was running. Run verification again on a stable folder tree.";
const std::string kPathChanged =
    "A manifest path changed while it was being verified. Run verification again on a stable folder tree.";

std::string failureOf(const std::function<void()>& work) {
  try {
    work();
    return "";
  } catch (const CancellationError&) {
    return "cancelled";
  } catch (...) {
    return errorDescription(std::current_exception());
  }
}

class ManifestPaths : public testing::Test {
 protected:
  ManifestPaths() { fs::create_directories(root / "dir/sub"); }

  /// The location below the root, or the sentence.
  std::string outcomeOf(std::string_view path) const {
    std::string outcome;
    const std::string failure = failureOf([&] { outcome = resolve(path, root).lexically_relative(root).native(); });
    return failure.empty() ? outcome : failure;
  }

  void expectOutcomes(const std::vector<std::pair<std::string, std::string>>& outcomes) const {
    for (const auto& [path, outcome] : outcomes) EXPECT_EQ(outcomeOf(path), outcome) << testing::PrintToString(path);
  }

  test::TemporaryFolder folder;
  const fs::path root = fs::path(realPath(folder.path())) / "root";
};

TEST_F(ManifestPaths, WhatAPathSays) {
  folder.file("root/b.txt", "");
  folder.file("outside.txt", "");
  expectOutcomes({
      {"", "The manifest contains an empty file path."},
      {"a\0b"s, "The manifest contains a file path that cannot exist on macOS."},
      {"/\0"s, "The manifest contains a file path that cannot exist on macOS."},
      {"/etc/passwd", kAbsolute},
      {root / "b.txt", kAbsolute},
      {"b.txt", "b.txt"},
      {"./dir//./../b.txt", "b.txt"},
      {"b.txt/", "b.txt"},
      {"missing/../b.txt", "b.txt"},
      {"b.txt/../dir", "dir"},
      {"missing/deep", "missing/deep"},
      {"b.txt/below", "b.txt/below"},
      {"../root/b.txt", "b.txt"},
      {"..", kOutside},
      {".", kOutside},
      {"dir/..", kOutside},
      {"./", kOutside},
      {"../outside.txt", kOutside},
      {"../missing", kOutside},
      {"dir/../../outside.txt", kOutside},
      {"../rootless/b.txt", kOutside},
      {"../../../../../../../../../../../etc/passwd", kOutside},
      {"a:b", "a:b"},
      {" ", " "},
      {"\xFF\xFE", "\xFF\xFE"},
      {std::string(300, 'x'), std::string(300, 'x')},
  });
}

TEST_F(ManifestPaths, BackslashesAreSlashesOnlyWhereNothingHasThem) {
  folder.file("root/dir/file.txt", "");
  folder.file("root/dir/x", "");
  folder.file(R"(root/dir\x)", "");
  folder.file(R"(root/C:\data)", "");
  folder.file(R"(root/\lead)", "");
  folder.file("outside.txt", "");
  fs::create_symlink("nowhere", root / R"(dangling\link)");
  expectOutcomes({
      {R"(dir\file.txt)", "dir/file.txt"},
      {R"(.\dir\sub\..\file.txt)", "dir/file.txt"},
      {R"(dir\x)", R"(dir\x)"},
      {R"(C:\data)", R"(C:\data)"},
      {R"(\lead)", R"(\lead)"},
      {R"(dangling\link)", "nowhere"},
      {R"(dir\missing)", R"(dir\missing)"},
      {R"(..\outside.txt)", kOutside},
      {R"(dir\..\..\missing)", kOutside},
      {R"(\dir\file.txt)", kAbsolute},
      {R"(c:\dir)", kAbsolute},
      {"Z:/dir", kAbsolute},
      {"C:", "C:"},
      {"C:dir", "C:dir"},
      {"1:/x", "1:/x"},
  });
}

TEST_F(ManifestPaths, LinksLeadOnlyInside) {
  folder.file("root/dir/b.txt", "");
  folder.file("outside.txt", "");
  fs::create_directories(folder.path() / "elsewhere");
  const auto link = [&](const fs::path& target, const std::string& name) { fs::create_symlink(target, root / name); };
  link("dir/b.txt", "file link");
  link("dir", "folder link");
  link(root / "dir", "absolute link");
  link("../outside.txt", "link out");
  link("/etc", "link to etc");
  link("..", "link up");
  link(".", "link to root");
  link("../elsewhere/back", "out and back");
  fs::create_symlink(root / "dir", folder.path() / "elsewhere/back");
  link("nothing", "dangling");
  link("../nothing", "dangling outside");
  link("missing/../../outside.txt", "dangling with a detour");
  link("missing/../link out", "dangling to a link out");
  link("circle b", "circle a");
  link("circle a", "circle b");
  for (int i = 0; i < 60; ++i)
    link(i == 59 ? "../outside.txt" : "chain " + std::to_string(i + 1), "chain " + std::to_string(i));
  expectOutcomes({
      {"file link", "dir/b.txt"},
      {"folder link/b.txt", "dir/b.txt"},
      {"absolute link/b.txt", "dir/b.txt"},
      {"out and back/b.txt", "dir/b.txt"},
      {"link up/root/dir/b.txt", "dir/b.txt"},
      {"link to root/dir/b.txt", "dir/b.txt"},
      {"link to root/link to root/folder link", "dir"},
      {"dangling", "nothing"},
      {"link up/../dir/b.txt", "dir/b.txt"},
      {"link to root", kOutside},
      {"link out", kOutside},
      {"link to etc/passwd", kOutside},
      {"link up/outside.txt", kOutside},
      {"link up/root", kOutside},
      {"dangling outside", kOutside},
      {"dangling with a detour", kOutside},
      {"dangling to a link out", kOutside},
      {"circle a", "circle a"},
      {"circle a/x", "circle a/x"},
      {"chain 0", "chain 0"},  // More links than the kernel follows: it leads nowhere ...
      {"chain 20", kOutside},  // ... and this one somewhere.
  });
}

TEST_F(ManifestPaths, RootIsMadeAbsoluteAndFreeOfLinks) {
  const fs::path b = folder.file("root/b.txt", "");
  fs::create_symlink("root", folder.path() / "link");
  const fs::path expected = root / "b.txt";
  EXPECT_EQ(resolve("b.txt", folder.path() / "link"), expected);
  EXPECT_EQ(resolve("b.txt", folder.path() / "link/dir/../"), expected);
  EXPECT_EQ(resolve("b.txt", fs::relative(folder.path() / "link")), expected);
  EXPECT_EQ(resolve(expected.native().substr(1), "/"), expected);
  EXPECT_EQ(failureOf([] { resolve("..", "/"); }), kOutside);
}

TEST(ManifestPathsProperty, NothingOutsideIsEverResolvedAndAllInsideIs) {
  std::mt19937_64 engine(test::seedOfThisRun());
  int insideThroughLinks = 0;
  int outside = 0;
  int missing = 0;
  for (int tree = 0; tree < 80; ++tree) {
    const test::TemporaryFolder folder;
    const fs::path top = realPath(folder.path());
    const fs::path root = top / "root";
    test::RandomTree random(top, [&] { return engine(); });
    for (int i = 0; i < 150; ++i) {
      const std::string path = random.path();
      std::string location;
      const std::string failure = failureOf([&] { location = resolve(path, root).native(); });
      if (failure.empty()) {
        EXPECT_TRUE(test::isBelow(root, location)) << path << " -> " << location;
        const std::string real = realPath(location);
        // It is free of links, wherever it exists.
        EXPECT_TRUE(real.empty() || real == location) << path << " -> " << location << " -> " << real;
      }
      const auto [exists, isInside, place] = test::containmentOf(path, root);
      missing += exists ? 0 : 1;
      if (!exists || path.empty() || path.starts_with('/')) continue;
      EXPECT_EQ(failure, isInside ? "" : kOutside) << path << " -> " << place;
      if (isInside) {
        EXPECT_EQ(location, place) << path;
      }
      insideThroughLinks += isInside && place != (root / path).lexically_normal() ? 1 : 0;
      outside += isInside ? 0 : 1;
    }
  }
  EXPECT_GT(insideThroughLinks, 10);
  EXPECT_GT(outside, 10);
  EXPECT_GT(missing, 10);
}

TEST_F(ManifestPaths, EntryMayExistUnlessItCertainlyDoesNot) {
  folder.file("root/b.txt", "");
  fs::create_symlink("nowhere", root / "dangling");
  EXPECT_TRUE(finalPathEntryMayExist(root / "b.txt"));
  EXPECT_TRUE(finalPathEntryMayExist(root / "dangling"));
  EXPECT_TRUE(finalPathEntryMayExist(root / std::string(300, 'x')));
  EXPECT_TRUE(finalPathEntryMayExist(root / "a\0b"s));
  EXPECT_FALSE(finalPathEntryMayExist(root / "missing"));
  EXPECT_FALSE(finalPathEntryMayExist(root / "b.txt/below"));
  test::WatchedSystemCalls system;
  system.before = [](auto...) { return EACCES; };
  EXPECT_TRUE(finalPathEntryMayExist(root / "missing"));
}

TEST_F(ManifestPaths, RootIdentityChangesWithTheRoot) {
  const fs::path file = folder.file("file", "");
  fs::create_symlink("root", folder.path() / "link");
  fs::create_symlink("file", folder.path() / "file link");
  const ManifestRootIdentity identity = captureRootIdentity(folder.path() / "link", {});
  EXPECT_EQ(identity.canonicalPath, root.native());
  EXPECT_EQ(captureRootIdentity(root, {}), identity);
  EXPECT_EQ(captureRootIdentity("/", {}).canonicalPath, "/");
  for (const fs::path& no :
       {file, folder.path() / "file link", folder.path() / "missing", fs::path(), fs::path("a\0b"s)}) {
    EXPECT_EQ(failureOf([&] { captureRootIdentity(no, {}); }), kInvalidRoot) << no;
  }
  std::stop_source stopped;
  stopped.request_stop();
  EXPECT_EQ(failureOf([&] { captureRootIdentity(root, stopped.get_token()); }), "cancelled");

  const auto validate = [&](const fs::path& url) { return failureOf([&] { validateRootIdentity(identity, url); }); };
  EXPECT_EQ(validate(folder.path() / "link"), "");
  EXPECT_EQ(validate(folder.path() / "missing"), kRootChanged);
  EXPECT_EQ(validate(root / "dir"), kRootChanged);
  fs::create_directory(root / "new");
  EXPECT_EQ(validate(root), kRootChanged);
}

TEST_F(ManifestPaths, FileIdentityChangesWithTheFile) {
  const fs::path file = folder.file("root/b.txt", "content");
  fs::create_symlink("b.txt", root / "link");
  const ManifestResolvedFileIdentity identity = captureResolvedFileIdentity(root / "link", {});
  EXPECT_EQ(identity.canonicalPath, (root / "b.txt").native());
  EXPECT_EQ(captureResolvedFileIdentity(file, {}), identity);
  for (const fs::path& no : {root, root / "missing", fs::path("/dev/null")}) {
    EXPECT_EQ(failureOf([&] { captureResolvedFileIdentity(no, {}); }), kPathChanged) << no;
  }
  const auto validate = [&](const fs::path& url) {
    return failureOf([&] { validateResolvedFileIdentity(identity, url); });
  };
  EXPECT_EQ(validate(root / "link"), "");
  fs::create_hard_link(file, root / "other name");
  const ManifestResolvedFileIdentity linked = captureResolvedFileIdentity(file, {});
  EXPECT_EQ(failureOf([&] { validateResolvedFileIdentity(linked, root / "other name"); }), kPathChanged);
  fs::copy_file(file, root / "copy");
  fs::rename(root / "copy", file);
  EXPECT_EQ(failureOf([&] { validateResolvedFileIdentity(linked, file); }), kPathChanged);
}

}  // namespace
}  // namespace tallyfold
