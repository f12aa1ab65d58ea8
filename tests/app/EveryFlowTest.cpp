// What holds of every flow of the model, whether it fails, hangs or goes with its model.

#include "tests/app/EveryFlow.h"
#include "tests/support/ThreadLimit.h"

namespace tallyfold::test {

namespace {

TEST_F(EveryFlow, SaysWhatTheSystemSaysAndForgetsItWithTheNextStart) {
  for (const auto& entry : flows_) {
    const std::string& name = entry.first;
    const Flow& flow = entry.second;
    SCOPED_TRACE(name);
    flow.prepare();
    {
      const NoThreads refused;
      startAndWait(flow);
    }
    EXPECT_EQ(told(*model_), Workers::Refusal().what());
    for (const int error : {EIO, 0}) {
      if (error != 0 && flow.call.empty()) continue;
      calls_.before = [&, isDone = false](std::string_view call, std::size_t) mutable {
        return call == flow.call && !std::exchange(isDone, true) ? error : 0;
      };
      startAndWait(flow);
      EXPECT_EQ(told(*model_), error == 0 ? "" : flow.sentence);
      EXPECT_TRUE(name != "Verify" || model_->errorMessage().isEmpty()) << "its failure is a verdict";
      EXPECT_TRUE(reached([&] { return calls_.stillOpen == 0; })) << "those who read ahead keep nothing open";
    }
    EXPECT_TRUE(flow.isRight());
    calls_.before = [](auto...) { return 0; };
  }
}

TEST_F(EveryFlow, OfARunTellsHowFarAHugeFileIsBeforeItsFirstReport) {
  fs::create_directory(root_ / "huge");
  const fs::path huge = folder_.file("root/huge/file", "");
  fs::resize_file(huge, 4LL << 30U);
  add({huge});
  auto& manifest = *model_->manifest();
  manifest.setManifestRoot({urlOf(huge.parent_path())});
  manifest.setManifestFile({urlOf(folder_.file("huge.sfv", "file 00000000\n"))});
  ASSERT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
  auto& creation = *model_->listCreation();
  const struct {
    std::function<void()> start;
    const RunStatus& status;
    std::function<void()> cancel;
  } runs[] = {
      {[&] { model_->files()->startProcessing(); }, *model_->files()->runStatus(), [&] { model_->shutdown(); }},
      {[&] { manifest.verifyManifest(); }, *manifest.runStatus(), [&] { manifest.cancelManifest(); }},
      {[&] { creation.create(); }, *creation.runStatus(), [&] { creation.cancel(); }},
  };
  for (const auto& run : runs) {
    const RunStatus& status = run.status;
    holdAt("read", 5);
    run.start();
    ASSERT_TRUE(gate_.waitForArrival());
    EXPECT_TRUE(reached([&] { return status.fraction() > 0 && status.reach() == status.fraction(); }));
    EXPECT_LT(status.fraction(), 0.01);
    EXPECT_EQ(model_->files()->overallProgress(), 0);
    run.cancel();
    goOn();
    gate_.close();
  }
}

TEST_F(EveryFlow, ThatIsCancelledStartsAnewWhileItsWorkHangs) {
  const auto reads = [&] { return std::ranges::count(calls_.names, "read"); };
  for (const auto& entry : flows_) {
    const std::string& name = entry.first;
    const Flow& flow = entry.second;
    if (name == "Text") continue;
    SCOPED_TRACE(name);
    flow.prepare();
    for (const AppMode::Case mode : AppMode::allCases()) model_->setMode(mode);
    model_->setMode(AppMode::Text);
    gate_.close();
    holdAt(flow.call.empty() ? "read" : flow.call, 1);
    flow.start();
    ASSERT_TRUE(gate_.waitForArrival());
    flow.start();
    flow.disturb();
    EXPECT_TRUE(flow.isBusy() && !desktop_.singlePanel);
    flow.cancel();
    // What others wait for ends without its worker, but not at once.
    const bool isSaver = name == "Proof" || name == "Export";
    const bool isPatient = name == "Files";
    EXPECT_EQ(flow.isBusy(), isPatient || isSaver);
    ASSERT_TRUE(reached([&] { return !flow.isBusy(); }));
    EXPECT_EQ(model_->files()->interruption(), isPatient ? "The disk does not answer" : "");
    if (name == "Files") {
      model_->files()->clearFiles();
      EXPECT_EQ(model_->files()->verdict().title, "") << "of a list that is gone";
      model_->files()->undoClear();
      EXPECT_EQ(model_->files()->interruption(), "The disk does not answer") << "and of one that is back";
    }
    EXPECT_EQ(model_->errorMessage().left(24), isSaver ? "The disk does not answer" : "");
    EXPECT_EQ(model_->isSaving(), isSaver) << "what was left behind";
    EXPECT_EQ(model_->errorSubject().contains("reports/"), isSaver);
    for (const AppMode::Case mode : AppMode::allCases()) {
      EXPECT_EQ(model_->unseenOutcome(mode), Outcome::NoOutcome) << name;
    }
    startAndWait(flow);
    EXPECT_EQ(model_->files()->interruption(), "");
    EXPECT_TRUE(flow.isRight());
    const auto readsBefore = reads();
    goOn();
    EXPECT_EQ(reads(), readsBefore) << "what was cancelled went on to read";
    EXPECT_TRUE(flow.isRight());
    EXPECT_FALSE(flow.isBusy());
  }
}

TEST_F(EveryFlow, WorksAndGoesWithItsModelWhileAReportHangs) {
  const Flow& hanging = flows_.at("Export");
  hanging.prepare();
  holdAt("fsync", 1);
  hanging.start();
  ASSERT_TRUE(gate_.waitForArrival());
  for (const char* const name : {"Text", "Verify", "Compare", "Count", "List", "Manifest"}) {
    SCOPED_TRACE(name);
    flows_.at(name).prepare();
    startAndWait(flows_.at(name));
    EXPECT_TRUE(flows_.at(name).isRight());
  }
  EXPECT_TRUE(model_->files()->isExporting());
  model_.reset();
  EXPECT_FALSE(BackgroundTask::waitForAll(std::chrono::milliseconds(0))) << "it hangs still";
}

}  // namespace

}  // namespace tallyfold::test
