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
  model_->startProcessing();
  ASSERT_TRUE(gate_.waitForArrival());
  ASSERT_TRUE(reached([this] { return states()[1] == "hashing 0%"; }));
  model_->cancelProcessing();
  EXPECT_TRUE(model_->isProcessing());
  ASSERT_TRUE(runEnds());
  EXPECT_THAT(states(), ElementsAre("complete", "queued", "queued"));
  EXPECT_EQ(model_->interruption(), says_);
  EXPECT_EQ(model_->errorMessage(), QString());
  EXPECT_EQ(model_->unseenOutcome(AppMode::Files), AppViewModel::NoOutcome);

  add({folder_.file("more", "abc")});
  run();
  EXPECT_THAT(states(), testing::Each("complete"));
  EXPECT_EQ(model_->interruption(), QString());
  const auto calls = calls_.names.size();
  goOn();
  EXPECT_EQ(calls_.names.size(), calls) << "it went on to read";
  EXPECT_EQ(model_->results().size(), 4U);
  EXPECT_EQ(model_->overallProgress(), 1);
}

TEST_F(Hanging, CancelledExportEndsWithoutItsWorker) {
  add({folder_.file("abc", "abc")});
  run();
  fs::create_directory(folder_.path() / "reports");
  const auto exportTo = [&](const char* name) {
    model_->exportResults(AppViewModel::Csv);
    desktop_.confirmSavePanel(urlOf(folder_.path() / "reports" / name));
  };
  const auto exportEnds = [&] { return reached([this] { return !model_->isExporting(); }); };
  holdAt("fsync", 1);
  exportTo("hangs");
  ASSERT_TRUE(gate_.waitForArrival());
  model_->cancelExport();
  ASSERT_TRUE(exportEnds());
  EXPECT_EQ(model_->interruption(), says_);
  EXPECT_EQ(model_->errorMessage(), QString());
  exportTo("report");
  ASSERT_TRUE(exportEnds());
  EXPECT_EQ(model_->interruption(), QString());
  goOn();
  const fs::directory_iterator reports(folder_.path() / "reports");
  EXPECT_EQ(reports->path().filename(), "report");
  EXPECT_EQ(std::distance(reports, {}), 1);
}

// The other flows end with their cancellation.
TEST_F(Hanging, AnythingElseStartsAnewAtOnce) {
  const auto file = urlOf(folder_.file("file", "abc"));
  const auto list = urlOf(folder_.file("list.md5", "900150983cd24fb0d6963f7d28e17f72  file\n"));
  model_->setVerifyFile({file});
  model_->setExpectedHash(QStringLiteral("352441c2"));
  model_->setCompareFiles({file, list}, false);
  model_->setManifestRoot({urlOf(folder_.path())});
  const struct {
    std::function<void()> start;
    std::function<bool()> isRunning;
    std::function<void()> cancel;
    std::function<bool()> hasCome;
  } flows[]{
      {[&] { model_->verify(); }, [&] { return model_->isVerifying(); }, [&] { model_->resetVerification(); },
       [&] { return model_->verifyResult().has_value(); }},
      {[&] { model_->compare(); }, [&] { return model_->isComparing(); }, [&] { model_->resetComparison(); },
       [&] { return model_->compareResult().has_value(); }},
      {[&] { model_->setManifestFile({list}); }, [&] { return model_->isLoadingManifest(); },
       [&] { model_->cancelManifest(); }, [&] { return model_->manifestJobs()->total() == 1; }},
      {[&] { model_->verifyManifest(); }, [&] { return model_->isManifestVerifying(); },
       [&] { model_->cancelManifest(); }, [&] { return model_->manifestMatchedCount() == 1; }},
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
  model_->addFiles({urlOf("/dead/file")});
  const auto sizes = [&] {
    std::vector<std::string> list;
    for (const QVariantMap& card : {model_->verifyFile(), model_->compareFirstFile(), model_->compareSecondFile(),
                                    model_->manifestFile(), model_->manifestRoot()}) {
      list.push_back(card.value(QStringLiteral("size")).toString().toStdString());
    }
    return list;
  };
  const auto file = folder_.file("file", "abc");
  model_->setManifestRoot({urlOf("/dead")});
  model_->setCompareFiles({urlOf("/dead/first"), urlOf(file)}, false);
  for (int i = 1; i < most; ++i) {
    ASSERT_TRUE(reached([&] { return hanging == i; }));
    if (i < most - 1) model_->setVerifyFile({urlOf("/dead/" + std::to_string(i))});
  }
  model_->setManifestFile({urlOf(file)});
  ASSERT_TRUE(reached([&] { return sizes()[2] == "3 bytes" && sizes()[3] == "3 bytes"; }));
  model_->swapCompareFiles();
  EXPECT_THAT(sizes(), ElementsAre("…", "3 bytes", "…", "3 bytes", ""));
  EXPECT_EQ(answered, 2);

  model_->setVerifyFile({urlOf("/dead/more")});
  ASSERT_TRUE(reached([&] { return hanging == most; }));
  const int threads = threadsStarted;
  for (int i = 0; i < 20; ++i) model_->setVerifyFile({urlOf("/dead/never asked")});
  model_->setVerifyFile({urlOf(file)});
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
