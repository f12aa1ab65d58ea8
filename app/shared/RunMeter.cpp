#include "app/shared/RunMeter.h"

#include <algorithm>

namespace tallyfold {

namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

constexpr auto window = 10s;
constexpr auto leastSpan = 500ms;  // Of a speed that means something.
constexpr auto leastGap = 100ms;   // Between two samples.

}  // namespace

void RunMeter::start(std::size_t files, Time now) {
  *this = RunMeter();
  files_ = files;
  samples_.front().time = now;
}

void RunMeter::addSizes(const std::vector<Size>& sizes) {
  for (const Size& size : sizes) {
    if (sizes_.size() >= filesDone_) {
      bytesAhead_ += size.value_or(0);
      unknownAhead_ += size ? 0 : 1;
    }
    sizes_.push_back(size);
  }
}

void RunMeter::advance(std::size_t filesDone, std::int64_t bytesRead, std::int64_t readOfRunning, Time now) {
  for (; filesDone_ < filesDone; ++filesDone_) {
    if (filesDone_ >= sizes_.size()) continue;
    bytesAhead_ -= sizes_[filesDone_].value_or(0);
    unknownAhead_ -= sizes_[filesDone_] ? 0 : 1;
  }
  readOfRunning_ = readOfRunning;
  if (bytesRead == samples_.back().bytes) return;
  const bool isTooSoon = samples_.size() > 1 && now - samples_[samples_.size() - 2].time < leastGap;
  if (isTooSoon) samples_.pop_back();
  samples_.push_back({now, bytesRead});
  while (samples_.size() > 2 && samples_[1].time <= now - window) samples_.pop_front();
}

RunMeter::Size RunMeter::totalBytes() const {
  if (sizes_.size() < files_ || unknownAhead_ > 0) return std::nullopt;
  return bytesRead() + std::max<std::int64_t>(bytesAhead_ - readOfRunning_, 0);
}

std::optional<double> RunMeter::bytesPerSecond(Time now) const {
  const auto [first, last] = std::pair(samples_.front(), samples_.back());
  if (samples_.size() < 2) return std::nullopt;
  // Of a large file is heard seldom.
  Time::duration longestGap = 1s;
  for (std::size_t i = 1; i < samples_.size(); ++i) {
    longestGap = std::max(longestGap, samples_[i].time - samples_[i - 1].time);
  }
  const auto span = last.time - first.time;
  if (span < leastSpan || now - last.time > 2 * longestGap) return std::nullopt;
  return static_cast<double>(last.bytes - first.bytes) / Seconds(span).count();
}

std::optional<double> RunMeter::secondsLeft(Time now) const {
  const auto speed = bytesPerSecond(now);
  const auto total = totalBytes();
  if (!speed || !total || *speed <= 0) return std::nullopt;
  return static_cast<double>(*total - bytesRead()) / *speed;
}

}  // namespace tallyfold
