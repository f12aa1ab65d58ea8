// What holds of every flow of the model, whether it fails, hangs, is cancelled at any moment or goes with its model.
// What the sanitizers see is half of it: nothing is touched that is gone.

#include <malloc.h>
#include <unistd.h>

#include "app/tasks/FreeMemory.h"
#include "tests/app/ModelTest.h"
#include "tests/support/ThreadLimit.h"

namespace tallyfold::test {

namespace {

/// How a user works with one flow.
struct Flow {
  QObject* object = nullptr;
  const char* announcement;  ///< Its signal, whenever there is an outcome.
  std::function<void()> prepare = [] {};
  std::function<void()> start;
  std::function<void()> cancel;
  std::function<bool()> isBusy;
  /// Whether a start that nobody cancelled has come to what it should.
  std::function<bool()> isRight;
  /// What it refuses while it is busy.
  std::function<void()> disturb = [] {};
  std::string_view call = {};  ///< The first one of this name can fail the flow, and it says so.
  std::string sentence = "Input/output error";
  bool isBusyWhenCancelled = true;
  unsigned models = 8;      ///< At once.
  unsigned longest = 1000;  ///< Microseconds between two things that the user does.
};

class EveryFlow : public ModelTest {
 protected:
  EveryFlow() {
    fs::resize_file(large_, 12 << 20);
    fs::copy_file(large_, copy_);
    comparison_ = HashService::compareFilesKeepingVersions(large_, other_, {}, [](double) {});
    fs::create_directory(root_);
    fs::create_directory(reports_);
    std::ofstream lines(list_);
    for (int i = 0; i < 50; ++i) {
      lines << "352441c2  " << folder_.file("root/" + std::to_string(i), "abc").filename().string() << '\n';
    }
  }

  void TearDown() override {
    ModelTest::TearDown();
    // Whole reports, and nothing that they were made of.
    for (const auto& entry : fs::directory_iterator(reports_)) {
      EXPECT_THAT(contentOf(entry), testing::AllOf(testing::HasSubstr("BLAKE3"), testing::EndsWith(",3"))) << entry;
    }
  }

  /// Why the last start failed; empty when it did not.
  static std::string told(AppViewModel& model) {
    if (!model.errorMessage().isEmpty()) return model.errorMessage().toStdString();
    if (!model.text()->textError().isEmpty()) return model.text()->textError().toStdString();
    const auto& result = model.verify()->verifyResult();
    const auto* failed = result ? std::get_if<Verification::Error>(&*result) : nullptr;
    return failed == nullptr ? "" : failed->message;
  }

  void startAndWait(const Flow& flow) {
    flow.start();
    ASSERT_TRUE(flow.isBusy());
    ASSERT_TRUE(reached([&] { return !flow.isBusy(); }));
  }

  const fs::path small_ = folder_.file("small", "abc");
  const fs::path large_ = folder_.file("large", "");
  const fs::path copy_ = folder_.path() / "copy";
  const fs::path other_ = folder_.file("other", std::string(12 << 20, 'x'));
  const fs::path list_ = folder_.path() / "list";
  const fs::path root_ = folder_.path() / "root";
  const fs::path reports_ = folder_.path() / "reports";
  const QString text_ = QString(1 << 20, u'x');
  FileComparisonWithVersions comparison_;
  std::mt19937 random_{seedOfThisRun()};

  /// For as long as the model lives.
  std::map<std::string, Flow> flowsOf(AppViewModel& model) {
    auto& files = *model.files();
    auto& text = *model.text();
    auto& verify = *model.verify();
    auto& compare = *model.compare();
    auto& differences = *compare.differences();
    auto& manifest = *model.manifest();
    const auto takeOtherFiles = [&] {
      compare.setCompareFiles({urlOf(small_)}, false);
      compare.swapCompareFiles();
      compare.chooseCompareFile(true);
    };
    const auto takeAnotherList = [&] {
      manifest.setManifestFile({urlOf(small_)});
      manifest.dropManifest({urlOf(small_), urlOf(folder_.path() / "")});
      manifest.chooseManifestFile();
    };
    return {
        {"Files",
         {.object = &files,
          .announcement = SIGNAL(resultsChanged()),
          .prepare =
              [&] {
                files.addFiles({urlOf(small_), urlOf("/nowhere"), urlOf(large_)});
              },
          .start = [&] { files.startProcessing(); },
          .cancel = [&] { files.cancelProcessing(); },
          .isBusy = [&] { return files.isProcessing(); },
          .isRight = [&] { return files.results().size() == 2 && files.overallProgress() == 1; }}},
        {"Text",
         {.object = &text,
          .announcement = SIGNAL(textHashesChanged()),
          .prepare = [&] { text.setTextInput(text_); },
          .start = [&] { text.updateTextHash(); },
          .cancel = [&] { model.shutdown(); },
          .isBusy = [&] { return text.textHashes().algorithms().empty() && told(model).empty(); },
          .isRight = [&] { return text.textHashes().algorithms() == model.selectedAlgorithms(); },
          .isBusyWhenCancelled = false,
          .models = 16,
          .longest = 10'000}},
        {"Verify",
         {.object = &verify,
          .announcement = SIGNAL(verifyResultChanged()),
          .prepare =
              [&] {
                verify.setVerifyFile({urlOf(large_)});
                verify.setExpectedHash(QStringLiteral("352441c2"));
              },
          .start = [&] { verify.verify(); },
          .cancel = [&] { verify.resetVerification(); },
          .isBusy = [&] { return verify.isVerifying(); },
          .isRight = [&] { return std::holds_alternative<Verification::Mismatch>(*verify.verifyResult()); },
          .disturb = [&] { verify.setVerifyFile({urlOf("/elsewhere")}); },
          .call = "read"}},
        {"Compare",
         {.object = &compare,
          .announcement = SIGNAL(compareResultChanged()),
          .prepare =
              [&] {
                compare.setCompareFiles({urlOf(large_), urlOf(copy_)}, false);
              },
          .start = [&] { compare.compare(); },
          .cancel = [&] { compare.resetComparison(); },
          .isBusy = [&] { return compare.isComparing(); },
          .isRight = [&] { return compare.compareResult() == FileComparisonResult(FileComparison::Identical()); },
          .disturb = takeOtherFiles,
          .call = "open"}},
        {"Count",
         {.object = &differences,
          .announcement = SIGNAL(changed()),
          .start =
              [&] {
                if (!differences.isWorking()) differences.setComparison(large_, other_, comparison_);
                differences.start();
              },
          .cancel = [&] { differences.cancel(); },
          .isBusy = [&] { return compare.isBusy(); },
          .isRight = [&] { return differences.answers().value(0).startsWith("12,582,912 bytes differ, in one run."); },
          .disturb = takeOtherFiles,
          .call = "open"}},
        {"List",
         {.object = &manifest,
          .announcement = SIGNAL(manifestLinesChanged()),
          .start = [&] { manifest.setManifestFile({urlOf(list_)}); },
          .cancel = [&] { manifest.cancelManifest(); },
          .isBusy = [&] { return manifest.isLoadingManifest(); },
          .isRight = [&] { return manifest.manifestJobs()->total() == 50; },
          .disturb = takeAnotherList,
          .call = "read"}},
        {"Manifest",
         {.object = &manifest,
          .announcement = SIGNAL(manifestProgressChanged()),
          .prepare =
              [&] {
                manifest.setManifestRoot({urlOf(root_)});
                manifest.setManifestFile({urlOf(list_)});
                ASSERT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
              },
          .start = [&] { manifest.verifyManifest(); },
          .cancel = [&] { manifest.cancelManifestVerification(); },
          .isBusy = [&] { return manifest.isManifestVerifying(); },
          .isRight = [&] { return manifest.manifestMatchedCount() == 50; },
          .disturb = takeAnotherList,
          .call = "stat",
          .sentence = "The selected manifest root is not an accessible directory."}},
        {"Export",
         {.object = &model,
          .announcement = SIGNAL(errorMessageChanged()),
          .prepare =
              [&] {
                files.addDroppedFiles({urlOf(small_)});
                ASSERT_TRUE(reached([&] { return !files.isProcessing(); }));
              },
          .start =
              [&] {
                files.exportResults(FilesFlow::Csv);
                if (desktop_.savePanel) desktop_.confirmSavePanel(urlOf(reports_ / std::to_string(random_() % 4)));
              },
          .cancel = [&] { files.cancelExport(); },
          .isBusy = [&] { return files.isExporting(); },
          .isRight = [&] { return model.errorMessage().isEmpty(); },
          .call = "fsync"}},
    };
  }

  std::map<std::string, Flow> flows_ = flowsOf(*model_);
};

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
      EXPECT_EQ(calls_.stillOpen, 0);
    }
    EXPECT_TRUE(flow.isRight());
    calls_.before = [](auto...) { return 0; };
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
    const bool isPatient = name == "Files" || name == "Export";
    EXPECT_EQ(flow.isBusy(), isPatient);
    ASSERT_TRUE(reached([&] { return !flow.isBusy(); }));
    EXPECT_EQ(model_->files()->interruption(), isPatient ? "The disk does not answer" : "");
    if (name == "Files") {
      model_->files()->clearFiles();
      EXPECT_EQ(model_->files()->verdict().title, "") << "of a list that is gone";
      model_->files()->undoClear();
    }
    EXPECT_EQ(model_->errorMessage(), "");
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

/// Starts and cancels a flow of several models again and again, after any time, and destroys some of them.
class Cancellation : public EveryFlow, public testing::WithParamInterface<const char*> {
 protected:
  Cancellation() {
    SystemCalls::replace(nullptr);  // What notes every call is for one thread.
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 128 << 10);  // What is read into goes back to the system, whatever was allocated before.
#endif
  }

  struct Place {
    std::unique_ptr<AppViewModel> model;
    Flow flow;
    std::unique_ptr<QSignalSpy> announced = std::make_unique<QSignalSpy>(flow.object, flow.announcement);
    qsizetype before = 0;  ///< So many outcomes were announced before the cancellation.
    bool isStarted = false;
    bool isCancelled = false;
  };

  Place place() {
    auto model = std::make_unique<AppViewModel>(desktop_);
    Flow flow = flowsOf(*model).at(GetParam());
    flow.prepare();
    return {std::move(model), std::move(flow)};
  }

  void act(Place& place) {
    Flow& flow = place.flow;
    ASSERT_TRUE(!place.isCancelled || place.announced->count() == place.before) << "announced after its cancellation";
    if (!place.isStarted || !flow.isBusy() || (place.isCancelled && !flow.isBusyWhenCancelled)) {
      if (place.isStarted && !place.isCancelled) {
        ASSERT_TRUE(flow.isRight());
        ++completed_;
      }
      flow.start();
      ASSERT_TRUE(flow.isBusy());
      place.isStarted = true;
      place.isCancelled = false;
      ++starts_;
    } else if (random_() % 4 == 0) {
      place = this->place();
      ++destroyed_;
    } else if (!place.isCancelled && random_() % 2 == 0) {
      flow.cancel();
      place.isCancelled = true;
      place.before = place.announced->count();
      ++cancelled_;
    }
  }

  /// So many starts. Nothing is left of them afterwards but the memory in use, in bytes, which is returned.
  std::size_t storm(int starts) {
    std::vector<Place> places;
    while (places.size() < flow_.models) places.push_back(place());
    for (starts += starts_ + static_cast<int>(flow_.models); starts_ < starts && !HasFatalFailure();) {
      act(places[random_() % places.size()]);
      const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random_() % flow_.longest);
      do QCoreApplication::processEvents();
      while (std::chrono::steady_clock::now() < end);
    }
    places.clear();
    desktop_.announced = {};
    EXPECT_TRUE(BackgroundTask::waitForAll(patience));
    QCoreApplication::processEvents();
    returnFreeMemory();
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  }

  static auto entriesOf(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }

  const Flow& flow_ = flows_.at(GetParam());
  int starts_ = 0;
  int cancelled_ = 0;
  int destroyed_ = 0;
  int completed_ = 0;
};

TEST_P(Cancellation, AtAnyMomentLeavesNothing) {
  const int rounds = roundsOfThisRun(50);
  storm(1);
  const auto files = entriesOf("/proc/self/fd");
  const auto threads = entriesOf("/proc/self/task");
  const std::size_t before = storm(std::max(rounds / 10, 1));
  const std::size_t after = storm(rounds);
  // A thread that was joined may be listed for a moment.
  EXPECT_TRUE(reached([&] { return entriesOf("/proc/self/task") == threads; }));
  EXPECT_EQ(entriesOf("/proc/self/fd"), files);
  std::cout << starts_ << " starts, " << completed_ << " completed, " << cancelled_ << " cancelled, " << destroyed_
            << " destroyed with their model; resident " << before / 1024 << " KiB, then " << after / 1024 << " KiB\n";
  EXPECT_TRUE(rounds < 50 || (cancelled_ > 0 && destroyed_ > 0));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(after, before + (4U << 20U));
#endif
}

INSTANTIATE_TEST_SUITE_P(Of, Cancellation,
                         testing::Values("Files", "Text", "Verify", "Compare", "Count", "List", "Manifest", "Export"));

}  // namespace

}  // namespace tallyfold::test
