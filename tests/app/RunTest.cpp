#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

using testing::Each;
using testing::ElementsAre;

namespace fs = std::filesystem;

class Run : public ModelTest {
 protected:
  /// A file of 20 MiB of zeros: its progress is reported at 40 % and at 80 %.
  fs::path largeFile() {
    fs::path path = folder_.file("large", "");
    fs::resize_file(path, 20 << 20);
    return path;
  }

  /// Queues a small, a large and a small file, and holds a run when 80 % of the large one is read.
  void holdInMidRun() {
    model_->setSelectedAlgorithms({HashAlgorithm::sha256});
    add({folder_.file("first", "abc"), largeFile(), folder_.file("last", "abc")});
    calls_.before = [this](std::string_view call, std::size_t) {
      if (call == "read" && calls_.bytesRead >= 3 + (16 << 20)) gate_.pass();
      return 0;
    };
    model_->files()->startProcessing();
    ASSERT_TRUE(reached([this] { return states()[1] == "hashing 80%"; }));
    ASSERT_TRUE(gate_.waitForArrival());
  }
};

TEST_F(Run, FailureMarksOnlyItsOwnRow) {
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

TEST_F(Run, WhatCannotRunInMidRunIsRefused) {
  holdInMidRun();
  const auto before = paths();
  const auto statesBefore = states();
  EXPECT_THAT(statesBefore, ElementsAre("complete", "hashing 80%", "queued"));
  EXPECT_EQ(model_->files()->overallProgress(), 1.0 / 3);
  EXPECT_THAT(resultPaths(), ElementsAre(before[0]));

  tryEverything();
  model_->choosePreset(AppViewModel::AllAlgorithms);
  model_->setAlgorithmSelected(QStringLiteral("MD5"), true);
  EXPECT_EQ(paths(), before);
  EXPECT_EQ(states(), statesBefore);
  EXPECT_THAT(model_->selectedAlgorithmNames(), ElementsAre(QStringLiteral("SHA-256")));
}

TEST_F(Run, ProgressOfAFileNeverGoesBack) {
  holdInMidRun();
  const QSignalSpy changes(model_->files()->jobs(), &FileJobListModel::dataChanged);
  for (const double progress : {0.8, 0.2, -1.0}) model_->files()->updateJobProgress(idAt(1), progress);
  EXPECT_EQ(states()[1], "hashing 80%");
  model_->files()->updateJobProgress(idAt(1), 7);
  EXPECT_EQ(states()[1], "hashing 100%");
  // Finished, not begun, unknown.
  for (const Uuid& id : {idAt(0), idAt(2), Uuid::random()}) model_->files()->updateJobProgress(id, 0.5);
  EXPECT_THAT(states(), ElementsAre("complete", "hashing 100%", "queued"));
}

TEST_F(Run, NewsOfAWholeRunAreOneChangeWhenTheInterfaceWasBusy) {
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

TEST_F(Run, DigestsAreCopiedOnlyWhereThereIsAResult) {
  add({folder_.file("abc", "abc"), folder_.path() / "vanished"});
  const auto copyEverything = [&](const Uuid& id) {
    model_->files()->copyAllHashes(id);
    model_->files()->copyHash(id, QStringLiteral("SHA-256"));
  };
  copyEverything(idAt(0));
  model_->setSelectedAlgorithms({HashAlgorithm::crc32, HashAlgorithm::md5});
  run();
  copyEverything(idAt(1));
  copyEverything(Uuid::random());
  model_->files()->copyPath(Uuid::random());
  model_->files()->copyHash(idAt(0), QStringLiteral("SHA-256"));
  EXPECT_EQ(desktop_.pasteboard, std::nullopt);
  model_->files()->copyAllHashes(idAt(0));
  EXPECT_EQ(desktop_.pasteboard, "MD5: 900150983cd24fb0d6963f7d28e17f72\nCRC-32: 352441c2");
}

}  // namespace

}  // namespace tallyfold::test
