#include "core/files/FileSnapshot.h"

#include <array>
#include <chrono>
#include <span>
#include <sys/stat.h>
#include <thread>
#include <time.h>

#include "core/base/Errors.h"
#include "core/base/KeyedHash.h"

namespace tallyfold {

namespace {

/// The clock that changes of files are stamped with. It stands still for a tick, longer where a tick comes late, while
/// newer kernels give a file that was looked at before a stamp of CLOCK_REALTIME, which is ahead of it.
#ifdef CLOCK_REALTIME_COARSE
constexpr clockid_t kClockOfFiles = CLOCK_REALTIME_COARSE;
#else
constexpr clockid_t kClockOfFiles = CLOCK_REALTIME;
#endif

/// Seconds by which the last change of `snapshot` is ahead of `clock`.
double secondsAhead(const FileSnapshot& snapshot, clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(snapshot.changedSeconds) - static_cast<double>(now.tv_sec) +
         static_cast<double>(snapshot.changedNanoseconds - now.tv_nsec) / 1e9;
}

}  // namespace

FileSnapshot FileSnapshot::from(const struct stat& status) {
  return {
      .device = status.st_dev,
      .inode = status.st_ino,
      .fileSize = status.st_size,
      .modifiedSeconds = status.st_mtim.tv_sec,
      .modifiedNanoseconds = status.st_mtim.tv_nsec,
      .changedSeconds = status.st_ctim.tv_sec,
      .changedNanoseconds = status.st_ctim.tv_nsec,
      .isRegularFile = S_ISREG(status.st_mode),
  };
}

void waitUntilChangesShow(const FileSnapshot& snapshot, const std::stop_token& cancellation) {
  constexpr double twoTicks = 0.02;  // Seconds, of the slowest clock: what is further ahead was not stamped by ours.
  // Where a file system keeps whole seconds, there are no nanoseconds.
  const double rest = snapshot.changedNanoseconds == 0 ? 1 : 0;
  while (secondsAhead(snapshot, kClockOfFiles) + rest >= 0) {
    if (secondsAhead(snapshot, CLOCK_REALTIME) > twoTicks) return;
    if (cancellation.stop_requested()) throw CancellationError();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace tallyfold

std::size_t std::hash<tallyfold::FileSnapshot>::operator()(const tallyfold::FileSnapshot& snapshot) const {
  const std::array fields{
      static_cast<std::int64_t>(snapshot.device),
      static_cast<std::int64_t>(snapshot.inode),
      snapshot.fileSize,
      snapshot.modifiedSeconds,
      snapshot.modifiedNanoseconds,
      snapshot.changedSeconds,
      snapshot.changedNanoseconds,
  };
  return tallyfold::KeyedHash()(std::as_bytes(std::span(fields)));
}
