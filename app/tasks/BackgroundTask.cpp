#include "app/tasks/BackgroundTask.h"

#include <sys/resource.h>
#include <unistd.h>
#include <utility>

#include "core/base/Errors.h"

namespace tallyfold {

namespace {

constexpr int utilityNiceness = 10;

}  // namespace

void BackgroundTask::Context::post(Mailbox::Message message) const {
  model_->post([task = task_, generation = generation_, message = std::move(message)] {
    if (task->generation_ == generation) message();
  });
}

BackgroundTask::BackgroundTask(std::shared_ptr<WeakAppViewModelReference> model) : model_(std::move(model)) {
  impatience_.setSingleShot(true);
  impatience_.setTimerType(Qt::PreciseTimer);
  impatience_.setInterval(patience);
  impatience_.callOnTimeout([this] {
    // After what the work may have posted meanwhile.
    model_->post([this, attempt = attempt_] {
      if (attempt_ != attempt) return;
      hasLeftWorkBehind_ = true;
      end(attempt, nullptr);
    });
  });
}

BackgroundTask::~BackgroundTask() { cancel(); }

void BackgroundTask::start(Priority priority, std::function<void(const Context&)> work,
                           std::function<void(const std::exception_ptr&)> lastStep) {
  attempt_ = std::make_shared<Attempt>();
  attempt_->lastStep = std::move(lastStep);
  hasLeftWorkBehind_ = false;
  generation_ = Uuid::random();

  Context context;
  context.model_ = model_;
  context.task_ = this;
  context.cancellation_ = attempt_->cancellation.get_token();
  context.generation_ = generation_;

  const auto finish = [context, attempt = attempt_](std::exception_ptr failure) {
    context.model_->post(
        [task = context.task_, attempt, failure = std::move(failure)] { task->end(attempt, failure); });
  };

  try {
    Workers::start([priority, context, work = std::move(work), finish]() mutable {
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
  if (attempt_ != nullptr && attempt_->cancellation.request_stop()) impatience_.start();
}

void BackgroundTask::abandon() {
  cancel();
  impatience_.stop();
  attempt_ = nullptr;
}

void BackgroundTask::end(const std::shared_ptr<Attempt>& attempt, const std::exception_ptr& failure) {
  if (attempt_ != attempt) return;
  impatience_.stop();
  attempt_ = nullptr;
  attempt->lastStep(attempt->cancellation.stop_requested() ? nullptr : failure);
}

}  // namespace tallyfold
