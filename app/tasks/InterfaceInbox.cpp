#include "app/tasks/InterfaceInbox.h"

#include <utility>

#include <QCoreApplication>
#include <QTimerEvent>

namespace tallyfold {

InterfaceInbox::InterfaceInbox(int period) : period_(period), wake_(std::make_unique<QEvent>(QEvent::User)) {}

void InterfaceInbox::post(Task task) {
  const std::lock_guard lock(mutex_);
  pending_.push_back(std::move(task));
  if (wake_ != nullptr) QCoreApplication::postEvent(this, wake_.release());
}

void InterfaceInbox::customEvent(QEvent* /*event*/) {
  const qint64 rest = sinceDelivery_.isValid() ? period_ - sinceDelivery_.elapsed() : 0;
  if (rest > 0) {
    startTimer(static_cast<int>(rest), Qt::PreciseTimer);
  } else {
    deliver();
  }
}

void InterfaceInbox::timerEvent(QTimerEvent* event) {
  killTimer(event->timerId());
  deliver();
}

void InterfaceInbox::deliver() {
  sinceDelivery_.start();
  std::vector<Task> tasks;
  {
    const std::lock_guard lock(mutex_);
    tasks.swap(pending_);
    wake_ = std::make_unique<QEvent>(QEvent::User);
  }
  for (const Task& task : tasks) task();
}

}  // namespace tallyfold
