// The Files mode: its queue and its runs.

#include <set>

#include "app/files/PreparedFiles.h"
#include "tests/app/ModelTest.h"
#include "tests/support/CollidingNames.h"

namespace tallyfold::test {

namespace {

using Files = ModelTest;

TEST_F(Files, EachRegularLocationIsQueuedOnceInTheGivenOrder) {
  const QByteArray here = "file://" + QSysInfo::machineHostName().toUpper().toLatin1() + "/t/b";
  const struct {
    const char* situation;
    std::vector<const char*> urls;
    std::vector<fs::path> expected;
  } cases[] = {
      {"in the given order", {"file:///t/b", "file:///t/a", "file:///t/c"}, {"/t/b", "/t/a", "/t/c"}},
      {"one file in many spellings",
       {"file:///t/a", "file:///t/./a", "file:///t/x/../a", "file:///t//a", "file:////t/a", "file:///%74/%61"},
       {"/t/a"}},
      {"folders", {"file:///t/", "file:///t/a/", "file:///", "file:///t/.", "file:///t/a/..", "file:///t/%2E"}, {}},
      {"a folder among files", {"file:///t/a", "file:///t/", "file:///t/b"}, {"/t/a", "/t/b"}},
      {"not files", {"https://example.org/a", "/t/a", "a", "file:a", "file:", "", "mailto:a@example.org"}, {}},
      {"files of other machines, and what is more than a file",
       {"file://otherhost/t/a", "file://user@localhost/t/a", "file://localhost:80/t/a", "file:///t/a?b", "file:///t/a?",
        "file:///t/a#b", "file:///t/a%00b", "file:///t/a%00"},
       {}},
      {"this machine", {"file://LocalHost/t/a", here.constData()}, {"/t/a", "/t/b"}},
      {"names that are not UTF-8", {"file:///t/%FF", "file:///t/%FE", "file:///t/%FF"}, {"/t/\xFF", "/t/\xFE"}},
      {"names with meaning in URLs", {"file:///t/%3F%23%25", "file:///t/a%0Ab"}, {"/t/?#%", "/t/a\nb"}},
      {"upper and lower case", {"file:///t/A", "file:///t/a"}, {"/t/A", "/t/a"}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.situation);
    model_->files()->clearFiles();
    QList<QUrl> urls;
    for (const char* url : test.urls) urls.append(QUrl(QString::fromLatin1(url)));
    model_->files()->addFiles(urls);
    EXPECT_EQ(paths(), test.expected);
    const QSignalSpy changes(model_->files()->jobs(), &FileJobListModel::rowsInserted);
    model_->files()->addFiles(urls);
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(model_->errorMessage(), QString());
  }
}

TEST_F(Files, NamesThatAreMadeToMeetDoNot) {
  QList<QUrl> urls;
  for (const std::string& name : collidingNames("/nowhere", 12)) urls.append(urlOf(name));
  const FileRows rows = prepareFiles(urls, 4096).rows;
  std::set<std::size_t> hashes;
  for (std::size_t row = 0; row < rows.jobs.size(); ++row) hashes.insert(rows.jobURLSet.hashOf(row));
  EXPECT_EQ(hashes.size(), 4096U);
}

TEST_F(Files, QueueIsLimitedAndLosesNothingAtItsLimit) {
  const QString message = QStringLiteral("The file queue is limited to 100,000 items.");
  const QUrl folder(QStringLiteral("file:///t/"));
  const QUrl page(QStringLiteral("https://example.org/"));
  const QList<QUrl> first = vanishedFiles(99'999);
  const QList<QUrl> more = vanishedFiles(4, QStringLiteral("/more/"));
  const QSignalSpy changes(model_->files()->jobs(), &FileJobListModel::rowsInserted);
  model_->files()->addFiles(first);
  ASSERT_EQ(changes.count(), 1) << "However many there are, the list changes once";
  const auto firstPaths = paths();

  const struct {
    const char* situation;
    QList<QUrl> urls;
    int count;
    bool isRefused;
  } cases[] = {
      {"room for one, nothing new", {first[0], folder, page, first[99'998]}, 99'999, false},
      {"room for one, two new ones", {more[0], more[1]}, 100'000, true},
      {"no room, a new one", {more[2]}, 100'000, true},
      {"no room, a folder", {folder}, 100'000, true},
      {"room for one, and what is no file after it", {more[2], folder, page}, 100'000, false},
      {"room for one, the same twice", {more[3], more[3]}, 100'000, true},
  };
  for (const auto& [situation, urls, count, isRefused] : cases) {
    SCOPED_TRACE(situation);
    if (std::string_view(situation).starts_with("room")) model_->files()->removeJob(idAt(99'999));
    model_->setErrorMessage({});
    model_->files()->addFiles(urls);
    EXPECT_EQ(model_->files()->jobs()->count(), count);
    EXPECT_EQ(model_->errorMessage(), isRefused ? message : QString());
  }
  EXPECT_EQ(*model_->files()->jobs()->jobs().back().url, "/more/3");
  model_->files()->removeJob(idAt(99'999));
  EXPECT_EQ(paths(), firstPaths);
}

TEST_F(Files, DropThatFillsTheQueueStartsAndSaysThatNotAllHadRoom) {
  // Without a selection there is nothing to start. The second drop comes while the first is prepared.
  model_->setSelectedAlgorithms({});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/cleared")});
  model_->files()->clearFiles();
  model_->files()->addFiles(vanishedFiles(99'998));
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/a")});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/b")});
  ASSERT_TRUE(reached([&] { return model_->files()->jobs()->count() == 100'000; }));
  EXPECT_EQ(*model_->files()->jobs()->jobs().back().url, "/elsewhere/b");
  EXPECT_FALSE(model_->files()->isProcessing());

  model_->files()->removeJob(idAt(0));
  model_->choosePreset(AppViewModel::Recommended);
  model_->setErrorMessage(QStringLiteral("An older one."));
  model_->files()->addDroppedFiles({urlOf("/elsewhere/d"), urlOf("/elsewhere/e")});
  EXPECT_TRUE(model_->files()->isProcessing());
  EXPECT_EQ(model_->errorMessage(), QStringLiteral("The file queue is limited to 100,000 items."));
  model_->files()->cancelProcessing();
  ASSERT_TRUE(runEnds());
}

TEST_F(Files, QuickDropsAreOneRun) {
  for (const char* name : {"a", "b", "a"}) model_->files()->receiveDroppedFiles({urlOf(folder_.file(name, "abc"))});
  ASSERT_TRUE(reached([&] { return model_->files()->isProcessing(); }) && runEnds());
  EXPECT_THAT(states(), ElementsAre("complete", "complete"));
}

TEST_F(Files, ReceivedBeforeTheListIsClearedComeNoMore) {
  model_->files()->chooseFiles();
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/a")});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/b")});
  model_->files()->clearFiles();
  desktop_.openPanel({urlOf("/elsewhere/c")});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/d")});
  ASSERT_TRUE(reached([&] { return model_->files()->jobs()->count() > 0; }) && runEnds());
  EXPECT_THAT(paths(), ElementsAre("/elsewhere/d"));
}

TEST_F(Files, FailureMarksOnlyItsOwnRow) {
  const fs::path good = folder_.file("good", "abc");
  const fs::path unreadable = folder_.file("unreadable", "abc");
  const fs::path middle = folder_.file("middle", "abc");
  const fs::path growing = folder_.file("growing", "abc");
  const fs::path last = folder_.file("last", "abc");
  add({good, folder_.path() / "vanished", unreadable, middle, growing, last});
  calls_.before = [&, opened = 0](std::string_view call, std::size_t) mutable {
    if (call == "open") return ++opened == 2 ? EACCES : 0;
    if (call == "read" && opened == 4) std::ofstream(growing, std::ios::app) << "d";
    return 0;
  };
  model_->setErrorMessage(QStringLiteral("An older one."));
  model_->setMode(AppMode::Verify);
  run();
  EXPECT_EQ(model_->unseenOutcome(AppMode::Files), Outcome::SomeFailed);
  EXPECT_THAT(
      states(),
      ElementsAre("complete", "No such file or directory", "Permission denied", "complete",
                  "The file changed while it was being read. Run the operation again on a stable file.", "complete"));
  EXPECT_THAT(resultPaths(), ElementsAre(good, middle, last));
  EXPECT_EQ(model_->files()->overallProgress(), 1);
  EXPECT_EQ(model_->errorMessage(), QString());
}

TEST_F(Files, WhatCannotRunInMidRunIsRefusedAndProgressNeverGoesBack) {
  const fs::path large = folder_.file("large", "");
  fs::resize_file(large, 20 << 20);
  model_->setSelectedAlgorithms({HashAlgorithm::sha256});
  add({folder_.file("first", "abc"), large, folder_.file("last", "abc")});
  // At 80 % of the large one, of which progress is reported at 40 % and at 80 %.
  calls_.before = [this](std::string_view call, std::size_t) {
    if (call == "read" && calls_.bytesRead >= 3 + (16 << 20)) gate_.pass();
    return 0;
  };
  model_->files()->startProcessing();
  ASSERT_TRUE(reached([this] { return states()[1] == "hashing 80%"; }));
  ASSERT_TRUE(gate_.waitForArrival());
  const auto before = paths();
  const auto statesBefore = states();
  EXPECT_THAT(statesBefore, ElementsAre("complete", "hashing 80%", "queued"));
  EXPECT_EQ(model_->files()->overallProgress(), 1.0 / 3);
  EXPECT_THAT(resultPaths(), ElementsAre(before[0]));

  tryEverything();
  model_->choosePreset(AppViewModel::AllAlgorithms);
  model_->setAlgorithmSelected(QStringLiteral("MD5"), true);
  EXPECT_EQ(paths(), before);
  EXPECT_THAT(model_->selectedAlgorithmNames(), ElementsAre(QStringLiteral("SHA-256")));

  for (const double progress : {0.8, 0.2, -1.0}) model_->files()->updateJobProgress(idAt(1), progress);
  // Finished, not begun, unknown.
  for (const Uuid& id : {idAt(0), idAt(2), Uuid::random()}) model_->files()->updateJobProgress(id, 0.9);
  EXPECT_EQ(states(), statesBefore);
  model_->files()->updateJobProgress(idAt(1), 7);
  EXPECT_EQ(states()[1], "hashing 100%");
}

TEST_F(Files, VerdictIsAboutTheFilesThatAreInTheList) {
  const auto expectVerdict = [&](Tone::Case tone, const char* title, double progress) {
    EXPECT_EQ(model_->files()->verdict().title.toStdString(), title);
    EXPECT_EQ(model_->files()->verdict().tone, tone) << title;
    EXPECT_EQ(model_->files()->overallProgress(), progress) << title;
  };
  add({folder_.file("a", "abc"), "/nowhere", folder_.file("b", "abc")});
  expectVerdict(Tone::Pending, "", 0);
  run();
  expectVerdict(Tone::Bad, "2 of 3 calculated, 1 failed", 1);
  EXPECT_EQ(model_->files()->jobs()->showFirst(FileJobListModel::Failures), 1);
  model_->files()->removeJob(idAt(1));
  expectVerdict(Tone::Good, "All 2 files calculated", 1);
  model_->files()->removeJob(idAt(1));
  expectVerdict(Tone::Good, "1 file calculated", 1);
  add({folder_.file("c", "abc")});
  expectVerdict(Tone::Pending, "", 0);
  holdAt("read", 2);
  model_->files()->startProcessing();
  ASSERT_TRUE(gate_.waitForArrival() && reached([&] { return states()[0] == "complete"; }));
  ASSERT_TRUE(reached([&] { return model_->files()->runStatus()->file() == "c"; }));
  EXPECT_TRUE(reached([&] { return model_->files()->runStatus()->figures().startsWith("50% of 6 bytes"); }));
  model_->files()->cancelProcessing();
  gate_.open();
  ASSERT_TRUE(runEnds());
  expectVerdict(Tone::Caution, "Cancelled: 1 of 2 calculated", 0.5);
  EXPECT_THAT(desktop_.announced, ElementsAre("Files: 2 of 3 calculated, 1 failed"));
  for (int i = 0; i < 2; ++i) model_->files()->removeJob(idAt(0));
  expectVerdict(Tone::Pending, "", 0);
}

TEST_F(Files, NewsOfAWholeRunAreOneChangeWhenTheInterfaceWasBusy) {
  const int count = 10'000;
  model_->files()->addFiles(vanishedFiles(count));
  model_->files()->startProcessing();
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  const QSignalSpy rows(model_->files()->jobs(), &FileJobListModel::dataChanged);
  const QSignalSpy progress(model_->files(), &tallyfold::FilesFlow::overallProgressChanged);
  ASSERT_TRUE(runEnds());
  ASSERT_EQ(rows.count(), 1);
  EXPECT_EQ(rows[0][0].toModelIndex().row(), 0);
  EXPECT_EQ(rows[0][1].toModelIndex().row(), count - 1);
  EXPECT_EQ(progress.count(), 1);
  EXPECT_EQ(model_->files()->overallProgress(), 1);
  EXPECT_THAT(states(), Each("No such file or directory"));
}

TEST_F(Files, DigestsAreCopiedOnlyWhereThereIsAResult) {
  add({folder_.file("abc", "abc"), folder_.path() / "vanished"});
  model_->files()->copyAllHashes(idAt(0));
  model_->setSelectedAlgorithms({HashAlgorithm::crc32, HashAlgorithm::md5});
  run();
  for (const Uuid& id : {idAt(1), Uuid::random()}) {
    model_->files()->copyAllHashes(id);
    model_->files()->copyHash(id, QStringLiteral("MD5"));
  }
  model_->files()->copyPath(Uuid::random());
  model_->files()->copyHash(idAt(0), QStringLiteral("SHA-256"));
  EXPECT_EQ(desktop_.pasteboard, std::nullopt);
  model_->files()->copyAllHashes(idAt(0));
  EXPECT_EQ(desktop_.pasteboard, "MD5: 900150983cd24fb0d6963f7d28e17f72\nCRC-32: 352441c2");
}

TEST_F(Files, RowsAreRemovedWithTheirResults) {
  FilesFlow& files = *model_->files();
  add({folder_.file("a", "abc"), folder_.file("b", "abc"), folder_.file("c", "abc")});
  run();
  files.jobs()->markOnly(0, 1);
  files.removeMarked();
  EXPECT_THAT(resultPaths(), ElementsAre(folder_.path() / "c"));
  files.removeJob(idAt(0));
  EXPECT_FALSE(files.exportRefusal().isEmpty());
}

TEST_F(Files, ClearedListComesBackUntilTheNextChange) {
  const auto file = folder_.file("file", "abc");
  FilesFlow& files = *model_->files();
  add({file, folder_.path() / "gone"});
  run();
  const auto before = states();
  const auto results = files.results();
  files.clearFiles();
  EXPECT_EQ(files.notice().words, QStringLiteral("Cleared 2 files."));
  files.clearFiles();
  EXPECT_THAT(files.results(), IsEmpty());
  files.undoClear();
  EXPECT_EQ(states(), before);
  EXPECT_EQ(files.results(), results);
  EXPECT_EQ(files.result(idAt(0)), results.front());
  EXPECT_EQ(files.runFigure(), QStringLiteral("2 of 2"));
  EXPECT_EQ(files.verdict().title, QStringLiteral("1 of 2 calculated, 1 failed"));
  files.jobs()->markOnly(0, 1);
  files.removeMarked();
  EXPECT_EQ(files.notice().words, QStringLiteral("Cleared 2 files."));
  files.undoClear();
  EXPECT_EQ(states(), before);
  add({file});
  files.removeJob(idAt(1));
  EXPECT_THAT(paths(), ElementsAre(file)) << "Files are found as before";
  files.removeJob(idAt(0));
  EXPECT_TRUE(states().empty());
  files.undoClear();
  EXPECT_THAT(paths(), ElementsAre(file)) << "The only file is all files";
  EXPECT_EQ(files.results(), results);

  files.clearFiles();
  add({"/another"});
  files.undoClear();
  EXPECT_THAT(paths(), ElementsAre("/another"));
  EXPECT_EQ(files.notice().kind, FilesNotice::None);
}

}  // namespace

}  // namespace tallyfold::test
