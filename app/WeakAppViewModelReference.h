#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include <QObject>

namespace tallyfold {

class AppViewModel;

/// What background tasks hold instead of the model: the way to post to it as long as it exists, never a reason for it
/// to exist. Posted messages run on the interface thread, in the order of posting, at most once per frame of the
/// screen: all that was posted in between runs together, so that no worker can flood the event loop.
class WeakAppViewModelReference {
 public:
  using Message = std::function<void(AppViewModel&)>;

  /// On the interface thread.
  explicit WeakAppViewModelReference(AppViewModel& value);
  ~WeakAppViewModelReference();
  WeakAppViewModelReference(const WeakAppViewModelReference&) = delete;
  WeakAppViewModelReference& operator=(const WeakAppViewModelReference&) = delete;

  /// From any thread. Dropped when the model is gone, or goes before the message's turn.
  void post(Message message);

  /// The model is going away. On the interface thread.
  void reset();

 private:
  class Receiver;

  void deliver();

  std::mutex mutex_;
  // Guarded by the mutex.
  AppViewModel* value_;
  std::vector<Message> pending_;
  bool isWakePosted_ = false;

  std::unique_ptr<Receiver> receiver_;
};

}  // namespace tallyfold
