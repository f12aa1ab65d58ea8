#include "tests/app/ModelTest.h"
#include "tests/support/Process.h"

namespace tallyfold::test {

namespace {

using Model = ManifestJobListModel;

const std::string md5OfAbc = "900150983cd24fb0d6963f7d28e17f72";
const std::string sha1OfAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";

class ManifestFlow : public ModelTest {
 protected:
  void load(const std::string& lines, const char* name = "list.txt") {
    model_->manifest()->setManifestFile({urlOf(folder_.file(name, lines))});
    ASSERT_TRUE(model_->manifest()->isLoadingManifest());
    ASSERT_TRUE(reached([this] { return !model_->manifest()->isLoadingManifest(); }));
  }

  void verify() {
    model_->manifest()->setManifestRoot({urlOf(root_)});
    model_->manifest()->verifyManifest();
    ASSERT_TRUE(model_->manifest()->isManifestVerifying());
    ASSERT_TRUE(
        reached([this] { return !model_->manifest()->isManifestVerifying() && !model_->audit()->isLooking(); }));
  }

  /// Of a list with one match, two entries of one file that is not read to its end, and one that waits.
  void holdInMidRun() {
    folder_.file("root/slow", "abc");
    load(md5OfAbc + "  abc\n" + md5OfAbc + "  slow\n" + sha1OfAbc + "  slow\n" + md5OfAbc + "  last\n");
    model_->manifest()->setManifestRoot({urlOf(root_)});
    holdAt("read", 2);
    model_->manifest()->verifyManifest();
    ASSERT_TRUE(gate_.waitForArrival());
    ASSERT_TRUE(reached([this] { return statuses()[1] == "Verifying"; }));
  }

  [[nodiscard]] std::vector<std::string> statuses() const {
    std::vector<std::string> list;
    Model& jobs = *model_->manifest()->manifestJobs();
    for (int row = 0; row < jobs.rowCount(); ++row) {
      list.push_back(jobs.index(row).data(Model::StatusRole).toString().toStdString());
    }
    return list;
  }

  [[nodiscard]] std::vector<int> counts() const {
    return {model_->manifest()->manifestMatchedCount(), model_->manifest()->manifestMismatchCount(),
            model_->manifest()->manifestErrorCount()};
  }

  [[nodiscard]] std::string title() const { return model_->manifest()->manifestVerdict().title.toStdString(); }

  const fs::path root_ = folder_.path() / "root";
  const fs::path abc_ = (fs::create_directory(root_), folder_.file("root/abc", "abc"));
};

TEST_F(ManifestFlow, EveryEntryIsToldInItsWords) {
  fs::create_symlink(folder_.file("secret", "abc"), root_ / "leak");
  fs::create_directory(root_ / "folder");
  const std::string nearMiss = md5OfAbc.substr(0, 31) + "3";
  load(md5OfAbc + "  abc\n" +                    // matches
       nearMiss + "  ./abc\n" +                  // does not
       "# comment\n\nno checksum\n" +            // no entries
       md5OfAbc + "  leak\n" +                   //
       md5OfAbc + "  ../secret\n" +              //
       md5OfAbc + "  " + abc_.string() + "\n" +  //
       md5OfAbc + "  missing\n" +                //
       md5OfAbc + "  folder\n" +                 //
       "SHA1 (abc) = A9993E36 4706816A BA3E2571 7850C26C 9CD0D89D\n");
  EXPECT_EQ(model_->manifest()->manifestLines(), QStringLiteral("8 entries · 1 unsupported"));
  EXPECT_EQ(model_->manifest()->manifestIgnoredLineCount(), 2);
  EXPECT_EQ(model_->manifest()->manifestWarnings(), QStringList{"Line 5: unsupported checksum format."});
  verify();
  EXPECT_THAT(statuses(),
              ElementsAre("Match", "Mismatch. Actual: " + md5OfAbc,
                          "A manifest path resolves outside the selected root folder.",
                          "A manifest path resolves outside the selected root folder.",
                          "Absolute paths are not allowed in manifest verification.", "No such file or directory",
                          "The selected item is not a regular file.", "Match"));
  EXPECT_THAT(counts(), ElementsAre(2, 1, 5));
  EXPECT_EQ(title(), "1 entry does not match, 5 could not be checked");
  EXPECT_EQ(model_->manifest()->manifestProgress(), 1);
  EXPECT_EQ(model_->manifest()->manifestProgressFigure(), QStringLiteral("6 of 6 files"));
  EXPECT_EQ(model_->errorMessage(), QString());

  model_->manifest()->chooseManifestRoot();
  desktop_.confirmFolderPanel(urlOf(folder_.path()));
  EXPECT_THAT(statuses(), Each("Queued"));
  EXPECT_THAT(counts(), ElementsAre(0, 0, 0));
  EXPECT_EQ(model_->manifest()->manifestProgress(), 0);
  EXPECT_EQ(title(), "8 entries, not verified yet");
  model_->manifest()->setManifestFile({urlOf(root_ / "missing")});
  EXPECT_EQ(model_->manifest()->manifestWarnings(), QStringList());
  ASSERT_TRUE(reached([this] { return title() == "The checksum list was not read"; }));
  load(md5OfAbc + "  abc\n");
  EXPECT_EQ(title(), "1 entry, not verified yet");
}

TEST_F(ManifestFlow, UserSaysWhatTheListLeavesOpen) {
  using testing::HasSubstr;
  const auto& flow = *model_->manifest();
  const auto lines = [&] { return flow.manifestLines().toStdString(); };
  const std::string sha256 = outputOf({"sha256sum", abc_}).substr(0, 64);
  load(sha256 + "  abc\nwhat?\n", "checksums_256.txt");
  EXPECT_EQ(lines(), "0 entries \u00B7 1 ambiguous \u00B7 1 unsupported");
  load(sha256 + "  abc\n", "checksums_256.txt");
  EXPECT_EQ(title(), "The list does not say which algorithm it is of");
  EXPECT_EQ(flow.manifestAlgorithms(), (QStringList{"SHA-256", "BLAKE3"}));
  EXPECT_EQ(flow.proposedManifestAlgorithm(), "SHA-256");
  for (const char* const name : {"BLAKE3", "SHA-256"}) {
    model_->manifest()->readManifestAs("MD5");
    model_->manifest()->readManifestAs(name);
    ASSERT_TRUE(reached([&] { return !flow.isLoadingManifest(); }));
    EXPECT_EQ(flow.manifestAlgorithm(), name);
    EXPECT_EQ(lines(), "1 entry");
    verify();
    EXPECT_EQ(flow.manifestVerdict().tone, name == std::string("BLAKE3") ? Tone::Bad : Tone::Good) << title();
  }

  fs::copy_file(abc_, root_ / "a b");
  load("\"a b\" 352441c2\n\"abc\" 352441c2\n", "x.sfv");
  EXPECT_EQ(flow.manifestAlgorithms(), QStringList()) << "Another list";
  EXPECT_FALSE(flow.offersReadingWithoutQuotes());
  verify();
  ASSERT_TRUE(flow.offersReadingWithoutQuotes());
  model_->manifest()->readManifestWithoutQuotes();
  ASSERT_TRUE(reached([&] { return !flow.isLoadingManifest(); }));
  verify();
  EXPECT_EQ(title(), "All 2 entries match");
  EXPECT_FALSE(flow.offersReadingWithoutQuotes());

  load("MD5  " + md5OfAbc + "  " + abc_.string() + "\n");
  EXPECT_EQ(flow.offeredManifestRoot().name, "") << "The folder of the names is the root already";
  verify();
  EXPECT_EQ(title(), "The only entry matches");
  load(md5OfAbc + "  missing\n" + md5OfAbc + "  " + abc_.string());
  verify();
  EXPECT_THAT(flow.manifestVerdict().details.toStdString(), HasSubstr("1 entry has an absolute name"));
  const std::string header = "%%%% HASHDEEP-1.0\n%%%% size,md5,filename\n";
  load(header + "1204," + std::string(32, '0') + ",abc\n3," + std::string(32, '0') + ",abc\n4," + md5OfAbc + ",abc\n");
  verify();
  std::vector<std::string> notes;
  for (int row = 0; row < 3; ++row) {
    notes.push_back(model_->manifest()->manifestJobs()->index(row).data(Model::SizeNoteRole).toString().toStdString());
  }
  EXPECT_THAT(notes, ElementsAre("The list says 1,204 bytes, the file has 3.", "", ""));
  load("\uFEFF" + md5OfAbc.substr(1) + "0  abc\n# BLAKE2b\n" + md5OfAbc.substr(1) + "0  abc");
  verify();
  EXPECT_THAT(flow.manifestVerdict().details.toStdString(), HasSubstr("speaks of BLAKE2b"));
  for (const char* const name : {"list.txt", "a.md5", "a.sha1"}) {
    load(md5OfAbc.substr(1) + "0  abc\n", name);
    verify();
    const bool isOpen = !std::string(name).ends_with("md5");
    EXPECT_EQ(flow.manifestVerdict().details.contains("may be of another algorithm"), isOpen) << name;
  }

  const QUrl unreadable = urlOf(folder_.file("list", "a\n\xFF"));
  model_->manifest()->dropManifest({unreadable, urlOf(abc_), urlOf(root_ / "")});
  ASSERT_TRUE(reached([&] { return !flow.isLoadingManifest(); }));
  EXPECT_EQ(lines(), "line 2 is not text");

  EXPECT_THAT(flow.manifestVerdict().details.toStdString(), HasSubstr(" abc came with this list and is not read."));

  QString shown;
  const QObject card;
  QObject::connect(model_->manifest(), &tallyfold::ManifestFlow::manifestLinesChanged, &card, [&] {
    shown = flow.manifestLines() + flow.manifestAlgorithm() + flow.manifestAlgorithms().join(QString());
  });
  model_->manifest()->clearManifest();
  EXPECT_EQ(shown, QString()) << "What was said of a list goes with it";
  load(sha256 + "  abc\n");
  model_->manifest()->readManifestAs("BLAKE3");
  model_->manifest()->cancelManifest();
  EXPECT_EQ(shown, QString());
  model_->manifest()->readManifestAs("SHA-256");
  EXPECT_FALSE(flow.isLoadingManifest()) << "There is none to be read";
}

TEST_F(ManifestFlow, RootIsProposedWhereAllFilesAreMissing) {
  auto& flow = *model_->manifest();
  fs::create_directories(root_ / "x/x/y/z");
  fs::create_directories(folder_.path() / "elsewhere/a/b/c");
  folder_.file("root/x/x/abc", "abc");
  const struct {
    std::string path;
    fs::path root;
    fs::path proposal;
  } cases[] = {
      {"./abc", root_ / "x", root_},
      {"abc", root_ / "x/x/y/z", root_ / "x/x"},
      {"x/abc", root_, root_ / "x"},
      {"root/abc", root_ / "x/x", folder_.path()},
      {"root/abc", folder_.path() / "elsewhere/a/b/c", folder_.path()},  // Where the list is.
      {"nowhere", root_ / "x", ""},
      {"../abc", root_ / "x/x", ""},
      {"", root_ / "x", ""},
      {"\"abc\"", root_, ""},  // Quotes may be what is wrong.
  };
  for (const auto& each : cases) {
    load(std::string("MD5 (").append(each.path).append(") = ").append(md5OfAbc));
    flow.setManifestRoot({urlOf(each.root)});
    EXPECT_EQ(flow.offeredManifestRoot().path.toStdString(), folder_.path());
    flow.verifyManifest();
    ASSERT_TRUE(reached([&] { return !flow.isManifestVerifying() && BackgroundTask::waitForAll(patience); }));
    EXPECT_TRUE(reached([&] { return flow.offeredManifestRoot().path.toStdString() == each.proposal; })) << each.path;
    if (each.proposal.empty()) continue;
    flow.useProposedManifestRoot();
    EXPECT_FALSE(flow.offeredManifestRoot().isPresent) << "The folder of the list, again";
  }
}

TEST_F(ManifestFlow, CancelledRunKeepsWhatItFoundAndIsNeverGreen) {
  holdInMidRun();
  model_->setMode(AppMode::Text);
  EXPECT_THAT(statuses(), ElementsAre("Match", "Verifying", "Verifying", "Queued"));
  EXPECT_EQ(title(), "Verifying…");
  EXPECT_TRUE(model_->flow(AppMode::Manifest).isBusy());

  ManifestJobListModel& jobs = *model_->manifest()->manifestJobs();
  jobs.setFilter(ManifestJobListModel::Mismatches);
  model_->manifest()->cancelManifestVerification();
  EXPECT_EQ(jobs.filter(), ManifestJobListModel::All) << "Nothing would be shown";
  EXPECT_FALSE(model_->manifest()->isManifestVerifying());
  EXPECT_EQ(title(), "3 entries were not checked");
  EXPECT_EQ(model_->unseenOutcome(AppMode::Manifest), Outcome::NoOutcome);
  goOn();
  EXPECT_THAT(statuses(), ElementsAre("Match", "Queued", "Queued", "Queued"));
  EXPECT_THAT(counts(), ElementsAre(1, 0, 0));
  EXPECT_EQ(model_->errorMessage(), QString());

  verify();
  EXPECT_THAT(statuses(), ElementsAre("Match", "Match", "Match", "No such file or directory"));
  EXPECT_EQ(model_->unseenOutcome(AppMode::Manifest), Outcome::SomeFailed);

  gate_.close();
  holdInMidRun();
  model_->manifest()->setManifestRoot({urlOf(folder_.path())});
  EXPECT_FALSE(model_->manifest()->isManifestVerifying());
  goOn();
  EXPECT_THAT(statuses(), Each("Queued"));
  EXPECT_EQ(title(), "4 entries, not verified yet") << "Another root ends the run and what it found";
}

TEST_F(ManifestFlow, RestIsVerifiedAndWhatIsTheSameStillIsNotReadAgain) {
  using testing::StartsWith;
  auto& flow = *model_->manifest();
  const auto end = [&] {
    gate_.open();
    ASSERT_TRUE(reached([&] { return !flow.isManifestVerifying() && BackgroundTask::waitForAll(patience); }));
  };
  const auto expectRest = [&](const char* verb, const char* first, std::int64_t bytesRead) {
    end();
    EXPECT_EQ(flow.manifestRestVerb(), verb);
    calls_.bytesRead = 0;
    flow.verifyManifestRest();
    EXPECT_THAT(counts(), Each(0)) << "Nothing holds before it was looked at";
    end();
    EXPECT_THAT(statuses(), ElementsAre(StartsWith(first), "Match", "Match", "No such file or directory"));
    EXPECT_EQ(calls_.bytesRead, bytesRead);
    EXPECT_EQ(flow.manifestRestVerb(), "");
    gate_.close();
  };
  holdInMidRun();
  folder_.file("root/new", "abc");
  expectRest("Verify the Rest Again", "Match", 0);
  holdInMidRun();
  flow.cancelManifestVerification();
  folder_.file("root/abc", "cba");
  expectRest("Verify the Rest", "Mismatch", 6);
}

TEST_F(ManifestFlow, WhatIsShownIsWhatIsCopied) {
  for (const char* const name : {"root/first", "root/second"}) folder_.file(name, "abc");
  load(md5OfAbc + "  abc\nno checksum\n" + md5OfAbc + "  missing\n");
  ShownRows& shown = *model_->shownRows();
  shown.setKind(ShownRows::Unlisted);
  EXPECT_EQ(shown.kind(), ShownRows::Entries) << "Nothing was looked for yet";
  verify();
  const std::string entries[]{"1\tMD5\tabc\tMatch", "3\tMD5\tmissing\tNo such file or directory"};
  const std::string warning = "Line 2: unsupported checksum format.";
  const struct {
    ShownRows::Kind kind;
    std::string second;
    std::string all;
    const char* emptySentence;
  } kinds[] = {
      {ShownRows::Unlisted, "second", "first\nsecond", "2 files in the folder are in no line that is understood."},
      {ShownRows::Warnings, entries[1], warning, "Every line of the list is understood."},
      {ShownRows::Entries, entries[1], entries[0] + "\n" + entries[1], "No entry is in this state."},
  };
  const auto copied = [&] {
    EXPECT_TRUE(reached([&] { return desktop_.pasteboard.has_value(); }));
    return std::exchange(desktop_.pasteboard, std::nullopt).value_or("").toStdString();
  };
  for (const auto& [kind, second, all, emptySentence] : kinds) {
    const QSignalSpy changes(&shown, &ShownRows::changed);
    shown.setKind(kind);
    EXPECT_EQ(shown.kind(), kind);
    EXPECT_FALSE(changes.isEmpty());
    EXPECT_EQ(shown.emptySentence().toStdString(), emptySentence);
    EXPECT_EQ(shown.copyRefusal(), "");
    shown.copyAll();
    EXPECT_EQ(copied(), all);
    shown.copySelected(1);
    EXPECT_EQ(copied(), second);
    shown.rows()->markOnly(1, 1);
    shown.copySelected(0);
    EXPECT_EQ(copied(), second) << "Rows that are marked come before the current one";
    shown.rows()->clearMarks();
  }
  shown.setKind(ShownRows::Unlisted);
  model_->audit()->unlisted()->setSearch("nothing");
  EXPECT_EQ(shown.copyRefusal(), "There are no rows to copy.");
  model_->manifest()->verifyManifest();
  EXPECT_EQ(shown.kind(), ShownRows::Entries);
}

TEST_F(ManifestFlow, RootThatIsNoFolderIsAnErrorOfTheRun) {
  load(md5OfAbc + "  abc\n");
  verify();
  EXPECT_THAT(statuses(), ElementsAre("Match"));
  EXPECT_EQ(model_->manifest()->manifestProgressFigure(), QStringLiteral("1 of 1 file"));
  fs::remove_all(root_);
  model_->manifest()->verifyManifest();
  ASSERT_TRUE(reached([this] { return !model_->manifest()->isManifestVerifying(); }));
  EXPECT_EQ(model_->errorMessage(), QStringLiteral("The selected manifest root is not an accessible directory."));
  EXPECT_THAT(statuses(), ElementsAre("Queued"));
  EXPECT_EQ(title(), "The only entry was not checked");
  EXPECT_THAT(model_->manifest()->manifestVerdict().details.toStdString(), testing::HasSubstr("stopped by an error"));
}

TEST_F(ManifestFlow, LongListIsOneChangeAndEachOfItsFilesIsReadOnce) {
  constexpr int count = 2'000;
  for (int i = 0; i < count; ++i) folder_.file("root/" + std::to_string(i), "1234567890");
  fs::create_hard_link(root_ / "0", root_ / "same file");
  const std::string sha256 = outputOf({"sha256sum", root_ / "0"}).substr(0, 64);
  std::string lines;
  for (int i = 0; i < count; ++i) lines += sha256 + "  " + std::to_string(i) + "\n";
  lines += sha256 + "  same file\nBLAKE3 (0) = " + outputOf({"b3sum", root_ / "0"}).substr(0, 64) + "\n";
  QSignalSpy resets(model_->manifest()->manifestJobs(), &Model::modelReset);
  QSignalSpy changes(model_->manifest()->manifestJobs(), &Model::dataChanged);
  load(lines, "SHA256SUMS");
  EXPECT_EQ(resets.count(), 1);
  calls_.bytesRead = 0;
  verify();
  EXPECT_EQ(title(), "All 2,002 entries match");
  EXPECT_EQ(calls_.bytesRead, 10 * count);
  EXPECT_LT(changes.count(), count / 10);
  model_->manifest()->copyManifestRow(1);
  model_->manifest()->copyManifestShown();
  EXPECT_EQ(desktop_.pasteboard, std::nullopt) << "copied on the interface thread";
  ASSERT_TRUE(reached([&] { return desktop_.pasteboard.has_value(); }));
  EXPECT_EQ(desktop_.pasteboard.value().count('\n'), count + 1);
  model_->manifest()->copyManifestRow(1);
  ASSERT_TRUE(reached([&] { return desktop_.pasteboard == "2\tSHA-256\t1\tMatch"; }));
}

TEST_F(ManifestFlow, VerificationIsKeptAsItWas) {
  ManifestExport& report = *model_->manifest()->manifestExport();
  const fs::path saved = folder_.path() / "report";
  const auto kept = [&] {
    report.save(ManifestExport::Text);
    desktop_.confirmSavePanel(urlOf(saved));
    EXPECT_TRUE(reached([&] { return !report.isSaving(); }));
    EXPECT_EQ(report.savedPlace(), QString::fromStdString(saved));
    return outputOf({"cat", saved});
  };
  EXPECT_EQ(report.refusal(), "There is no verification to export yet.");
  holdInMidRun();
  EXPECT_EQ(report.refusal(), "Reports can be saved when the verification has ended.");
  model_->manifest()->cancelManifestVerification();
  goOn();
  const fs::path list = folder_.path() / "list.txt";
  const auto digestBy = [&](const char* program) { return outputOf({program, list}).substr(0, 64); };
  const std::string digests =
      "\nlist's SHA-256: " + digestBy("sha256sum") + "\nlist's BLAKE3: " + digestBy("b3sum") + "\n";
  folder_.file("list.txt", "changed since");
  EXPECT_THAT(kept(), testing::AllOf(testing::HasSubstr("\nverdict: " + title() + "\n"), testing::HasSubstr(digests),
                                     testing::HasSubstr("\nmatch: 1\nmismatch: 0\nfailed: 0\nunchecked: 3\n"),
                                     testing::HasSubstr("\n2\tunchecked\tMD5\t" + md5OfAbc + "\t\tslow\t\t\n")));
  folder_.file("root/slow", "other");
  verify();
  EXPECT_EQ(report.savedPlace(), "") << "of another run";
  EXPECT_THAT(kept(),
              testing::AllOf(testing::HasSubstr("\nverdict: " + title() + "\n"), testing::HasSubstr(digests),
                             testing::HasSubstr("\n1\tmatch\tMD5\t" + md5OfAbc + "\t" + md5OfAbc + "\tabc\t\t\n"),
                             testing::HasSubstr("\n2\tmismatch\tMD5\t" + md5OfAbc +
                                                "\t795f3202b17cb6bc3d4b771d8c6c9eaf\tslow\t\t\n"),
                             testing::HasSubstr("\t\tlast\t" + statuses()[3] + "\t\n"),
                             testing::ContainsRegex("\nstart: 20[0-9-]+T[0-9:]+Z\nend: 20[0-9-]+T[0-9:]+Z\n")));
}

}  // namespace

}  // namespace tallyfold::test
