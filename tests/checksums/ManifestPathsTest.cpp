#include "tests/checksums/ChecksumsTest.h"
#include "tests/support/RandomTree.h"

namespace tallyfold::test {
namespace {

using ManifestPaths = RootTest;

/// Every path is resolved, and what is there is hashed, with the calls of a new system and of an old one. What dots and
/// links in the middle of a path do is in the random trees.
TEST_F(ManifestPaths, LeadInsideOrAreRefused) {
  std::map<std::string, std::string> nameOf;  // Of the file with this digest.
  for (const char* const name : {"b.txt", "dir/b.txt", "dir/x", R"(dir\x)", R"(C:\data)", R"(\lead)"}) {
    nameOf[digestOf(folder.file("root/"s + name, name))] = name;
  }
  folder.file("outside.txt", "outside");
  fs::create_directories(folder.path() / "elsewhere");
  ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
  link("../outside.txt", "link out");
  link("/dev/zero", "link to device");
  link("pipe", "link to pipe");
  link("../elsewhere/back", "out and back");
  fs::create_symlink(root / "dir", folder.path() / "elsewhere/back");
  link("nothing", "dangling");
  link("nowhere", R"(dangling\link)");
  link("../nothing", "dangling outside");
  link("missing/../../outside.txt", "dangling with a detour");
  link("missing/../link out", "dangling to a link out");
  link("missing/../dir/b.txt", "link through nothing");
  link("dir/b.txt/../b.txt", "link through a file");
  link("circle b", "circle a");
  link("circle a", "circle b");
  for (int i = 0; i < 60; ++i)
    link(i == 59 ? "../outside.txt" : "chain " + std::to_string(i + 1), "chain " + std::to_string(i));
  const std::string tooLong(300, 'x');

  struct {
    std::string path;
    std::string place;           // Below the root, or the sentence.
    std::string hashed = place;  // The file, or the sentence.
  } const paths[]{
      {"", "error: The manifest contains an empty file path."},
      {"a\0b"s, "error: The manifest contains a file path that cannot exist on macOS."},
      {"/\0"s, "error: The manifest contains a file path that cannot exist on macOS."},
      {"/etc/passwd", kAbsolute},
      {root / "b.txt", kAbsolute},
      {"b.txt", "b.txt"},
      {"dir", "dir", kNotRegular},
      {"pipe", "pipe", kNotRegular},
      {"missing/deep", "missing/deep", kMissing},
      {"b.txt/below", "b.txt/below", kNotAFolder},
      {"a:b", "a:b", kMissing},
      {"\xFF\xFE", "\xFF\xFE", kMissing},
      {tooLong, tooLong, kTooLong},
      {"..", kOutside},
      {".", kOutside},
      {"../outside.txt", kOutside},
      {"../rootless/b.txt", kOutside},
      // Backslashes are slashes only where nothing has them.
      {R"(dir\b.txt)", "dir/b.txt"},
      {R"(.\dir\sub\..\b.txt)", "dir/b.txt"},
      {R"(dir\x)", R"(dir\x)"},
      {R"(C:\data)", R"(C:\data)"},
      {R"(\lead)", R"(\lead)"},
      {R"(dangling\link)", "nowhere", kMissing},
      {R"(dir\missing)", R"(dir\missing)", kMissing},
      {R"(..\outside.txt)", kOutside},
      {R"(dir\..\..\missing)", kOutside},
      {R"(\dir\b.txt)", kAbsolute},
      {R"(c:\dir)", kAbsolute},
      {"C:", "C:", kMissing},
      {"1:/x", "1:/x", kMissing},
      // Links lead only inside.
      {"out and back/b.txt", "dir/b.txt"},
      {"link to pipe", "pipe", kNotRegular},
      {"dangling", "nothing", kMissing},
      {"link through nothing", "dir/b.txt", kMissing},
      {"link through a file", "dir/b.txt", kNotAFolder},
      {"link out", kOutside},
      {"link to device", kOutside},
      {"../elsewhere/back", kOutside},  // A link that is outside, wherever it leads.
      {"dangling outside", kOutside},
      {"dangling with a detour", kOutside},
      {"dangling to a link out", kOutside},
      {"circle a", "circle a", kCircle},
      {"circle a/x", "circle a/x", kCircle},
      {"chain 0", "chain 0", kCircle},  // More links than the kernel follows: it leads nowhere ...
      {"chain 20", kOutside},           // ... and this one somewhere.
  };
  WatchedSystemCalls system;
  for (const auto& [path, place, hashed] : paths) {
    std::string found;
    const std::string failure =
        attempted([&, &path = path] { found = resolve(path, root).lexically_relative(root).native(); });
    EXPECT_EQ(failure + found, place) << testing::PrintToString(path);
    for (const int refusal : {0, ENOSYS, EPERM}) {  // As it is, too old, and in a sandbox.
      system.before = withoutOpenat2(refusal);
      const std::string outcome = verified(path);
      EXPECT_EQ(nameOf.contains(outcome) ? nameOf[outcome] : outcome, hashed)
          << testing::PrintToString(path) << refusal;
    }
  }
  EXPECT_EQ(system.stillOpen, 0);
}

TEST_F(ManifestPaths, LongOnesAreWalkedInFewCalls) {
  const auto repeated = [](std::size_t count, const std::string& text) {
    std::string all;
    while (count-- > 0) all += text;
    return all;
  };
  const std::string deep = repeated(300, "d/");
  fs::create_directories(root / deep);
  link("../" + deep, "dir/down");
  link("../down", "dir/sub/deeper");
  folder.file("root/" + deep + "file", "deep");
  struct {
    std::string path;
    std::string sentence;
    bool isSeenByCancellation = true;
  } const paths[]{
      {repeated(300'000, "d/"), kTooLong, false},
      {repeated(2'048, R"(d\)"), kTooLong, false},
      {"C:/" + repeated(2'048, "d/"), kTooLong, false},
      {"dir/down/" + repeated(1'900, "d/"), kMissing},
      {"../" + repeated(300'000, "d/"), kOutside, false},
      {repeated(300'000, "../"), kOutside, false},
      {repeated(1'900, "x/"), kMissing},
      {deep + "x", kMissing},
      {deep + "file/" + deep, kNotAFolder},
      {repeated(300'000, "d/../") + deep + "missing", kMissing},
      {"dir/sub/deeper/file/" + deep, kNotAFolder},
  };
  WatchedSystemCalls system;
  for (const auto& [path, sentence, isSeenByCancellation] : paths) {
    for (const bool isOld : {false, true}) {
      SCOPED_TRACE(path.substr(0, 20) + (isOld ? ", old" : ""));
      system.before = withoutOpenat2(isOld);
      ManifestVerification verification = begun();
      system.names.clear();
      EXPECT_EQ(verified(verification, groupOf(path)), sentence);
      EXPECT_LT(system.names.size(), isOld || !hasOpenat2() ? 4'000 : 40);

      std::stop_source source;
      system.before = [&](std::string_view name, std::size_t) {
        if (name == "fstatat") source.request_stop();
        return withoutOpenat2(isOld)(name, 0);
      };
      const bool isCancelled =
          attempted([&, &path = path] { verification.verify(groupOf(path), source.get_token()); }) == "cancelled";
      EXPECT_EQ(isCancelled, isSeenByCancellation);
    }
  }
}

TEST_F(ManifestPaths, RootIsMadeAbsoluteAndFreeOfLinks) {
  folder.file("root/b.txt", "");
  const fs::path alias = folder.path() / "link";
  fs::create_symlink("root", alias);
  const fs::path expected = root / "b.txt";
  for (const fs::path& name : {alias, alias / "dir/../", fs::relative(alias)})
    EXPECT_EQ(resolve("b.txt", name), expected);
  EXPECT_EQ(resolve(expected.native().substr(1), "/"), expected);
  EXPECT_EQ(attempted([] { resolve("..", "/"); }), kOutside);
}

TEST(ManifestPathsProperty, NothingOutsideIsEverResolvedAndAllInsideIs) {
  std::mt19937_64 engine(seedOfThisRun());
  int insideThroughLinks = 0;
  int outside = 0;
  int missing = 0;
  for (int tree = 0; tree < 80; ++tree) {
    const TemporaryFolder folder;
    const fs::path top = realPath(folder.path());
    const fs::path root = top / "root";
    RandomTree random(top, [&] { return engine(); });
    for (int i = 0; i < 150; ++i) {
      const std::string path = random.path();
      const Containment expected = containmentOf(path, root);
      EXPECT_EQ(disagreementOn(path, root, expected), "") << path << " -> " << expected.place;
      missing += expected.exists ? 0 : 1;
      outside += expected.exists && !expected.isInside ? 1 : 0;
      insideThroughLinks += expected.isInside && expected.place != (root / path).lexically_normal() ? 1 : 0;
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
  WatchedSystemCalls system;
  system.before = [](auto...) { return EACCES; };
  EXPECT_TRUE(finalPathEntryMayExist(root / "missing"));
}

TEST_F(ManifestPaths, RootIdentityChangesWithTheRoot) {
  const fs::path alias = folder.path() / "link";
  fs::create_symlink("root", alias);
  const ManifestRootIdentity identity = captureRootIdentity(alias, {});
  EXPECT_EQ(identity.canonicalPath, root.native());
  EXPECT_EQ(captureRootIdentity(root, {}), identity);
  EXPECT_EQ(captureRootIdentity("/", {}).canonicalPath, "/");
  for (const fs::path& no : {folder.file("file", ""), folder.path() / "missing", fs::path("a\0b"s)}) {
    EXPECT_EQ(attempted([&] { captureRootIdentity(no, {}); }), kInvalidRoot) << no;
  }
  std::stop_source stopped;
  stopped.request_stop();
  EXPECT_EQ(attempted([&] { captureRootIdentity(root, stopped.get_token()); }), "cancelled");

  const auto validate = [&](const fs::path& url) { return attempted([&] { validateRootIdentity(identity, url); }); };
  EXPECT_EQ(validate(alias), "");
  EXPECT_EQ(validate(folder.path() / "missing"), kRootChanged);
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
    EXPECT_EQ(attempted([&] { captureResolvedFileIdentity(no, {}); }), kPathChanged) << no;
  }
  EXPECT_EQ(attempted([&] { validateResolvedFileIdentity(identity, root / "link"); }), "");
  fs::create_hard_link(file, root / "other name");
  const ManifestResolvedFileIdentity linked = captureResolvedFileIdentity(file, {});
  EXPECT_EQ(attempted([&] { validateResolvedFileIdentity(linked, root / "other name"); }), kPathChanged);
  fs::copy_file(file, root / "copy");
  fs::rename(root / "copy", file);
  EXPECT_EQ(attempted([&] { validateResolvedFileIdentity(linked, file); }), kPathChanged);
}

}  // namespace
}  // namespace tallyfold::test
