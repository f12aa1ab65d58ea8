#include <malloc.h>
#include <unistd.h>

#include <QCoreApplication>

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

// What the sanitizers see is half of these tests: nothing is touched that is gone.
using Lifetime = ModelTest;

TEST_F(Lifetime, PanelAnsweredAfterTheModelIsGoneIsIgnored) {
  add({folder_.file("abc", "abc")});
  run();
  model_->files()->chooseFiles();
  model_->files()->exportResults(FilesFlow::Text);
  model_.reset();
  desktop_.confirmOpenPanel({urlOf("/late")});
  desktop_.confirmSavePanel(urlOf(folder_.path() / "report"));
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "report"));
}

/// How a user works with one flow of the model.
struct Flow {
  const char* name;
  std::function<void(AppViewModel&)> prepare;
  std::function<void(AppViewModel&)> start;
  std::function<void(AppViewModel&)> cancel;
  std::function<bool(AppViewModel&)> isBusy;
  /// Whether a start that nobody cancelled has come to what it should.
  std::function<bool(AppViewModel&)> isRight;
  /// What announces an outcome.
  std::function<void(AppViewModel&, const std::function<void()>&)> published;
  bool isBusyWhenCancelled = true;
  unsigned models = 8;      ///< At once.
  unsigned longest = 1000;  ///< Microseconds between two things that the user does.
};

/// Starts and cancels a flow of several models again and again, after any time, and destroys some of them.
class Cancellation : public testing::Test {
 protected:
  Cancellation() {
    mallopt(M_ARENA_MAX, 1);               // As in the program.
    mallopt(M_MMAP_THRESHOLD, 128 << 10);  // What is read into goes back to the system, whatever was allocated before.
    fs::resize_file(large_, 12 << 20);
    fs::create_directory(root_);
    for (int i = 0; i < 50; ++i) {
      const std::string name = std::to_string(i);
      list_ << "900150983cd24fb0d6963f7d28e17f72  " << folder_.file("root/" + name, "abc").filename().string() << '\n';
    }
    list_.close();
  }

  struct Place {
    int published = 0;
    int publishedBefore = 0;  ///< The cancellation.
    bool isStarted = false;
    bool isCancelled = false;
    std::unique_ptr<AppViewModel> model;
  };

  void fill(Place& place, const Flow& flow) {
    place.model = std::make_unique<AppViewModel>(desktop_);
    place.isStarted = place.isCancelled = false;
    flow.prepare(*place.model);
    flow.published(*place.model, [&place] { ++place.published; });
  }

  void act(Place& place, const Flow& flow) {
    AppViewModel& model = *place.model;
    ASSERT_TRUE(!place.isCancelled || place.published == place.publishedBefore) << "published after its cancellation";
    if (!place.isStarted || !flow.isBusy(model) || (place.isCancelled && !flow.isBusyWhenCancelled)) {
      if (place.isStarted && !place.isCancelled) {
        ASSERT_TRUE(flow.isRight(model));
        ++completed_;
      }
      flow.start(model);
      ASSERT_TRUE(flow.isBusy(model));
      place.isStarted = true;
      place.isCancelled = false;
      ++starts_;
    } else if (random_() % 4 == 0) {
      fill(place, flow);
      ++destroyed_;
    } else if (!place.isCancelled && random_() % 2 == 0) {
      flow.cancel(model);
      place.isCancelled = true;
      place.publishedBefore = place.published;
      ++cancelled_;
    }
  }

  /// So many starts. Nothing is left of them afterwards but the memory in use, in bytes, which is returned.
  std::size_t storm(const Flow& flow, int starts) {
    std::vector<Place> places(flow.models);
    for (Place& place : places) fill(place, flow);
    for (starts += starts_ + static_cast<int>(flow.models); starts_ < starts && !HasFatalFailure();) {
      act(places[random_() % places.size()], flow);
      const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random_() % flow.longest);
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

  void test(const Flow& flow) {
    SCOPED_TRACE(flow.name);
    const int rounds = roundsOfThisRun(50);
    starts_ = cancelled_ = destroyed_ = completed_ = 0;
    storm(flow, 1);
    const auto files = entriesOf("/proc/self/fd");
    const auto threads = entriesOf("/proc/self/task");
    const std::size_t before = storm(flow, std::max(rounds / 10, 1));
    const std::size_t after = storm(flow, rounds);
    // A thread that was joined may be listed for a moment.
    EXPECT_TRUE(reached([&] { return entriesOf("/proc/self/task") == threads; }));
    EXPECT_EQ(entriesOf("/proc/self/fd"), files);
    std::cout << flow.name << ": " << starts_ << " starts, " << completed_ << " completed, " << cancelled_
              << " cancelled, " << destroyed_ << " destroyed with their model; resident " << before / 1024
              << " KiB, then " << after / 1024 << " KiB\n";
    EXPECT_TRUE(rounds < 50 || (cancelled_ > 0 && destroyed_ > 0));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(after, before + (4U << 20U));
#endif
  }

  TemporaryFolder folder_;
  const fs::path small_ = folder_.file("small", "abc");
  const fs::path large_ = folder_.file("large", "");
  const fs::path root_ = folder_.path() / "root";
  std::ofstream list_{folder_.path() / "list.md5"};
  FakeDesktop desktop_;
  std::mt19937 random_{seedOfThisRun()};
  int starts_ = 0;
  int cancelled_ = 0;
  int destroyed_ = 0;
  int completed_ = 0;
};

TEST_F(Cancellation, OfFiles) {
  test({.name = "Files",
        .prepare =
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
        .published =
            [](AppViewModel& model, const auto& hear) {
              QObject::connect(model.files(), &tallyfold::FilesFlow::resultsChanged, hear);
            }});
}

TEST_F(Cancellation, OfTexts) {
  const QString text(1 << 20, u'x');
  test({.name = "Text",
        .prepare = [&](AppViewModel& model) { model.text()->setTextInput(text); },
        .start = [](AppViewModel& model) { model.text()->updateTextHash(); },
        .cancel = &AppViewModel::shutdown,
        .isBusy = [](AppViewModel& model) { return model.text()->textHashes().algorithms().empty(); },
        .isRight =
            [](AppViewModel& model) { return model.text()->textHashes().algorithms() == model.selectedAlgorithms(); },
        .published =
            [](AppViewModel& model, const auto& hear) {
              QObject::connect(model.text(), &tallyfold::TextFlow::textHashesChanged, hear);
            },
        .isBusyWhenCancelled = false,
        .models = 16,
        .longest = 10'000});
}

TEST_F(Cancellation, OfVerifications) {
  test({.name = "Verify",
        .prepare =
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
        .published =
            [](AppViewModel& model, const auto& hear) {
              QObject::connect(model.verify(), &tallyfold::VerifyFlow::verifyResultChanged, hear);
            }});
}

TEST_F(Cancellation, OfComparisons) {
  const fs::path copy = folder_.path() / "copy";
  fs::copy_file(large_, copy);
  test({.name = "Compare",
        .prepare =
            [&](AppViewModel& model) {
              model.compare()->setCompareFiles({urlOf(large_), urlOf(copy)}, false);
            },
        .start = [](AppViewModel& model) { model.compare()->compare(); },
        .cancel = [](AppViewModel& model) { model.compare()->resetComparison(); },
        .isBusy = [](AppViewModel& model) { return model.compare()->isComparing(); },
        .isRight =
            [](AppViewModel& model) {
              return model.compare()->compareResult() == FileComparisonResult(FileComparison::Identical());
            },
        .published =
            [](AppViewModel& model, const auto& hear) {
              QObject::connect(model.compare(), &tallyfold::CompareFlow::compareResultChanged, hear);
            }});
}

TEST_F(Cancellation, OfListsAndTheirVerification) {
  const QList<QUrl> list{urlOf(folder_.path() / "list.md5")};
  const auto hasList = [](AppViewModel& model) { return model.manifest()->manifestJobs()->total() == 50; };
  test({.name = "List",
        .prepare = [](AppViewModel&) {},
        .start = [&](AppViewModel& model) { model.manifest()->setManifestFile(list); },
        .cancel = [](AppViewModel& model) { model.manifest()->cancelManifest(); },
        .isBusy = [](AppViewModel& model) { return model.manifest()->isLoadingManifest(); },
        .isRight = hasList,
        .published =
            [](AppViewModel& model, const auto& hear) {
              QObject::connect(model.manifest(), &tallyfold::ManifestFlow::manifestLinesChanged, hear);
            }});
  test({.name = "Manifest",
        .prepare =
            [&](AppViewModel& model) {
              model.manifest()->setManifestRoot({urlOf(root_)});
              model.manifest()->setManifestFile(list);
              ASSERT_TRUE(reached([&] { return hasList(model); }));
            },
        .start = [](AppViewModel& model) { model.manifest()->verifyManifest(); },
        .cancel = [](AppViewModel& model) { model.manifest()->cancelManifestVerification(); },
        .isBusy = [](AppViewModel& model) { return model.manifest()->isManifestVerifying(); },
        .isRight = [](AppViewModel& model) { return model.manifest()->manifestMatchedCount() == 50; },
        .published =
            [](AppViewModel& model, const auto& hear) {
              QObject::connect(model.manifest(), &tallyfold::ManifestFlow::manifestProgressChanged, hear);
            }});
}

TEST_F(Cancellation, OfExports) {
  const fs::path reports = folder_.path() / "reports";
  fs::create_directory(reports);
  test({.name = "Export",
        .prepare =
            [&](AppViewModel& model) {
              model.files()->addDroppedFiles({urlOf(small_)});
              ASSERT_TRUE(reached([&] { return !model.files()->isProcessing(); }));
            },
        .start =
            [&](AppViewModel& model) {
              model.files()->exportResults(FilesFlow::Csv);
              desktop_.confirmSavePanel(urlOf(reports / std::to_string(random_() % 4)));
            },
        .cancel = &AppViewModel::shutdown,
        .isBusy = [](AppViewModel& model) { return model.files()->isExporting(); },
        .isRight = [](AppViewModel& model) { return model.errorMessage().isEmpty(); },
        .published = [](AppViewModel& model,
                        const auto& hear) { QObject::connect(&model, &AppViewModel::errorMessageChanged, hear); }});
  // Whole reports, and nothing that they were made of.
  for (const auto& entry : fs::directory_iterator(reports)) {
    EXPECT_THAT(contentOf(entry), testing::AllOf(testing::HasSubstr("BLAKE3"), testing::EndsWith(",3"))) << entry;
  }
}

}  // namespace

}  // namespace tallyfold::test
