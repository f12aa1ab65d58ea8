#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <stop_token>
#include <tuple>
#include <utility>

#include <QTimer>

#include "app/tasks/FreeMemory.h"
#include "app/tasks/WeakAppViewModelReference.h"
#include "app/tasks/Workers.h"
#include "core/base/Uuid.h"

namespace tallyfold {

/// One flow's background work: a cancellable task handle and a generation token. The only way in which a flow starts
/// work, hears from it, and drops what comes too late. Lives in the model, on the interface thread.
class BackgroundTask {
 public:
  enum class Priority { userInitiated, utility };

  /// What the work, on its own thread, knows of the flow.
  class Context {
   public:
    [[nodiscard]] const std::stop_token& cancellation() const { return cancellation_; }

    /// Applies `message` to the model on the interface thread, unless the flow was cancelled or restarted by then.
    void post(WeakAppViewModelReference::Message message) const;

   private:
    friend class BackgroundTask;

    std::shared_ptr<WeakAppViewModelReference> model_;
    BackgroundTask* task_ = nullptr;  // Part of the model: there as long as the model is.
    std::stop_token cancellation_;
    Uuid generation_;
  };

  using Work = std::function<void(const Context&)>;

  /// The last step of a task, on the interface thread, after everything that its work posted; the handle is empty by
  /// then. `failure` is what escaped from the work; null when nothing did, or when the task was cancelled.
  using LastStep = std::function<void(AppViewModel&, const std::exception_ptr& failure)>;

  explicit BackgroundTask(std::shared_ptr<WeakAppViewModelReference> model);
  ~BackgroundTask();
  BackgroundTask(const BackgroundTask&) = delete;
  BackgroundTask& operator=(const BackgroundTask&) = delete;

  /// From `start` until the last step.
  [[nodiscard]] bool isRunning() const { return run_ != nullptr; }

  /// Runs `work` on a thread of its own. Not while one is running.
  void start(Priority priority, Work work, LastStep lastStep);

  /// Asks the work to stop and takes a fresh generation: nothing that it posted or posts is applied any more. The task
  /// is running until its last step all the same. Work that has not come back after `patience`, because it hangs in a
  /// system call, is left behind: the task takes its last step without it, and another may start.
  void cancel();
  static constexpr std::chrono::milliseconds patience{2'000};

  /// The last task was cancelled, and left its work behind. Until the next start.
  [[nodiscard]] bool hasLeftWorkBehind() const { return hasLeftWorkBehind_; }

  /// Destroys what takes long to destroy, such as the results of 100,000 files, away from the interface thread, and
  /// gives their memory back to the system.
  template <typename... Garbage>
  static void dispose(Garbage... garbage) {
    try {
      Workers::start([box = std::make_shared<std::tuple<Garbage...>>(std::move(garbage)...)]() mutable {
        box.reset();
        returnFreeMemory();
      });
    } catch (const Workers::Refusal&) {  // It was destroyed here after all.
    }
  }

  /// Cancels, and forgets the task: another may start at once. Its last step does not run.
  void abandon();

  /// Waits until no work is left and its threads are gone, and says whether that was reached in time.
  static bool waitForAll(std::chrono::milliseconds limit) { return Workers::waitForAll(limit); }

 private:
  struct Run {
    std::stop_source cancellation;
    LastStep lastStep;
  };

  void end(AppViewModel& model, const std::shared_ptr<Run>& run, const std::exception_ptr& failure);

  std::shared_ptr<WeakAppViewModelReference> model_;
  std::shared_ptr<Run> run_;
  Uuid generation_ = Uuid::random();
  QTimer impatience_;  // From `cancel` on.
  bool hasLeftWorkBehind_ = false;
};

}  // namespace tallyfold
