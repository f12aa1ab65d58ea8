#include "app/tasks/Mailbox.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QObject>
#include <QTimerEvent>

namespace tallyfold {

class Mailbox::Door : public QObject {
 public:
  Door(Mailbox& mailbox, int period) : mailbox_(mailbox), period_(period) {}

 protected:
  void customEvent(QEvent* /*event*/) override {
    const qint64 rest = sinceDelivery_.isValid() ? period_ - sinceDelivery_.elapsed() : 0;
    if (rest > 0) {
      startTimer(static_cast<int>(rest), Qt::PreciseTimer);
    } else {
      deliver();
    }
  }

  void timerEvent(QTimerEvent* event) override {
    killTimer(event->timerId());
    deliver();
  }

 private:
  void deliver() {
    sinceDelivery_.start();
    for (const Message& message : mailbox_.take()) message();
  }

  Mailbox& mailbox_;
  const int period_;
  QElapsedTimer sinceDelivery_;
};

Mailbox::Mailbox(int period)
    : wake_(std::make_unique<QEvent>(QEvent::User)), door_(std::make_unique<Door>(*this, period)) {}

Mailbox::~Mailbox() = default;

void Mailbox::post(Message message) {
  const std::lock_guard lock(mutex_);
  if (door_ == nullptr) return;
  pending_.push_back(std::move(message));
  if (wake_ != nullptr) QCoreApplication::postEvent(door_.get(), wake_.release());
}

void Mailbox::close() {
  std::unique_ptr<Door> door;
  std::unique_ptr<QEvent> wake;
  std::vector<Message> dropped;
  const std::lock_guard lock(mutex_);
  door.swap(door_);
  wake.swap(wake_);
  dropped.swap(pending_);
}

std::vector<Mailbox::Message> Mailbox::take() {
  std::vector<Message> messages;
  const std::lock_guard lock(mutex_);
  messages.swap(pending_);
  wake_ = std::make_unique<QEvent>(QEvent::User);
  return messages;
}

}  // namespace tallyfold
