#include "app/WeakAppViewModelReference.h"

#include <utility>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QTimerEvent>

namespace tallyfold {

namespace {

constexpr int framePeriod = 16;  // Milliseconds.

}  // namespace

class WeakAppViewModelReference::Receiver : public QObject {
 public:
  explicit Receiver(WeakAppViewModelReference& reference) : reference_(reference) {}

  // The payload stays in the reference, under its mutex; the event only wakes the interface thread.
  void wake() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }

 protected:
  bool event(QEvent* event) override {
    if (event->type() == QEvent::User) {
      const qint64 rest = sinceDelivery_.isValid() ? framePeriod - sinceDelivery_.elapsed() : 0;
      if (rest > 0) {
        startTimer(static_cast<int>(rest), Qt::PreciseTimer);
      } else {
        deliver();
      }
      return true;
    }
    return QObject::event(event);
  }

  void timerEvent(QTimerEvent* event) override {
    killTimer(event->timerId());
    deliver();
  }

 private:
  void deliver() {
    sinceDelivery_.start();
    reference_.deliver();
  }

  WeakAppViewModelReference& reference_;
  QElapsedTimer sinceDelivery_;
};

WeakAppViewModelReference::WeakAppViewModelReference(AppViewModel& value)
    : value_(&value), receiver_(std::make_unique<Receiver>(*this)) {}

WeakAppViewModelReference::~WeakAppViewModelReference() = default;

void WeakAppViewModelReference::post(Message message) {
  const std::lock_guard lock(mutex_);
  if (value_ == nullptr) return;
  pending_.push_back(std::move(message));
  if (!std::exchange(isWakePosted_, true)) receiver_->wake();
}

void WeakAppViewModelReference::reset() {
  std::vector<Message> dropped;
  {
    const std::lock_guard lock(mutex_);
    value_ = nullptr;
    dropped.swap(pending_);
  }
  receiver_.reset();
}

void WeakAppViewModelReference::deliver() {
  std::vector<Message> messages;
  AppViewModel* model = nullptr;
  {
    const std::lock_guard lock(mutex_);
    messages.swap(pending_);
    isWakePosted_ = false;
    model = value_;
  }
  if (model == nullptr) return;
  for (const Message& message : messages) message(*model);
}

}  // namespace tallyfold
