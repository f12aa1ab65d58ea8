// The files of a folder that its verified list does not name.

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

class Audit : public ModelTest {
 protected:
  [[nodiscard]] AuditFlow& audit() { return *model_->audit(); }

  /// What came of a list with these names, whose files all hold "abc", in the file `list` below the test's folder.
  std::string audited(const std::vector<std::string>& names, const std::string& list = "root/list.sfv") {
    std::string lines;
    for (const std::string& name : names) lines += name + " 352441c2\n";
    ManifestFlow& manifest = *model_->manifest();
    manifest.setManifestRoot({urlOf(root_)});
    manifest.setManifestFile({urlOf(folder_.file(list, lines))});
    EXPECT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
    return verified();
  }
  std::string verified() {
    model_->manifest()->verifyManifest();
    EXPECT_TRUE(reached([&] { return !model_->manifest()->isManifestVerifying() && !audit().isLooking(); }));
    return audit().sentence().toStdString();
  }

  const fs::path root_ = folder_.path() / "root";
};

TEST_F(Audit, NamesWhatNoEntryLeadsTo) {
  fs::create_directories(root_ / "dir/sub");
  const std::vector<std::string> hostile{"\xFF",          ".hidden", "dir/line\nbreak",
                                         "dir/other.md5", "dir\\b",  "x\u202Etxt.exe"};
  std::vector<std::string> files{"a", "dir/b", "dir/sub/c", "dir/d", "SHA256SUMS", "other.sfv"};
  files.insert(files.end(), hostile.begin(), hostile.end());
  for (const std::string& file : files) folder_.file("root/" + file, "abc");
  fs::create_hard_link(root_ / "a", root_ / "second name");
  fs::create_symlink("dir/d", root_ / "link");
  fs::create_directory_symlink("dir", root_ / "linked");
  fs::create_directory_symlink("..", root_ / "dir/up");
  ASSERT_EQ(mkfifo((root_ / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(audited({"./a", "a", "dir//b", "linked/sub/c", "link", "missing", "../outside", "/absolute"}),
            "7 files in the folder are not in the list.");
  std::vector<std::string> expected = hostile;
  expected.insert(expected.end() - 1, "second name");
  std::ranges::sort(expected);
  EXPECT_EQ(audit().unlisted()->files().paths, expected);
  EXPECT_EQ(audit().remarks(),
            "3 links were not followed. 1 pipe, device or socket was left out. 3 checksum lists were left out.");
  EXPECT_EQ(model_->manifest()->manifestVerdict().kind, ManifestVerdict::NotAllChecked);

  audit().copyShown();
  ASSERT_TRUE(reached([&] { return desktop_.pasteboard.has_value(); }));
  EXPECT_EQ(desktop_.pasteboard->count('\n'), 6) << "a line for each, whatever is in its name";
  EXPECT_THAT(desktop_.pasteboard->toStdString(), testing::HasSubstr("x<U+202E>txt.exe"));

  // A name with backslashes is one with slashes where there is no such file.
  fs::remove(root_ / "dir\\b");
  for (const char* const name : {"dir/line\nbreak", "dir/other.md5", "\xFF"}) fs::remove(root_ / name);
  EXPECT_EQ(audited({"a", "dir\\b", "dir\\sub\\c", "dir/d", ".hidden", "second name"}, "sums"),
            "1 file in the folder is not in the list.");
  EXPECT_EQ(audit().unlisted()->files().paths, std::vector{hostile.back()});
  fs::remove(root_ / hostile.back());
  EXPECT_EQ(verified(), "The folder has no other files.");
  EXPECT_EQ(model_->manifest()->manifestVerdict().tone, Tone::Good);
  EXPECT_THAT(model_->manifest()->manifestVerdict().details.toStdString(),
              testing::EndsWith("checked. The folder has no other files."));
  folder_.file("root/new", "");
  EXPECT_EQ(audited({"a\nno entry"}), "7 files in the folder are in no line that is understood.");
}

TEST_F(Audit, IsNeverSilentOnWhatItDidNotSee) {
  fs::create_directories(root_ / "dir");
  folder_.file("root/a", "abc");
  folder_.file("root/dir/b", "abc");
  EXPECT_EQ(audited({"a", "dir/b"}), "The folder has no other files.");
  const auto onceAt = [&](std::string_view call, std::function<int()> act) {
    calls_.before = [call, act = std::move(act), isDone = false](std::string_view name, std::size_t) mutable {
      return name == call && !std::exchange(isDone, true) ? act() : 0;
    };
  };
  onceAt("getdents", [] { return EIO; });
  EXPECT_EQ(verified(), "No other file was found. 1 folder could not be read.");
  EXPECT_EQ(audit().remarks(), "“\u2068.\u2069” could not be read: Input/output error");
  onceAt("getdents", [&] { return folder_.file("root/new", ""), 0; });
  EXPECT_THAT(verified(), testing::EndsWith(" 1 folder changed while it was looked at."));
  const std::string notLooked = "Files that are not in the list were not looked for";
  onceAt("getdents", [&] {
    fs::rename(root_, folder_.path() / "aside");
    return 0;
  });
  EXPECT_THAT(verified(), testing::StartsWith("1 file in the folder is not in the list.")) << "It stays the folder";
  EXPECT_EQ(verified(), "") << "The root is gone: nothing was verified";
  fs::rename(folder_.path() / "aside", root_);
  VerifiedList list = (verified(), model_->manifest()->verifiedList());
  fs::rename(root_, folder_.path() / "aside");
  fs::create_directory(root_);
  audit().look(list);
  ASSERT_TRUE(reached([&] { return !audit().isLooking(); }));
  EXPECT_EQ(audit().sentence().toStdString(),
            notLooked + ": " + ManifestPathError(ManifestPathError::Case::rootChangedDuringVerification).what());
  EXPECT_EQ(audit().figure(), "?");
  audit().look(list);
  audit().cancel();
  EXPECT_EQ(audit().sentence().toStdString(), notLooked + ".");

  folder_.file("root/a", "abc");
  calls_.before = [](auto...) { return 0; };
  holdAt("read", 1);
  model_->manifest()->verifyManifest();
  ASSERT_TRUE(gate_.waitForArrival());
  EXPECT_FALSE(audit().isPresent()) << "What was found before is forgotten";
  model_->manifest()->cancelManifestVerification();
  goOn();
  EXPECT_FALSE(audit().isPresent());
}

}  // namespace

}  // namespace tallyfold::test
