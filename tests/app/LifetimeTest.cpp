#include <algorithm>

#include <QCoreApplication>

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

// What the sanitizers see is half of these tests: nothing is touched that is gone.
using Lifetime = ModelTest;

TEST_F(Lifetime, WorkerOfARunEndsWithItsCurrentChunkWhenTheModelGoes) {
  add({folder_.file("a", "abc"), folder_.file("b", "abc"), folder_.file("c", "abc")});
  holdAt("read", 2);
  model_->startProcessing();
  ASSERT_TRUE(gate_.waitForArrival());
  model_.reset();
  gate_.open();
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_EQ(std::ranges::count(calls_.names, "read"), 2);
  EXPECT_EQ(calls_.stillOpen, 0);
  QCoreApplication::processEvents();
}

TEST_F(Lifetime, ExportIsGivenUpWhenTheModelGoes) {
  add({folder_.file("a", "abc")});
  run();
  holdAt("open", 1);
  model_->exportResults(AppViewModel::Text);
  desktop_.confirmSavePanel(urlOf(folder_.path() / "report"));
  ASSERT_TRUE(gate_.waitForArrival());
  model_.reset();
  gate_.open();
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "report"));
  QCoreApplication::processEvents();
}

TEST_F(Lifetime, ModelsComeAndGoAtAnyMomentOfARun) {
  const QList<QUrl> files = vanishedFiles(2'000);
  for (int turn = 0; turn < 40; ++turn) {
    model_.reset();
    ASSERT_TRUE(BackgroundTask::waitForAll(patience));
    model_ = std::make_unique<AppViewModel>(desktop_);
    model_->addDroppedFiles(files);
    if (turn % 2 == 0) {
      ASSERT_TRUE(reached([this] { return states()[0] != "queued"; }));
    }
    if (turn % 5 == 1) model_->cancelProcessing();
    if (turn % 5 == 2) model_->clearFiles();
    if (turn % 5 == 3) QCoreApplication::processEvents();
  }
}

TEST_F(Lifetime, PanelAnsweredAfterTheModelIsGoneIsIgnored) {
  add({folder_.file("abc", "abc")});
  run();
  model_->chooseFiles();
  model_->exportResults(AppViewModel::Text);
  model_.reset();
  desktop_.confirmOpenPanel({urlOf("/late")});
  desktop_.confirmSavePanel(urlOf(folder_.path() / "report"));
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "report"));
}

}  // namespace

}  // namespace tallyfold::test
