#pragma once

#include <algorithm>
#include <ctime>
#include <utility>

#include <QAbstractEventDispatcher>
#include <QObject>

#include "tests/support/PeakMemory.h"

namespace tallyfold::test {

// Sanitizers make everything several times as slow.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr double longestGoodTurn = 1'000;
#else
inline constexpr double longestGoodTurn = 50;  ///< Milliseconds of CPU time.
#endif

/// Watches how long the event loop of the thread that it lives on is kept from taking input: in CPU time of that
/// thread, so that what else the machine does does not count, and neither does waiting.
class TurnWatcher {
 public:
  TurnWatcher() {
    // Which of the two comes first in a turn is up to the dispatcher; a turn that does not wait has one of them only.
    auto* dispatcher = QAbstractEventDispatcher::instance();
    for (const auto edge : {&QAbstractEventDispatcher::awake, &QAbstractEventDispatcher::aboutToBlock}) {
      QObject::connect(dispatcher, edge, &context_, [this] { endTurn(); });
    }
  }

  /// Of the turns since it was made or asked last, with the one under way: the longest, in milliseconds of CPU time.
  double takeLongest() {
    endTurn();
    return std::exchange(longest_, 0);
  }

 private:
  static double now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
  }

  void endTurn() {
    const double end = now();
    longest_ = std::max(longest_, end - start_);
    start_ = end;
  }

  QObject context_;
  double start_ = now();
  double longest_ = 0;
};

}  // namespace tallyfold::test
