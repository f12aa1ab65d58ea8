// Flows that are cancelled at any moment, or go with their model. What the sanitizers see is half of it: nothing is
// touched that is gone.

#include <malloc.h>
#include <unistd.h>

#include "app/tasks/FreeMemory.h"
#include "tests/app/EveryFlow.h"

namespace tallyfold::test {

namespace {

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
                         testing::Values("Files", "Text", "Verify", "Compare", "Count", "List", "Manifest", "Audit",
                                         "Moved", "Export", "Proof"));

}  // namespace

}  // namespace tallyfold::test
