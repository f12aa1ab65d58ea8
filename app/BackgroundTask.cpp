#include "app/BackgroundTask.h"

#include <condition_variable>
#include <mutex>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "core/Errors.h"

namespace tallyfold {

namespace {

constexpr int utilityNiceness = 10;

// The threads are detached: one that hangs in a dead network file system must not keep the window from closing.
struct LiveWorkers {
  std::mutex mutex;
  std::condition_variable changed;
  int count = 0;

  static LiveWorkers& shared() {
    static auto* workers = new LiveWorkers;  // Never destroyed: a detached thread may outlive main.
    return *workers;
  }

  void add(int change) {
    const std::lock_guard lock(mutex);
    count += change;
    changed.notify_all();
  }
};

}  // namespace

void BackgroundTask::Context::post(WeakAppViewModelReference::Message message) const {
  model_->post([task = task_, generation = generation_, message = std::move(message)](AppViewModel& model) {
    if (task->generation_ == generation) message(model);
  });
}

BackgroundTask::~BackgroundTask() { cancel(); }

void BackgroundTask::start(Priority priority, Work work, LastStep lastStep) {
  run_ = std::make_shared<Run>();
  generation_ = Uuid::random();

  Context context;
  context.model_ = model_;
  context.task_ = this;
  context.cancellation_ = run_->cancellation.get_token();
  context.generation_ = generation_;

  const auto finish = [context, run = run_, lastStep = std::move(lastStep)](std::exception_ptr failure) {
    context.model_->post([task = context.task_, run, lastStep, failure = std::move(failure)](AppViewModel& model) {
      if (task->run_ != run) return;
      task->run_ = nullptr;
      lastStep(model, run->cancellation.stop_requested() ? nullptr : failure);
    });
  };

  try {
    runDetached([priority, context, work = std::move(work), finish]() mutable {
      if (priority == Priority::utility) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), utilityNiceness);
      std::exception_ptr failure;
      try {
        work(context);
      } catch (const CancellationError&) {
        failure = nullptr;
      } catch (...) {
        failure = std::current_exception();
      }
      work = nullptr;
      finish(std::move(failure));
    });
  } catch (...) {
    finish(std::current_exception());
  }
}

void BackgroundTask::cancel() {
  generation_ = Uuid::random();
  if (run_ != nullptr) run_->cancellation.request_stop();
}

void BackgroundTask::abandon() {
  cancel();
  run_ = nullptr;
}

void BackgroundTask::runDetached(std::function<void()> job) {
  LiveWorkers::shared().add(1);
  try {
    std::thread([job = std::move(job)]() mutable {
      job();
      job = nullptr;
      LiveWorkers::shared().add(-1);
    }).detach();
  } catch (...) {
    LiveWorkers::shared().add(-1);
    throw;
  }
}

bool BackgroundTask::waitForAll(std::chrono::milliseconds limit) {
  LiveWorkers& workers = LiveWorkers::shared();
  std::unique_lock lock(workers.mutex);
  return workers.changed.wait_for(lock, limit, [&] { return workers.count == 0; });
}

}  // namespace tallyfold
