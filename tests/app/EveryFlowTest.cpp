// What holds of every flow of the model, whether it fails, hangs, is cancelled at any moment or goes with its model.
// What the sanitizers see is half of it: nothing is touched that is gone.

#include <malloc.h>
#include <unistd.h>

#include "tests/app/ModelTest.h"
#include "tests/support/ThreadLimit.h"

namespace tallyfold::test {

namespace {

/// How a user works with one flow.
struct Flow {
  std::function<void(AppViewModel&)> prepare;
  std::function<void(AppViewModel&)> start;
  std::function<void(AppViewModel&)> cancel;
  std::function<bool(AppViewModel&)> isBusy;
  /// Whether a start that nobody cancelled has come to what it should.
  std::function<bool(AppViewModel&)> isRight;
  /// Calls back whenever an outcome is announced.
  std::function<void(AppViewModel&, const std::function<void()>&)> watch;
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
    flow.start(*model_);
    ASSERT_TRUE(flow.isBusy(*model_));
    ASSERT_TRUE(reached([&] { return !flow.isBusy(*model_); }));
  }

  const fs::path small_ = folder_.file("small", "abc");
  const fs::path large_ = folder_.file("large", "");
  const fs::path copy_ = folder_.path() / "copy";
  const fs::path list_ = folder_.path() / "list";
  const fs::path root_ = folder_.path() / "root";
  const fs::path reports_ = folder_.path() / "reports";
  const QString text_ = QString(1 << 20, u'x');
  std::mt19937 random_{seedOfThisRun()};

  const std::map<std::string, Flow> flows_{
      {"Files",
       {.prepare =
            [this](AppViewModel& model) {
              model.files()->addFiles({urlOf(small_), urlOf("/nowhere"), urlOf(large_)});
            },
        .start = [](AppViewModel& model) { model.files()->startProcessing(); },
        .cancel = [](AppViewModel& model) { model.files()->cancelProcessing(); },
        .isBusy = [](AppViewModel& model) { return model.files()->isProcessing(); },
        .isRight =
            [](AppViewModel& model) {
              return model.files()->results().size() == 2 && model.files()->overallProgress() == 1;
            },
        .watch =
            [](AppViewModel& model, const auto& call) {
              QObject::connect(model.files(), &tallyfold::FilesFlow::resultsChanged, call);
            }}},
      {"Text",
       {.prepare = [this](AppViewModel& model) { model.text()->setTextInput(text_); },
        .start = [](AppViewModel& model) { model.text()->updateTextHash(); },
        .cancel = [](AppViewModel& model) { model.shutdown(); },
        .isBusy =
            [](AppViewModel& model) { return model.text()->textHashes().algorithms().empty() && told(model).empty(); },
        .isRight =
            [](AppViewModel& model) { return model.text()->textHashes().algorithms() == model.selectedAlgorithms(); },
        .watch =
            [](AppViewModel& model, const auto& call) {
              QObject::connect(model.text(), &tallyfold::TextFlow::textHashesChanged, call);
            },
        .isBusyWhenCancelled = false,
        .models = 16,
        .longest = 10'000}},
      {"Verify",
       {.prepare =
            [this](AppViewModel& model) {
              model.verify()->setVerifyFile({urlOf(large_)});
              model.verify()->setExpectedHash(QStringLiteral("352441c2"));
            },
        .start = [](AppViewModel& model) { model.verify()->verify(); },
        .cancel = [](AppViewModel& model) { model.verify()->resetVerification(); },
        .isBusy = [](AppViewModel& model) { return model.verify()->isVerifying(); },
        .isRight =
            [](AppViewModel& model) {
              return std::holds_alternative<Verification::Mismatch>(*model.verify()->verifyResult());
            },
        .watch =
            [](AppViewModel& model, const auto& call) {
              QObject::connect(model.verify(), &tallyfold::VerifyFlow::verifyResultChanged, call);
            },
        .call = "read"}},
      {"Compare",
       {.prepare =
            [this](AppViewModel& model) {
              model.compare()->setCompareFiles({urlOf(large_), urlOf(copy_)}, false);
            },
        .start = [](AppViewModel& model) { model.compare()->compare(); },
        .cancel = [](AppViewModel& model) { model.compare()->resetComparison(); },
        .isBusy = [](AppViewModel& model) { return model.compare()->isComparing(); },
        .isRight =
            [](AppViewModel& model) {
              return model.compare()->compareResult() == FileComparisonResult(FileComparison::Identical());
            },
        .watch =
            [](AppViewModel& model, const auto& call) {
              QObject::connect(model.compare(), &tallyfold::CompareFlow::compareResultChanged, call);
            },
        .call = "open"}},
      {"List",
       {.prepare = [](AppViewModel&) {},
        .start = [this](AppViewModel& model) { model.manifest()->setManifestFile({urlOf(list_)}); },
        .cancel = [](AppViewModel& model) { model.manifest()->cancelManifest(); },
        .isBusy = [](AppViewModel& model) { return model.manifest()->isLoadingManifest(); },
        .isRight = [](AppViewModel& model) { return model.manifest()->manifestJobs()->total() == 50; },
        .watch =
            [](AppViewModel& model, const auto& call) {
              QObject::connect(model.manifest(), &tallyfold::ManifestFlow::manifestLinesChanged, call);
            },
        .call = "read"}},
      {"Manifest",
       {.prepare =
            [this](AppViewModel& model) {
              model.manifest()->setManifestRoot({urlOf(root_)});
              model.manifest()->setManifestFile({urlOf(list_)});
              ASSERT_TRUE(reached([&] { return !model.manifest()->isLoadingManifest(); }));
            },
        .start = [](AppViewModel& model) { model.manifest()->verifyManifest(); },
        .cancel = [](AppViewModel& model) { model.manifest()->cancelManifestVerification(); },
        .isBusy = [](AppViewModel& model) { return model.manifest()->isManifestVerifying(); },
        .isRight = [](AppViewModel& model) { return model.manifest()->manifestMatchedCount() == 50; },
        .watch =
            [](AppViewModel& model, const auto& call) {
              QObject::connect(model.manifest(), &tallyfold::ManifestFlow::manifestProgressChanged, call);
            },
        .call = "stat",
        .sentence = "The selected manifest root is not an accessible directory."}},
      {"Export",
       {.prepare =
            [this](AppViewModel& model) {
              model.files()->addDroppedFiles({urlOf(small_)});
              ASSERT_TRUE(reached([&] { return !model.files()->isProcessing(); }));
            },
        .start =
            [this](AppViewModel& model) {
              model.files()->exportResults(FilesFlow::Csv);
              desktop_.confirmSavePanel(urlOf(reports_ / std::to_string(random_() % 4)));
            },
        .cancel = [](AppViewModel& model) { model.files()->cancelExport(); },
        .isBusy = [](AppViewModel& model) { return model.files()->isExporting(); },
        .isRight = [](AppViewModel& model) { return model.errorMessage().isEmpty(); },
        .watch = [](AppViewModel& model,
                    const auto& call) { QObject::connect(&model, &AppViewModel::errorMessageChanged, call); },
        .call = "fsync"}},
  };
};

TEST_F(EveryFlow, SaysWhatTheSystemSaysAndForgetsItWithTheNextStart) {
  for (const auto& [name, flow] : flows_) {
    SCOPED_TRACE(name);
    flow.prepare(*model_);
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
    EXPECT_TRUE(flow.isRight(*model_));
    calls_.before = [](auto...) { return 0; };
  }
}

TEST_F(EveryFlow, ThatIsCancelledStartsAnewWhileItsWorkHangs) {
  for (const char* const name : {"Verify", "Compare", "List", "Manifest"}) {
    SCOPED_TRACE(name);
    const Flow& flow = flows_.at(name);
    flow.prepare(*model_);
    gate_.close();
    holdAt("fstat", 1);
    flow.start(*model_);
    ASSERT_TRUE(gate_.waitForArrival());
    flow.cancel(*model_);
    EXPECT_FALSE(flow.isBusy(*model_));
    startAndWait(flow);
    EXPECT_TRUE(flow.isRight(*model_));
    goOn();
    EXPECT_TRUE(flow.isRight(*model_));
    EXPECT_FALSE(flow.isBusy(*model_));
  }
}

TEST_F(EveryFlow, WorksAndGoesWithItsModelWhileAReportHangs) {
  const Flow& hanging = flows_.at("Export");
  hanging.prepare(*model_);
  holdAt("fsync", 1);
  hanging.start(*model_);
  ASSERT_TRUE(gate_.waitForArrival());
  for (const char* const name : {"Text", "Verify", "Compare", "List", "Manifest"}) {
    SCOPED_TRACE(name);
    flows_.at(name).prepare(*model_);
    startAndWait(flows_.at(name));
    EXPECT_TRUE(flows_.at(name).isRight(*model_));
  }
  EXPECT_TRUE(model_->files()->isExporting());
  model_.reset();
  EXPECT_FALSE(BackgroundTask::waitForAll(std::chrono::milliseconds(0))) << "it hangs still";
}

/// Starts and cancels a flow of several models again and again, after any time, and destroys some of them.
class Cancellation : public EveryFlow, public testing::WithParamInterface<const char*> {
 protected:
  Cancellation() {
    SystemCalls::replace(nullptr);         // What notes every call is for one thread.
    mallopt(M_ARENA_MAX, 1);               // As in the program.
    mallopt(M_MMAP_THRESHOLD, 128 << 10);  // What is read into goes back to the system, whatever was allocated before.
  }

  struct Place {
    int published = 0;
    int publishedBefore = 0;  ///< The cancellation.
    bool isStarted = false;
    bool isCancelled = false;
    std::unique_ptr<AppViewModel> model;
  };

  void fill(Place& place) {
    place.model = std::make_unique<AppViewModel>(desktop_);
    place.isStarted = place.isCancelled = false;
    flow_.prepare(*place.model);
    flow_.watch(*place.model, [&place] { ++place.published; });
  }

  void act(Place& place) {
    AppViewModel& model = *place.model;
    ASSERT_TRUE(!place.isCancelled || place.published == place.publishedBefore) << "published after its cancellation";
    if (!place.isStarted || !flow_.isBusy(model) || (place.isCancelled && !flow_.isBusyWhenCancelled)) {
      if (place.isStarted && !place.isCancelled) {
        ASSERT_TRUE(flow_.isRight(model));
        ++completed_;
      }
      flow_.start(model);
      ASSERT_TRUE(flow_.isBusy(model));
      place.isStarted = true;
      place.isCancelled = false;
      ++starts_;
    } else if (random_() % 4 == 0) {
      fill(place);
      ++destroyed_;
    } else if (!place.isCancelled && random_() % 2 == 0) {
      flow_.cancel(model);
      place.isCancelled = true;
      place.publishedBefore = place.published;
      ++cancelled_;
    }
  }

  /// So many starts. Nothing is left of them afterwards but the memory in use, in bytes, which is returned.
  std::size_t storm(int starts) {
    std::vector<Place> places(flow_.models);
    for (Place& place : places) fill(place);
    for (starts += starts_ + static_cast<int>(flow_.models); starts_ < starts && !HasFatalFailure();) {
      act(places[random_() % places.size()]);
      const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random_() % flow_.longest);
      do QCoreApplication::processEvents();
      while (std::chrono::steady_clock::now() < end);
    }
    places.clear();
    EXPECT_TRUE(BackgroundTask::waitForAll(patience));
    QCoreApplication::processEvents();
    malloc_trim(0);
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
                         testing::Values("Files", "Text", "Verify", "Compare", "List", "Manifest", "Export"));

}  // namespace

}  // namespace tallyfold::test
