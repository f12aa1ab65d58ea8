// The files of a folder that its verified list does not name.

#include "tests/app/AuditFixture.h"
#include "tests/support/TurnWatcher.h"

namespace tallyfold::test {

namespace {

using namespace std::string_literals;
using testing::HasSubstr;

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
  for (const char* const name : {"pipe", "listed pipe"}) ASSERT_EQ(mkfifo((root_ / name).c_str(), 0600), 0);
  EXPECT_EQ(audited({"./a", "a", "dir//b", "linked/sub/c", "link", "missing", "../outside", "./listed pipe"}),
            "7 files in the folder are in no line that is understood.");
  std::vector<std::string> expected = hostile;
  expected.insert(expected.end() - 1, "second name");
  std::ranges::sort(expected);
  EXPECT_EQ(audit().unlisted()->files()->paths, expected);
  EXPECT_EQ(audit().remarks().toStdString(),
            "2 links were not followed. 1 pipe, device or socket was left out. 2 other checksum lists were left out.");
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
  EXPECT_EQ(audit().unlisted()->files()->paths, std::vector{hostile.back()});
  fs::remove(root_ / hostile.back());
  EXPECT_EQ(verified(), "No other file was found. " + audit().remarks().toStdString())
      << "It may hide in a list's name";
  EXPECT_EQ(model_->manifest()->manifestVerdict().tone, Tone::Good);
  EXPECT_THAT(model_->manifest()->manifestVerdict().details.toStdString(),
              testing::EndsWith("checked. " + audit().sentence().toStdString()));
  folder_.file("root/new", "");
  for (const char* const name : {"a\nno entry", "/absolute"}) {
    EXPECT_EQ(audited({name}).substr(1), " files in the folder are in no line that is understood.");
  }
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
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));

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

TEST_F(Audit, TellsWhereOnlyTheSpellingOfANameDiffers) {
  fs::create_directories(root_ / "dir");
  for (const char* const name : {"e\u0301", "dir/README.TXT", "A\u030A", "STRASSE", "\xFF"}) {
    folder_.file("root/"s + name, name == "\xFF"s ? "" : "abc");
  }
  EXPECT_EQ(audited({"\u00E9", "Dir/ReadMe.txt", "\u00E5", "straße", "\u00FF"}),
            "5 files in the folder are not in the list.");
  EXPECT_EQ(note("\u00E9"), "Only the Unicode form (NFC, NFD) of the name differs from “e\u0301”.");
  EXPECT_EQ(note("e\u0301"), "Only the Unicode form (NFC, NFD) of the name differs from “\u00E9”.");
  EXPECT_EQ(note("Dir/ReadMe.txt"), "Only upper and lower case of the name differ from “dir/README.TXT”.");
  EXPECT_EQ(note("\u00E5"), "Only case and Unicode form of the name differ from “A\u030A”.");
  EXPECT_EQ(note("straße"), "Only upper and lower case of the name differ from “STRASSE”.");
  EXPECT_EQ(note("\u00FF"), "");
  folder_.file("root/STRASSE", "other");
  EXPECT_TRUE(audit().offersSearch());
  EXPECT_THAT(searched(),
              testing::EndsWith(" 3 of 5 missing files are among the unlisted ones. Equal CRC-32s are no proof."));
  EXPECT_EQ(note("\u00E9"),
            "Only the Unicode form (NFC, NFD) of the name differs from “e\u0301”, which has the same CRC-32.");
  EXPECT_EQ(note("straße"), "Only upper and lower case of the name differ from “STRASSE”, but it has other bytes.");
}

TEST_F(Audit, IsInTheReport) {
  fs::create_directories(root_ / "new");
  folder_.file("root/a", "abc");
  folder_.file("root/new/b", "abc");
  folder_.file("root/x\nunlisted: forged\t", "");
  const std::string hostile = R"(unlisted: x\nunlisted: forged\t)"
                              "\t\n";
  audited({"a", "b", "E"});
  EXPECT_THAT(kept(), testing::AllOf(HasSubstr("\nwalk: ended\nwalkEnd: 20"),
                                     HasSubstr("\nsearch: none\nsearchEnd: \nisComplete: true\nhasMore: false\n"),
                                     HasSubstr("\nunlisted: new/b\t\n" + hostile + "\nline\tstatus")));
  searched();
  EXPECT_THAT(kept(), testing::AllOf(HasSubstr("\nsearch: ended\nsearchEnd: 20"),
                                     HasSubstr("\nunlisted: new/b\tIt has the CRC-32 of “b”.\n" + hostile),
                                     HasSubstr("\tb\tNo such file or directory\t“new/b” has the same CRC-32.\n"),
                                     HasSubstr("\ta\t\t\n")));
  calls_.before = [](std::string_view name, std::size_t) { return name == "getdents" ? EIO : 0; };
  verified();
  EXPECT_THAT(kept(), HasSubstr("\nisComplete: false\nhasMore: false\n"));
  const VerifiedList list = model_->manifest()->verifiedList();
  audit().look(list);
  EXPECT_THAT(kept(), HasSubstr("\nwalk: running\nwalkEnd: \n"));
  audit().look(list);
  audit().cancel();
  EXPECT_THAT(kept(),
              testing::AllOf(HasSubstr("\nwalk: cancelled\nwalkEnd: \n"), testing::Not(HasSubstr("unlisted:"))));
  fs::rename(root_, folder_.path() / "aside");
  audit().look(list);
  ASSERT_TRUE(reached([&] { return !audit().isLooking(); }));
  EXPECT_THAT(kept(), HasSubstr("\nwalk: failed\n"));
}

TEST_F(Audit, AndItsListComeBackWhereTheyWereCleared) {
  fs::create_directories(root_);
  for (const char* const name : {"root/a", "root/c", "root/d"}) folder_.file(name, "abc");
  ManifestFlow& manifest = *model_->manifest();
  const auto clear = [&] {
    manifest.clearManifest();
    EXPECT_EQ(manifest.clearedSentence(), "Cleared the list.");
    EXPECT_FALSE(manifest.manifestURL() || manifest.manifestRootURL() || audit().isPresent());
    EXPECT_EQ(manifest.manifestJobs()->total(), 0);
    EXPECT_NE(manifest.manifestExport()->refusal(), "");
  };
  const auto expectBack = [&](const std::string& shows) {
    const std::string before = kept();
    EXPECT_THAT(before, HasSubstr(shows));
    const auto facts = [&] {
      return QStringList{manifest.manifestLines(), manifest.manifestRestVerb(), manifest.manifestFile().size,
                         manifest.manifestRoot().name, QString::fromStdString(note("b"))};
    };
    const QStringList factsBefore = facts();
    clear();
    QStringList factsTold;
    const QObject screen;
    QObject::connect(&audit(), &AuditFlow::notesChanged, &screen, [&] { factsTold = facts(); });
    QObject::connect(&manifest, &ManifestFlow::manifestURLsChanged, &screen, [&] { factsTold = facts(); });
    manifest.undoClear();
    EXPECT_EQ(manifest.clearedSentence(), "");
    EXPECT_TRUE(reached([&] { return factsTold == factsBefore; })) << factsTold.join(u'|').toStdString();
    EXPECT_EQ(kept(), before);
  };
  audited({"a", "b", "d"});
  expectBack("\nsearch: none\n");
  searched();
  expectBack("“c” has the same CRC-32.");
  holdAt("read", 2);
  manifest.verifyManifest();
  ASSERT_TRUE(gate_.waitForArrival());
  ASSERT_TRUE(reached([&] { return manifest.manifestMatchedCount() == 1; }));
  clear();
  goOn();
  manifest.undoClear();
  expectBack("\nwalk: none\n");
  manifest.verifyManifestRest();
  ASSERT_TRUE(reached([&] { return !manifest.isManifestVerifying() && !audit().isLooking(); }));
  EXPECT_EQ(manifest.manifestMatchedCount(), 2);

  // What is under way is begun anew.
  const std::string sentence = verified();
  const std::pair<std::string_view, std::function<void()>> works[]{
      {"getdents", [&] { manifest.verifyManifest(); }},
      {"read", [&] { manifest.setManifestFile({urlOf(root_ / "list.sfv")}); }}};
  for (const auto& [call, begin] : works) {
    gate_.close();
    holdAt(call, 1);
    begin();
    ASSERT_TRUE(reached([&] { return audit().isLooking() || manifest.isLoadingManifest(); }));
    ASSERT_TRUE(gate_.waitForArrival());
    clear();
    goOn();
    manifest.undoClear();
    ASSERT_TRUE(reached([&] { return !manifest.isAtWork(); }));
    EXPECT_EQ(manifest.manifestJobs()->total(), 3) << call;
    EXPECT_EQ(audit().sentence().toStdString(), call == "read" ? "" : sentence);
  }

  // What is chosen next takes its place.
  const std::function<void()> choices[]{[&] { manifest.setManifestRoot({urlOf(folder_.path())}); },
                                        [&] { manifest.setManifestFile({urlOf(root_ / "list.sfv")}); }};
  for (const auto& choose : choices) {
    manifest.clearManifest();
    choose();
    EXPECT_EQ(manifest.clearedSentence(), "");
    manifest.undoClear();
    EXPECT_FALSE(manifest.manifestURL() && manifest.manifestRootURL());
    ASSERT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
  }
  manifest.clearManifest();
  manifest.setManifestRoot({urlOf(root_)});
  manifest.clearManifest();
  EXPECT_EQ(manifest.clearedSentence(), "Cleared the root folder.");
}

TEST_F(Audit, OfManyFilesTakesNoLongTurn) {
  // A fifth of what there may be, in turns of a tenth of the length.
  constexpr int limit = 20'000;
  constexpr double longest = longestGoodTurn / 10;
  SystemCalls::replace(nullptr);
  fs::create_directories(root_);
  for (int i = 0; i < limit; ++i) std::ofstream(root_ / std::to_string(i)) << (i % 2 == 0 ? "abc" : "");
  {
    std::ofstream list(folder_.path() / "list.sfv");
    for (int i = 0; i < limit; ++i) list << "old/" << i % (limit / 2) << '-' << i << " 352441c2\n";
  }
  ManifestFlow& manifest = *model_->manifest();
  manifest.setManifestRoot({urlOf(root_)});
  manifest.setManifestFile({urlOf(folder_.path() / "list.sfv")});
  ASSERT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
  std::map<std::string, double> shortest;  // Of up to three tries: what else runs makes a turn longer, never shorter.
  const auto expectShortTurns = [&](const std::string& what, const std::function<void()>& act) {
    constexpr int minutes = 3 * 60'000;
    TurnWatcher turns;
    act();
    const auto isOver = [&] { return !manifest.isAtWork() && !manifest.manifestExport()->isSaving(); };
    ASSERT_TRUE(QTest::qWaitFor(isOver, minutes)) << what;
    double& best = shortest.try_emplace(what, 1e9).first->second;
    best = std::min(best, turns.takeLongest());
  };
  const auto areShort = [&] {
    return !shortest.empty() && std::ranges::all_of(shortest, [](auto& turn) { return turn.second < longest; });
  };
  for (int i = 0; i < 3 && !areShort(); ++i) {
    expectShortTurns("verify", [&] { manifest.verifyManifest(); });
    ASSERT_EQ(audit().unlisted()->total(), limit);
    expectShortTurns("search", [&] { audit().findMoved(); });
    expectShortTurns("notes", [&] {
      for (int row = 0; row < 50; ++row) {
        const QModelIndex entry = manifest.manifestJobs()->index(limit - 1 - row);
        EXPECT_FALSE(entry.data(ManifestJobListModel::NoteRole).toString().isEmpty());
        (void)audit().unlisted()->index(row).data(UnlistedModel::NoteRole);
      }
    });
    expectShortTurns("export", [&] {
      manifest.manifestExport()->save(ManifestExport::Csv);
      desktop_.confirmSavePanel(urlOf(folder_.path() / "report"));
    });
    expectShortTurns("forget", [&] { audit().forget(); });
  }
  for (const auto& [what, turn] : shortest) {
    std::cout << what << ": " << turn << " ms\n";
    EXPECT_LT(turn, longest) << what;
  }
}

}  // namespace

}  // namespace tallyfold::test
