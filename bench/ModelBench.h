#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sys/resource.h>
#include <utility>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include "tests/app/FakeDesktop.h"

/// What the benchmarks of the model, which have no screen, have in common.
namespace tallyfold::bench {

/// Of resident memory, since the start of the program.
inline double peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

/// The longest time between two turns of the event loop, which a timer without interval wants to take all the time.
class StallMeter : public QObject {
 public:
  StallMeter() {
    timer_.callOnTimeout([this] { turn(); });
    timer_.start(0);
    sinceTurn_.start();
  }
  void turn() { longest_ = std::max(longest_, sinceTurn_.nsecsElapsed()), sinceTurn_.start(); }
  double takeLongestMilliseconds() {
    turn();
    return static_cast<double>(std::exchange(longest_, 0)) / 1e6;
  }

 private:
  QTimer timer_;
  QElapsedTimer sinceTurn_;
  qint64 longest_ = 0;
};

/// Handles events as long as `isBusy`.
template <typename Condition>
void waitWhile(Condition isBusy) {
  while (isBusy()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

}  // namespace tallyfold::bench
