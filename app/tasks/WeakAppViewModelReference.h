#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "app/tasks/InterfaceInbox.h"

namespace tallyfold {

class AppViewModel;

/// What background tasks hold instead of the model: the way to post to it as long as it exists, never a reason for it
/// to exist. Posted messages run on the interface thread, in the order of posting, at most once per frame of the
/// screen.
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
  std::mutex mutex_;
  AppViewModel* value_;  // Guarded by the mutex.
  std::unique_ptr<InterfaceInbox> inbox_;
};

}  // namespace tallyfold
