#include "tests/app/ModelTest.h"
#include "tests/support/TurnWatcher.h"

namespace tallyfold::test {

namespace {

class Memory : public ModelTest {
 protected:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  void SetUp() override { GTEST_SKIP() << "here memory is also that of the sanitizer"; }
#endif

  Memory() { SystemCalls::replace(nullptr); }  // What notes every call takes memory for it.

  /// Does `work` and expects a peak of at most so many MiB above what there was before the first.
  template <typename Work>
  void expectPeak(const char* what, double most, Work work) {
    ASSERT_NO_FATAL_FAILURE(work());
    const double peak = peakMemory() - before_;
    EXPECT_LE(peak, most) << what;
    std::cout << what << " | " << peak << " MiB | at most " << most << " MiB\n";
    resetPeakMemory();
  }

  /// Expects that by and by no more than so many MiB are left, without anyone asking for them.
  void expectReturned(double most) {
    EXPECT_TRUE(reached([&] {
      std::ofstream("/proc/self/clear_refs") << 5;
      return peakMemory() - before_ <= most;
    })) << peakMemory() - before_;
    std::cout << "left | " << peakMemory() - before_ << " MiB | at most " << most << " MiB\n";
  }

  double before_ = (resetPeakMemory(), peakMemory());
};

TEST_F(Memory, OfAListAtItsLimitIsLittleMoreThanItsEntries) {
  // As many entries as there may be, with all that they may hold.
  constexpr std::size_t count = 100'000;
  const std::string line = std::string(32, 'a') + "  ";
  {
    std::ofstream stream(folder_.path() / "list");
    for (std::size_t i = 0; i < count; ++i) {
      const std::string name = std::to_string(i);
      stream << line << name << '/' << std::string(606 - name.size(), 'x') << '\n';
    }
  }
  const auto take = [&](const fs::path& list) {
    model_->manifest()->setManifestFile({urlOf(list)});
    ASSERT_TRUE(reached([&] { return !model_->manifest()->isLoadingManifest(); }));
  };
  take(folder_.file("small", line + "name\n"));  // What libraries keep from their first use on is not the list's.
  before_ = (resetPeakMemory(), peakMemory());
  const auto load = [&] {
    take(folder_.path() / "list");
    ASSERT_EQ(model_->manifest()->manifestJobs()->total(), count);
  };
  expectPeak("load", 90, load);
  expectPeak("verify", 110, [&] {
    model_->manifest()->setManifestRoot({urlOf(folder_.path())});
    model_->manifest()->verifyManifest();
    ASSERT_TRUE(reached([&] { return model_->audit()->isPresent() && !model_->audit()->isLooking(); }));
    ASSERT_EQ(model_->manifest()->manifestErrorCount(), count);
  });
  expectPeak("copy all rows", 175, [&] {
    model_->manifest()->copyManifestShown();
    ASSERT_TRUE(reached([&] { return desktop_.pasteboard.has_value(); }));
    desktop_.pasteboard.reset();
  });
  expectPeak("replace", 110, load);

  // Cleared in mid-run, it is still in use until the run has ended.
  SystemCalls::replace(&calls_);
  holdAt("fstatat", 1);
  model_->manifest()->verifyManifest();
  ASSERT_TRUE(gate_.waitForArrival());
  model_->manifest()->clearManifest();
  model_->manifest()->dismissCleared();
  ASSERT_TRUE(reached([&] { return model_->manifest()->manifestJobs()->total() == 0; }));
  gate_.open();
  expectReturned(4);
}

TEST_F(Memory, OfUnlistedFilesIsThatOfTheirNames) {
  fs::path deep = folder_.path() / "root";
  for (int level = 0; level < 14; ++level) deep /= std::string(250, 'x');
  fs::create_directories(deep);
  for (int i = 0; i < 9'600; ++i) std::ofstream(deep / std::to_string(i)) << "";
  const std::vector<ChecksumManifestEntry> entries{{Uuid(), 1, "a", HashAlgorithm::crc32, "00000000"}};
  VerifiedList list{.entries = std::make_shared<const std::vector<ChecksumManifestEntry>>(entries),
                    .list = folder_.path() / "list",
                    .root = folder_.path() / "root",
                    .rootIdentity = ChecksumManifestService::captureRootIdentity(folder_.path() / "root", {})};
  before_ = (resetPeakMemory(), peakMemory());
  expectPeak("unlisted", 40, [&] {
    model_->audit()->look(list);
    ASSERT_TRUE(reached([&] { return !model_->audit()->isLooking(); }));
    ASSERT_THAT(model_->audit()->sentence().toStdString(), testing::StartsWith("More than 9,5"));
  });
  model_->audit()->forget();
  expectReturned(4);
}

TEST_F(Memory, OfClearedRowsIsReturned) {
  constexpr int count = 100'000;
  before_ = (resetPeakMemory(), peakMemory());
  model_->files()->addFiles(vanishedFiles(count, QStringLiteral("/nowhere/") + QString(200, u'x')));
  expectPeak("add", 200, [&] { run(); });
  model_->files()->clearFiles();
  model_->files()->addFiles(vanishedFiles(1));
  expectReturned(4);
}

}  // namespace

}  // namespace tallyfold::test
