#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <stop_token>
#include <system_error>
#include <tuple>
#include <utility>

#include "app/FreeMemory.h"
#include "app/WeakAppViewModelReference.h"
#include "core/Uuid.h"

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

  explicit BackgroundTask(std::shared_ptr<WeakAppViewModelReference> model) : model_(std::move(model)) {}
  ~BackgroundTask();
  BackgroundTask(const BackgroundTask&) = delete;
  BackgroundTask& operator=(const BackgroundTask&) = delete;

  /// From `start` until the last step.
  [[nodiscard]] bool isRunning() const { return run_ != nullptr; }

  /// Runs `work` on a thread of its own. Not while one is running.
  void start(Priority priority, Work work, LastStep lastStep);

  /// Asks the work to stop and takes a fresh generation: nothing that it posted or posts is applied any more. The task
  /// is running until its last step all the same.
  void cancel();

  /// Destroys what takes long to destroy, such as the results of 100,000 files, away from the interface thread, and
  /// gives their memory back to the system.
  template <typename... Garbage>
  static void dispose(Garbage... garbage) {
    try {
      runDetached([box = std::make_shared<std::tuple<Garbage...>>(std::move(garbage)...)]() mutable {
        box.reset();
        returnFreeMemory();
      });
    } catch (const std::system_error&) {  // No thread to be had: it was destroyed here after all.
    }
  }

  /// Cancels, and forgets the task: another may start at once. Its last step does not run.
  void abandon();

  /// Waits until no work is left and its threads are gone, and says whether that was reached in time.
  static bool waitForAll(std::chrono::milliseconds limit);

 private:
  struct Run {
    std::stop_source cancellation;
  };

  /// May throw std::system_error when there is no thread to be had.
  static void runDetached(std::function<void()> job);

  std::shared_ptr<WeakAppViewModelReference> model_;
  std::shared_ptr<Run> run_;
  Uuid generation_ = Uuid::random();
};

}  // namespace tallyfold
