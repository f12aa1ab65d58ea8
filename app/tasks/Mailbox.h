#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <QEvent>

namespace tallyfold {

/// The way of a message from any thread to the interface thread, and never a reason for whom it is about to exist.
/// Messages run in the order of posting, at most once per `period`: all that was posted in between runs together, so
/// that no worker can flood the event loop.
class Mailbox {
 public:
  using Message = std::function<void()>;

  /// Milliseconds, about as long as a screen shows one picture.
  static constexpr int framePeriod = 16;

  /// On the interface thread. `period` in milliseconds.
  explicit Mailbox(int period = framePeriod);
  /// On any thread when it was closed before; otherwise on the interface thread.
  ~Mailbox();
  Mailbox(const Mailbox&) = delete;
  Mailbox& operator=(const Mailbox&) = delete;

  /// From any thread. Dropped when the mailbox is closed, or is closed before the message's turn.
  void post(Message message);

  /// Whom the messages are about is going away. On the interface thread.
  void close();

 private:
  class Door;

  std::vector<Message> take();

  std::mutex mutex_;
  // Guarded by the mutex.
  std::vector<Message> pending_;
  // Null while it is under way. Made and destroyed by the interface thread, it carries nothing: what threads share here
  // is guarded by our own mutex, never by the toolkit's, which a race detector cannot see.
  std::unique_ptr<QEvent> wake_;
  // Where the interface thread receives it; null when the mailbox is closed.
  std::unique_ptr<Door> door_;
};

/// What background tasks hold instead of the model.
using WeakAppViewModelReference = Mailbox;

/// What a worker has found out and the interface thread has not taken yet: however much it is by then, the interface
/// thread takes it in one turn. Thread-safe.
template <typename News>
class GatheredNews {
 public:
  /// `change(News&)` adds to it. True when that is the first since the last `take`.
  template <typename Change>
  bool add(Change change) {
    const std::lock_guard lock(mutex_);
    change(news_);
    return !std::exchange(isWaiting_, true);
  }

  News take() {
    const std::lock_guard lock(mutex_);
    isWaiting_ = false;
    return std::exchange(news_, News());
  }

  template <typename Predicate>
  [[nodiscard]] bool holds(Predicate predicate) {
    const std::lock_guard lock(mutex_);
    return predicate(std::as_const(news_));
  }

 private:
  std::mutex mutex_;
  // Guarded by the mutex.
  News news_{};
  bool isWaiting_ = false;
};

}  // namespace tallyfold
