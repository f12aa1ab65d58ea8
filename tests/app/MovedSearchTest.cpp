// The search for the missing files of a list among those that it does not name.

#include "tests/app/AuditFixture.h"

namespace tallyfold::test {

namespace {

using namespace std::string_literals;

TEST_F(Audit, FindsMovedFilesByTheirBytes) {
  fs::create_directories(root_ / "new/sub");
  const std::string md5OfAbc = "900150983cd24fb0d6963f7d28e17f72";
  const std::string sha1OfAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";
  const std::string md5OfNothing = "d41d8cd98f00b204e9800998ecf8427e";
  const std::string zeros(32, '0');
  for (const char* const name : {"new/a", "new/sub/b", "new/sub/c", "other", "new/changed", "new/empty"}) {
    folder_.file("root/"s + name, name == "other"s || name == "new/empty"s ? "" : "abc");
  }
  std::string lines;
  for (const char* const name : {"old/b", "old/c", "a", "old/d", "e"})
    lines += "MD5 (" + (name + (") = " + md5OfAbc + '\n'));
  lines +=
      "SHA1 (a) = " + sha1OfAbc + "\nMD5 (f) = " + zeros + "\nMD5 (f) = " + md5OfAbc + "\nMD5 (x/other) = " + zeros;
  lines += "\nMD5 (gone) = " + zeros + "\nSHA1 (gone) = " + std::string(40, '0') + "\nMD5 (g) = " + md5OfAbc +
           "\nSHA1 (g) = " + std::string(40, '0') + "\nMD5 (__init__.py) = " + md5OfNothing + '\n';
  model_->manifest()->setManifestRoot({urlOf(root_)});
  model_->manifest()->setManifestFile({urlOf(folder_.file("list", lines))});
  ASSERT_TRUE(reached([&] { return !model_->manifest()->isLoadingManifest(); }));
  EXPECT_EQ(verified(), "6 files in the folder are not in the list.");
  EXPECT_TRUE(audit().offersSearch());
  folder_.file("root/gone", "");
  calls_.before = [&](std::string_view name, std::size_t) {
    if (name == "read") folder_.file("root/new/changed", "abc");
    return 0;
  };
  const std::string found =
      "6 files in the folder are not in the list. 1 file that was missing is there again. 1 missing file is empty: "
      "its bytes tell it from no other empty file. 1 missing file has checksums that contradict each other. ";
  EXPECT_EQ(searched(), found + "3 of 9 missing files are among the unlisted ones. 1 file could not be searched.");
  const std::map<std::string, std::string> notes{
      {"a", "It is now at “new/a”."},
      {"old/b", "It is now at “new/sub/b”."},
      {"old/c", "It is now at “new/sub/c”."},
      {"x/other", "“other” has the same name, other bytes."},
      {"other", "It has the name of “x/other”, and other bytes."},
      {"new/sub/b", "It was “old/b”."},
      {"__init__.py", "“new/empty” has no bytes either."},
      {"f", ""},
      {"g", ""},
      {"gone", ""},
  };
  for (const auto& [path, text] : notes) EXPECT_EQ(note(path), text) << path;
  EXPECT_EQ(note("old/d"), "“new/a” and 2 other files have the same bytes.");
  EXPECT_EQ(note("e"), note("old/d")) << "More were missing than there are";

  EXPECT_TRUE(audit().offersSearch()) << "The one that could not be searched may be the next of them";
  const std::string before = audit().sentence().toStdString();
  audit().findMoved();
  EXPECT_EQ(note("a"), "") << "Nothing is known yet";
  audit().cancel();
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_EQ(audit().sentence().toStdString(), before);
  EXPECT_EQ(note("a"), notes.at("a")) << "What was found is not lost";
  std::filesystem::rename(root_, folder_.path() / "elsewhere");
  EXPECT_EQ(searched(), before);
  EXPECT_EQ(model_->errorMessage(), "The missing files were not searched for: No such file or directory");
  std::filesystem::rename(folder_.path() / "elsewhere", root_);
  EXPECT_EQ(note("a"), notes.at("a")) << "Nor where the next search fails";
  calls_.before = [](auto...) { return 0; };
  EXPECT_EQ(searched(), found + "4 of 9 missing files are among the unlisted ones.");
  EXPECT_FALSE(audit().offersSearch());

  model_->manifest()->setManifestFile(
      {urlOf(folder_.file("list", "MD5 (f) = " + zeros + "\nMD5 (f) = " + md5OfAbc + '\n'))});
  ASSERT_TRUE(reached([&] { return !model_->manifest()->isLoadingManifest(); }));
  EXPECT_EQ(verified(), "7 files in the folder are not in the list.");
  EXPECT_FALSE(audit().offersSearch()) << "No file can have both";
}

TEST_F(Audit, TellsAFileFromItsCopiesOnlyByName) {
  for (const char* const name : {"sub", "x.d"}) fs::create_directories(root_ / name);
  folder_.file("root/copy1", "abc");
  folder_.file("root/copy2", "abc");
  model_->manifest()->setManifestRoot({urlOf(root_)});
  model_->manifest()->setManifestFile({urlOf(folder_.file("list", "MD5 (x) = 900150983cd24fb0d6963f7d28e17f72\n"))});
  ASSERT_TRUE(reached([&] { return !model_->manifest()->isLoadingManifest(); }));
  verified();
  searched();
  EXPECT_EQ(note("x"), "“copy1” and 1 other file have the same bytes.");
  for (const char* const copy : {"copy1", "copy2"}) EXPECT_EQ(note(copy), "It has the bytes of “x”.");
  folder_.file("root/sub/x", "abc");
  verified();
  searched();
  EXPECT_EQ(note("x"), "It is now at “sub/x”.");
  EXPECT_EQ(note("sub/x"), "It was “x”.");
  EXPECT_EQ(note("copy1"), "It has the bytes of “x”.");
  folder_.file("root/x.d/x", "abc");
  verified();
  searched();
  EXPECT_EQ(note("x"), "“sub/x” and 3 other files have the same bytes.");
}

TEST_F(Audit, SearchIsShownAsARunUntilItEnds) {
  fs::create_directories(root_);
  folder_.file("root/a", "abc");
  folder_.file("root/c", "abc");
  ManifestFlow& manifest = *model_->manifest();
  const auto start = [&] {
    audited({"a", "b"});
    ASSERT_TRUE(BackgroundTask::waitForAll(patience));
    gate_.close();
    holdAt("read", 1);
    audit().findMoved();
    ASSERT_TRUE(gate_.waitForArrival());
    EXPECT_TRUE(manifest.isAtWork());
    EXPECT_EQ(manifest.manifestRefusal(), "The search for missing files is under way.");
    EXPECT_EQ(manifest.manifestFileRefusal(), manifest.manifestRefusal());
    EXPECT_EQ(manifest.manifestRootRefusal(), manifest.manifestRefusal());
    manifest.verifyManifestOrChoose();
    manifest.dropManifest({QUrl(urlOf(folder_.path()).toString() + u'/')});
    manifest.setManifestFile({urlOf(root_ / "list.sfv")});
    model_->openFiles({urlOf(root_ / "list.sfv")}, {urlOf(root_ / "b.md5")}, manifest.manifestURL());
    EXPECT_EQ(model_->errorMessage(), manifest.manifestRefusal());
    EXPECT_EQ(model_->errorSubject(), "list.sfv and 1 more");
    model_->setErrorMessage({});
    EXPECT_TRUE(audit().isSearching()) << "Neither the run key, nor a drop, nor another program ends it";
  };
  ASSERT_NO_FATAL_FAILURE(start());
  audit().cancel();
  EXPECT_THAT(manifest.manifestVerdict().details.toStdString(),
              testing::EndsWith(" The search for missing files was cancelled."));
  EXPECT_FALSE(manifest.isAtWork());
  EXPECT_EQ(manifest.manifestRefusal(), "");
  goOn();
  for (const bool isFound : {true, false}) {
    ASSERT_NO_FATAL_FAILURE(start());
    model_->setMode(AppMode::Text);
    if (!isFound) folder_.file("root/c", "abd");
    gate_.open();
    ASSERT_TRUE(reached([&] { return !manifest.isAtWork(); }));
    EXPECT_EQ(model_->unseenOutcome(AppMode::Manifest), isFound ? Outcome::AllWell : Outcome::SomeFailed);
    model_->setMode(AppMode::Manifest);
  }
}

TEST_F(Audit, AndTheNextRunAreSeenWhateverFilterIsChosen) {
  fs::create_directories(root_);
  folder_.file("root/a", "abc");
  folder_.file("root/c", "abc");
  ManifestJobListModel& jobs = *model_->manifest()->manifestJobs();
  audited({"a", "b", "c"});
  const std::pair<ManifestJobListModel::Filter, int> filters[]{{ManifestJobListModel::Matches, 3},
                                                               {ManifestJobListModel::Waiting, 3},
                                                               {ManifestJobListModel::Failures, 1},
                                                               {ManifestJobListModel::Mismatches, 3}};
  for (const auto& [filter, count] : filters) {
    jobs.setFilter(filter);
    jobs.setSearch("another name");
    verified();
    EXPECT_EQ(jobs.count(), count) << filter;
  }
  // What a run left is verified by another one.
  jobs.setFilter(ManifestJobListModel::Matches);
  holdAt("read", 2);
  model_->manifest()->verifyManifest();
  ASSERT_TRUE(gate_.waitForArrival());
  ASSERT_TRUE(reached([&] { return model_->manifest()->manifestMatchedCount() == 1; }));
  model_->manifest()->cancelManifestVerification();
  goOn();
  jobs.setFilter(ManifestJobListModel::Waiting);
  model_->manifest()->verifyManifestRest();
  EXPECT_EQ(jobs.filter(), ManifestJobListModel::All);
  ASSERT_TRUE(reached([&] { return !model_->manifest()->isAtWork(); }));
}

}  // namespace

}  // namespace tallyfold::test
