#pragma once

#include <exception>
#include <optional>
#include <utility>

#include "app/shared/FlowContext.h"

namespace tallyfold {

/// What a flow works out in one go: a task with a progress and one result, and the way back to none. `Owner` announces
/// its changes and is told of its end. On the interface thread.
template <typename Owner, typename Result>
class Calculation {
 public:
  struct Announcements {
    void (Owner::*resultChanged)();
    void (Owner::*progressChanged)();
    void (Owner::*isRunningChanged)();
  };

  Calculation(Owner& owner, const FlowContext& context, Announcements announcements)
      : owner_(owner), announcements_(announcements), task_(*this, context.mailbox()) {}

  /// From `start` until its end or `reset`, whatever becomes of the thread.
  [[nodiscard]] bool isRunning() const { return isRunning_; }
  [[nodiscard]] bool isStartable() const { return !isRunning_ && !task_.isRunning(); }
  [[nodiscard]] const std::optional<Result>& result() const { return result_; }
  /// 0 to 1.
  [[nodiscard]] double progress() const { return progress_; }

  /// Forgets the last result and runs `work(cancellation, progress)`, which returns the result, on a thread of its own.
  /// `failed(Owner&, failure)` is called before it ends without one, unless it was cancelled.
  template <typename Work, typename Failed>
  void start(Work work, Failed failed) {
    reset();
    setRunning(true);
    task_.start(
        BackgroundTask::Priority::userInitiated,
        [work = std::move(work)](const typename FlowTask<Calculation>::Context& context) {
          const auto progress = [&](double fraction) {
            context.post([fraction](Calculation& self) { self.setProgress(fraction); });
          };
          context.post([result = Result(work(context.cancellation(), progress))](Calculation& self) {
            self.setProgress(1);
            self.setResult(result);
          });
        },
        [failed](Calculation& self, const std::exception_ptr& failure) {
          if (failure) failed(self.owner_, failure);
          self.setRunning(false);
        });
  }

  void reset() {
    task_.abandon();
    if (std::exchange(result_, std::nullopt)) (owner_.*announcements_.resultChanged)();
    setProgress(0);
    setRunning(false);
  }

  void setResult(std::optional<Result> result) {
    if (std::exchange(result_, std::move(result)) == result_) return;
    (owner_.*announcements_.resultChanged)();
    if (result_) emit owner_.ended(Owner::outcomeOf(*result_));
  }

 private:
  void setProgress(double progress) {
    if (std::exchange(progress_, progress) != progress) (owner_.*announcements_.progressChanged)();
  }

  void setRunning(bool isRunning) {
    if (std::exchange(isRunning_, isRunning) != isRunning) (owner_.*announcements_.isRunningChanged)();
  }

  Owner& owner_;
  const Announcements announcements_;
  std::optional<Result> result_;
  double progress_ = 0;
  bool isRunning_ = false;
  FlowTask<Calculation> task_;
};

}  // namespace tallyfold
