#include "app/tasks/ReadAhead.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

#include "app/tasks/Workers.h"

namespace tallyfold {

namespace {

// That read ahead now, for whichever run.
std::atomic<int> threads = 0;

}  // namespace

class ReadAhead::Fetching : public std::enable_shared_from_this<Fetching> {
 public:
  Fetching(std::size_t files, Fetch fetch) : fetch_(std::move(fetch)), files_(files) {}

  /// Called without holding the mutex: starting a thread takes its time.
  void addThread() {
    if (threads.fetch_add(1) < mostThreads) {
      try {
        return Workers::start([self = shared_from_this()] {
          self->work();
          --threads;
        });
      } catch (const std::exception&) {  // It is only slower without.
      }
    }
    --threads;
  }

  void reached(std::size_t file) {
    const std::lock_guard lock(mutex_);
    reached_ = file;
    if (idle_ > 0 && hasRoom()) room_.notify_all();
  }

  void stop() {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    room_.notify_all();
  }

 private:
  /// Whether it is worth while to go on. Threads that wake up for each file would cost more than they bring.
  bool hasRoom() const { return isStopped_ || next_ <= reached_ + window / 2; }

  void work() {
    std::unique_lock lock(mutex_);
    while (true) {
      next_ = std::max(next_, reached_ + 1);
      if (isStopped_ || next_ >= files_) return;
      if (next_ > reached_ + window) {
        ++idle_;
        room_.wait(lock, [this] { return hasRoom(); });
        --idle_;
        continue;
      }
      const std::size_t file = next_;
      next_ += stride_;
      lock.unlock();
      const bool wasOnDisk = fetch_(file);
      if (wasOnDisk) addThread();
      lock.lock();
      if (wasOnDisk && stride_ > 1) next_ = file + 1;
      stride_ = wasOnDisk ? 1 : std::min(stride_ * 2, window * 4);
    }
  }

  const Fetch fetch_;
  const std::size_t files_;
  std::mutex mutex_;
  std::condition_variable room_;
  std::size_t reached_ = 0;
  std::size_t next_ = 1;
  std::size_t stride_ = 1;  // More than one where files are in memory.
  int idle_ = 0;
  bool isStopped_ = false;
};

void ReadAhead::Stopping::operator()() const { fetching.stop(); }

ReadAhead::ReadAhead(std::size_t files, Fetch fetch, const std::stop_token& cancellation)
    : fetching_(std::make_shared<Fetching>(files, std::move(fetch))), stopping_(cancellation, Stopping{*fetching_}) {
  if (files > 1) fetching_->addThread();
}

ReadAhead::~ReadAhead() { fetching_->stop(); }

void ReadAhead::reached(std::size_t file) { fetching_->reached(file); }

}  // namespace tallyfold
