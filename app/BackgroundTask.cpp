#include "app/BackgroundTask.h"

#include <condition_variable>
#include <list>
#include <mutex>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "core/Errors.h"

namespace tallyfold {

namespace {

constexpr int utilityNiceness = 10;

// A thread is joined only once its work is done: one that hangs in a dead network file system must not keep the window
// from closing.
class Workers {
 public:
  static Workers& shared() {
    static auto* workers = new Workers;  // Never destroyed: a thread may outlive main.
    return *workers;
  }

  void start(std::function<void()> job) {
    const std::lock_guard lock(mutex_);
    joinFinished();
    const auto place = running_.emplace(running_.end());
    try {
      *place = std::thread([this, place, job = std::move(job)]() mutable {
        job();
        job = nullptr;
        finish(place);
      });
    } catch (...) {
      running_.erase(place);
      throw;
    }
  }

  bool waitForAll(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, limit, [&] { return running_.empty(); })) return false;
    joinFinished();
    return true;
  }

 private:
  using Threads = std::list<std::thread>;

  void finish(Threads::iterator place) {
    const std::lock_guard lock(mutex_);
    finished_.splice(finished_.end(), running_, place);
    changed_.notify_all();
  }

  void joinFinished() {
    for (std::thread& thread : finished_) thread.join();
    finished_.clear();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  Threads running_;
  Threads finished_;  // They have nothing left to do but to end.
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

void BackgroundTask::runDetached(std::function<void()> job) { Workers::shared().start(std::move(job)); }

bool BackgroundTask::waitForAll(std::chrono::milliseconds limit) { return Workers::shared().waitForAll(limit); }

}  // namespace tallyfold
