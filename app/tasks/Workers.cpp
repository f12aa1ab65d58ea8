#include "app/tasks/Workers.h"

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace tallyfold::Workers {

namespace {

// A thread is joined only once its work is done: one that hangs in a dead network file system must not keep the window
// from closing.
class Threads {
 public:
  static Threads& shared() {
    static auto* threads = new Threads;  // Never destroyed: a thread may outlive main.
    return *threads;
  }

  void start(std::function<void()> task) {
    // Where no thread is to be had, it goes after the lock does: what it lets go of may want a thread, too.
    const auto job = std::make_shared<std::function<void()>>(std::move(task));
    const std::lock_guard lock(mutex_);
    joinFinished();
    const auto place = running_.emplace(running_.end());
    try {
      *place = std::thread([this, place, job] {
        (*job)();
        *job = nullptr;
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
  using List = std::list<std::thread>;

  void finish(List::iterator place) {
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
  List running_;
  List finished_;  // They have nothing left to do but to end.
};

}  // namespace

const char* Refusal::what() const noexcept {
  return "The system has no room for another thread. Close other programs and try again.";
}

void start(std::function<void()> job) {
  try {
    Threads::shared().start(std::move(job));
  } catch (const std::system_error&) {
    throw Refusal();
  }
}

bool waitForAll(std::chrono::milliseconds limit) { return Threads::shared().waitForAll(limit); }

}  // namespace tallyfold::Workers
