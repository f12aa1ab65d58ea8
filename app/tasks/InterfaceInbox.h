#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include <QElapsedTimer>
#include <QEvent>
#include <QObject>

namespace tallyfold {

/// The way of a task from any thread to the interface thread. Tasks run in the order of posting, at most once per
/// `period`: all that was posted in between runs together, so that no worker can flood the event loop.
class InterfaceInbox : public QObject {
 public:
  using Task = std::function<void()>;

  /// On the interface thread. `period` in milliseconds.
  explicit InterfaceInbox(int period);

  /// From any thread. Dropped when the inbox is destroyed before the task's turn.
  void post(Task task);

 protected:
  void customEvent(QEvent* event) override;
  void timerEvent(QTimerEvent* event) override;

 private:
  void deliver();

  const int period_;
  QElapsedTimer sinceDelivery_;
  std::mutex mutex_;
  // Guarded by the mutex.
  std::vector<Task> pending_;
  // Null while it is under way. Made and destroyed by the interface thread, it carries nothing: what threads share here
  // is guarded by our own mutex, never by the toolkit's, which a race detector cannot see.
  std::unique_ptr<QEvent> wake_;
};

}  // namespace tallyfold
