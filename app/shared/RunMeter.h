#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace tallyfold {

/// How much of a run is done, how fast it is, and how long it will take: in bytes, as files are of any size. What is
/// not known is none, and never a guess. Sizes in bytes, times in seconds. The caller has the clock.
class RunMeter {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Size = std::optional<std::int64_t>;

  /// Forgets the last run.
  void start(std::size_t files, Time now);
  /// The sizes of the files that come next in the run's order; none where it cannot be known.
  void addSizes(const std::vector<Size>& sizes);
  /// So many files are finished; `bytesRead` since the start, so much of it of the file under way.
  void advance(std::size_t filesDone, std::int64_t bytesRead, std::int64_t readOfRunning, Time now);

  [[nodiscard]] std::int64_t bytesRead() const { return samples_.back().bytes; }
  /// None where it is unknown, or not known yet.
  [[nodiscard]] Size sizeOf(std::size_t file) const { return file < sizes_.size() ? sizes_[file] : std::nullopt; }
  /// What was read and what will be; none while the size of a file that is not finished is unknown.
  [[nodiscard]] Size totalBytes() const;
  /// The speed of the last ten seconds or so; none before it can be told, and where nothing came for longer than it
  /// used to take.
  [[nodiscard]] std::optional<double> bytesPerSecond(Time now) const;
  [[nodiscard]] std::optional<double> secondsLeft(Time now) const;

 private:
  struct Sample {
    Time time;
    std::int64_t bytes;
  };

  std::size_t files_ = 0;
  std::size_t filesDone_ = 0;
  std::int64_t readOfRunning_ = 0;
  std::vector<Size> sizes_;
  std::int64_t bytesAhead_ = 0;    // In files that are not finished, as far as sizes are known.
  std::size_t unknownAhead_ = 0;   // Files that are not finished whose size is unknown.
  std::deque<Sample> samples_{1};  // Never empty. The first is from before the time that the speed is of.
};

}  // namespace tallyfold
