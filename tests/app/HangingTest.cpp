// What hangs in the system keeps nothing else from working.

#include <atomic>

#include "tests/app/ModelTest.h"
#include "tests/support/ThreadLimit.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;

class Hanging : public ModelTest {
 protected:
  /// Lets the worker that was left behind go on, to its end.
  void goOn() {
    gate_.open();
    ASSERT_TRUE(BackgroundTask::waitForAll(patience));
    QCoreApplication::processEvents();
  }

  const QString says_ = QStringLiteral("The disk does not answer");
};

TEST_F(Hanging, CancelledRunEndsWithoutItsWorker) {
  model_->setMode(AppMode::Text);
  add({folder_.file("first", "abc"), folder_.file("hangs", "abc"), folder_.file("last", "abc")});
  holdAt("read", 2);
  model_->files()->startProcessing();
  ASSERT_TRUE(gate_.waitForArrival());
  ASSERT_TRUE(reached([this] { return states()[1] == "hashing 0%"; }));
  model_->files()->cancelProcessing();
  EXPECT_TRUE(model_->files()->isProcessing());
  ASSERT_TRUE(runEnds());
  EXPECT_THAT(states(), ElementsAre("complete", "queued", "queued"));
  EXPECT_EQ(model_->files()->interruption(), says_);
  EXPECT_EQ(model_->errorMessage(), QString());
  EXPECT_EQ(model_->unseenOutcome(AppMode::Files), Outcome::NoOutcome);

  add({folder_.file("more", "abc")});
  run();
  EXPECT_THAT(states(), testing::Each("complete"));
  EXPECT_EQ(model_->files()->interruption(), QString());
  const auto calls = calls_.names.size();
  goOn();
  EXPECT_EQ(calls_.names.size(), calls) << "it went on to read";
  EXPECT_EQ(model_->files()->results().size(), 4U);
  EXPECT_EQ(model_->files()->overallProgress(), 1);
}

TEST_F(Hanging, CancelledExportEndsWithoutItsWorker) {
  add({folder_.file("abc", "abc")});
  run();
  fs::create_directory(folder_.path() / "reports");
  const auto exportTo = [&](const char* name) {
    model_->files()->exportResults(FilesFlow::Csv);
    desktop_.confirmSavePanel(urlOf(folder_.path() / "reports" / name));
  };
  const auto exportEnds = [&] { return reached([this] { return !model_->files()->isExporting(); }); };
  holdAt("fsync", 1);
  exportTo("hangs");
  ASSERT_TRUE(gate_.waitForArrival());
  model_->files()->cancelExport();
  ASSERT_TRUE(exportEnds());
  EXPECT_EQ(model_->files()->interruption(), says_);
  EXPECT_EQ(model_->errorMessage(), QString());
  exportTo("report");
  ASSERT_TRUE(exportEnds());
  EXPECT_EQ(model_->files()->interruption(), QString());
  goOn();
  const fs::directory_iterator reports(folder_.path() / "reports");
  EXPECT_EQ(reports->path().filename(), "report");
  EXPECT_EQ(std::distance(reports, {}), 1);
}

// The other flows end with their cancellation.
TEST_F(Hanging, AnythingElseStartsAnewAtOnce) {
  const auto file = urlOf(folder_.file("file", "abc"));
  const auto list = urlOf(folder_.file("list.md5", "900150983cd24fb0d6963f7d28e17f72  file\n"));
  model_->verify()->setVerifyFile({file});
  model_->verify()->setExpectedHash(QStringLiteral("352441c2"));
  model_->compare()->setCompareFiles({file, list}, false);
  model_->manifest()->setManifestRoot({urlOf(folder_.path())});
  const struct {
    std::function<void()> start;
    std::function<bool()> isRunning;
    std::function<void()> cancel;
    std::function<bool()> hasCome;
  } flows[]{
      {[&] { model_->verify()->verify(); }, [&] { return model_->verify()->isVerifying(); },
       [&] { model_->verify()->resetVerification(); }, [&] { return model_->verify()->verifyResult().has_value(); }},
      {[&] { model_->compare()->compare(); }, [&] { return model_->compare()->isComparing(); },
       [&] { model_->compare()->resetComparison(); }, [&] { return model_->compare()->compareResult().has_value(); }},
      {[&] { model_->manifest()->setManifestFile({list}); }, [&] { return model_->manifest()->isLoadingManifest(); },
       [&] { model_->manifest()->cancelManifest(); }, [&] { return model_->manifest()->manifestJobs()->total() == 1; }},
      {[&] { model_->manifest()->verifyManifest(); }, [&] { return model_->manifest()->isManifestVerifying(); },
       [&] { model_->manifest()->cancelManifest(); }, [&] { return model_->manifest()->manifestMatchedCount() == 1; }},
  };
  for (const auto& flow : flows) {
    SCOPED_TRACE(&flow - flows);
    gate_.close();
    holdAt("fstat", 1);
    flow.start();
    ASSERT_TRUE(gate_.waitForArrival());
    flow.cancel();
    EXPECT_FALSE(flow.isRunning());
    flow.start();
    ASSERT_TRUE(reached([&] { return !flow.isRunning(); }));
    EXPECT_TRUE(flow.hasCome());
    goOn();
    EXPECT_TRUE(flow.hasCome());
    EXPECT_FALSE(flow.isRunning());
  }
}

TEST_F(Hanging, SizesOfFilesAreAskedOnceAndNotAwaited) {
  constexpr int most = ShownFileSize::mostAsking;
  std::atomic<int> hanging = 0;
  std::atomic<int> answered = 0;
  calls_.looked = [&](std::string_view path) {
    if (path.starts_with("/dead/")) {
      ++hanging;
      gate_.pass();
    }
    ++answered;
  };
  model_->files()->addFiles({urlOf("/dead/file")});
  const auto sizes = [&] {
    std::vector<std::string> list;
    for (const QVariantMap& card :
         {model_->verify()->verifyFile(), model_->compare()->compareFirstFile(), model_->compare()->compareSecondFile(),
          model_->manifest()->manifestFile(), model_->manifest()->manifestRoot()}) {
      list.push_back(card.value(QStringLiteral("size")).toString().toStdString());
    }
    return list;
  };
  const auto file = folder_.file("file", "abc");
  model_->manifest()->setManifestRoot({urlOf("/dead")});
  model_->compare()->setCompareFiles({urlOf("/dead/first"), urlOf(file)}, false);
  for (int i = 1; i < most; ++i) {
    ASSERT_TRUE(reached([&] { return hanging == i; }));
    if (i < most - 1) model_->verify()->setVerifyFile({urlOf("/dead/" + std::to_string(i))});
  }
  model_->manifest()->setManifestFile({urlOf(file)});
  ASSERT_TRUE(reached([&] { return sizes()[2] == "3 bytes" && sizes()[3] == "3 bytes"; }));
  model_->compare()->swapCompareFiles();
  EXPECT_THAT(sizes(), ElementsAre("…", "3 bytes", "…", "3 bytes", ""));
  EXPECT_EQ(answered, 2);

  model_->verify()->setVerifyFile({urlOf("/dead/more")});
  ASSERT_TRUE(reached([&] { return hanging == most; }));
  const int threads = threadsStarted;
  for (int i = 0; i < 20; ++i) model_->verify()->setVerifyFile({urlOf("/dead/never asked")});
  model_->verify()->setVerifyFile({urlOf(file)});
  EXPECT_EQ(threadsStarted, threads) << "more than may hang";
  EXPECT_EQ(sizes()[0], "…");
  gate_.open();
  ASSERT_TRUE(reached([&] { return sizes()[0] == "3 bytes" && sizes()[2].empty(); }));
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_EQ(hanging, most);
  EXPECT_EQ(answered, most + 3);
}

}  // namespace

}  // namespace tallyfold::test
