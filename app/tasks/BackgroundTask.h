#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stop_token>
#include <tuple>
#include <utility>

#include <QTimer>

#include "app/tasks/FreeMemory.h"
#include "app/tasks/Mailbox.h"
#include "app/tasks/Workers.h"
#include "core/base/Uuid.h"

namespace tallyfold {

/// One flow's background work: a cancellable task handle and a generation token. The only way in which a flow starts
/// work, hears from it, and drops what comes too late. Lives in its flow, on the interface thread; a flow's tasks are
/// FlowTasks.
class BackgroundTask {
 public:
  enum class Priority { userInitiated, utility };

  BackgroundTask(const BackgroundTask&) = delete;
  BackgroundTask& operator=(const BackgroundTask&) = delete;

  /// From `start` until the last step.
  [[nodiscard]] bool isRunning() const { return attempt_ != nullptr; }

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
    } catch (const std::bad_alloc&) {    // The same.
    }
  }

  /// The deleter of what several threads share, any of which may be the last to let go of it.
  struct Dispose {
    template <typename Garbage>
    void operator()(Garbage* garbage) const {
      dispose(std::unique_ptr<Garbage>(garbage));
    }
  };

  /// Cancels, and forgets the task: another may start at once. Its last step does not run.
  void abandon();

  /// Waits until no work is left and its threads are gone, and says whether that was reached in time.
  static bool waitForAll(std::chrono::milliseconds limit) { return Workers::waitForAll(limit); }

 protected:
  /// What the work, on its own thread, knows of the task.
  class Context {
   public:
    [[nodiscard]] const std::stop_token& cancellation() const { return cancellation_; }
    void post(Mailbox::Message message) const;

   private:
    friend class BackgroundTask;

    std::shared_ptr<WeakAppViewModelReference> model_;
    BackgroundTask* task_ = nullptr;  // Part of the model: there as long as the model is.
    std::stop_token cancellation_;
    Uuid generation_;
  };

  explicit BackgroundTask(std::shared_ptr<WeakAppViewModelReference> model);
  ~BackgroundTask();

  void start(Priority priority, std::function<void(const Context&)> work,
             std::function<void(const std::exception_ptr&)> lastStep);

 private:
  struct Attempt {
    std::stop_source cancellation;
    std::function<void(const std::exception_ptr&)> lastStep;
  };

  void end(const std::shared_ptr<Attempt>& attempt, const std::exception_ptr& failure);

  std::shared_ptr<WeakAppViewModelReference> model_;
  std::shared_ptr<Attempt> attempt_;
  Uuid generation_ = Uuid::random();
  QTimer impatience_;  // From `cancel` on.
  bool hasLeftWorkBehind_ = false;
};

/// A task on behalf of one `Flow`, which its work can reach in no other way than by posting.
template <typename Flow>
class FlowTask : public BackgroundTask {
 public:
  /// What the work, on its own thread, knows of the flow.
  class Context {
   public:
    [[nodiscard]] const std::stop_token& cancellation() const { return context_.cancellation(); }

    /// Calls `message(Flow&)` on the interface thread, unless the task was cancelled or restarted by then.
    template <typename Message>
    void post(Message message) const {
      context_.post([&flow = flow_, message = std::move(message)] { message(flow); });
    }

    /// Applies `change(News&)` to what was gathered, all of which goes to `take(Flow&, News)` in one turn.
    template <typename News, typename Change, typename Taker>
    void gather(const std::shared_ptr<GatheredNews<News>>& news, Change change, Taker take) const {
      if (news->add(change)) post([news, take](Flow& flow) { take(flow, news->take()); });
    }

   private:
    friend class FlowTask;

    Context(const BackgroundTask::Context& context, Flow& flow) : context_(context), flow_(flow) {}

    const BackgroundTask::Context& context_;
    Flow& flow_;
  };

  using Work = std::function<void(const Context&)>;

  /// The last step of a task, on the interface thread, after everything that its work posted; the handle is empty by
  /// then. `failure` is what escaped from the work; null when nothing did, or when the task was cancelled.
  using LastStep = std::function<void(Flow&, const std::exception_ptr& failure)>;

  FlowTask(Flow& flow, std::shared_ptr<WeakAppViewModelReference> model)
      : BackgroundTask(std::move(model)), flow_(flow) {}

  /// Runs `work` on a thread of its own. Not while one is running.
  void start(Priority priority, Work work, LastStep lastStep) {
    BackgroundTask::start(
        priority,
        [&flow = flow_, work = std::move(work)](const BackgroundTask::Context& context) {
          work(Context(context, flow));
        },
        [&flow = flow_, lastStep = std::move(lastStep)](const std::exception_ptr& failure) {
          lastStep(flow, failure);
        });
  }

 private:
  Flow& flow_;
};

}  // namespace tallyfold
