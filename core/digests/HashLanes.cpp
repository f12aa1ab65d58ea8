#include "core/digests/HashLanes.h"

#include <algorithm>
#include <utility>

namespace tallyfold {

namespace {

/// Bytes that a lane takes at once: half of a usual second-level cache, so that the second of its algorithms finds
/// there what the first has read.
constexpr std::uint64_t kSlice = 256 << 10;

}  // namespace

HashLanes::HashLanes(const LanePlan& plan, std::int64_t size, std::size_t ring)
    : ring_(ring), size_(static_cast<std::uint64_t>(size)), others_(plan.lanes.size() - 1) {
  for (const HashAlgorithmSet lane : plan.lanes) {
    for (const HashAlgorithm algorithm : lane) algorithms_.insert(algorithm);
  }
  if (!plan.lanes.front().empty()) own_.emplace(plan.lanes.front());
  try {
    for (std::size_t i = 0; i < others_.size(); ++i) {
      Lane& lane = others_[i];
      // All that can fail or take its time is done here: what reads the stream finds the lanes ready.
      lane.thread = std::thread(
          [this, &lane, pipeline = HashPipeline(plan.lanes[i + 1])]() mutable { run(lane, std::move(pipeline)); });
    }
  } catch (...) {
    stop();
    throw;
  }
}

HashLanes::~HashLanes() { stop(); }

std::span<std::byte> HashLanes::room(std::size_t wanted) {
  const std::uint64_t end = filled_ + std::min<std::uint64_t>(wanted, size_ - filled_);
  const std::span<std::byte> place = slice(filled_, end);
  const std::uint64_t lastByte = filled_ + place.size();
  for (Lane& lane : others_) waitFor(lane, lastByte < ring_.size() ? 0 : lastByte - ring_.size());
  return place;
}

void HashLanes::absorb(std::size_t count) {
  const std::span<const std::byte> bytes = slice(filled_, filled_ + count);
  filled_ += count;
  published_.store(filled_, std::memory_order_release);
  published_.notify_all();
  if (own_) own_->update(bytes);
}

DigestMap HashLanes::finalize() {
  for (Lane& lane : others_) waitFor(lane, size_);
  stop();
  DigestMap digests;
  digests.reserve(algorithms_);
  const auto take = [&](const DigestMap& some) {
    for (const HashAlgorithm algorithm : some.algorithms()) digests.insert(algorithm, *some.find(algorithm));
  };
  if (own_) take(own_->finalize());
  for (const Lane& lane : others_) {
    if (lane.failure) std::rethrow_exception(lane.failure);
    take(*lane.digests);
  }
  return digests;
}

/// The body of a lane's thread.
void HashLanes::run(Lane& lane, HashPipeline pipeline) noexcept {
  try {
    absorbStream(lane, pipeline);
    if (lane.absorbed.load(std::memory_order_relaxed) == size_) lane.digests = pipeline.finalize();
  } catch (...) {
    lane.failure = std::current_exception();
    lane.absorbed.store(failed, std::memory_order_release);
    lane.absorbed.notify_one();
  }
}

void HashLanes::absorbStream(Lane& lane, HashPipeline& pipeline) {
  for (std::uint64_t position = 0; position < size_;) {
    published_.wait(position, std::memory_order_acquire);
    const std::uint64_t end = published_.load(std::memory_order_acquire);
    if (end == abandoned) return;
    const std::span<const std::byte> bytes = slice(position, end);
    pipeline.update(bytes);
    position += bytes.size();
    lane.absorbed.store(position, std::memory_order_release);
    lane.absorbed.notify_one();
  }
}

/// The bytes of the ring from one position in the stream to another, as far as they are in one piece and no more than a
/// slice. Where no other lane has yet to read them, the next bytes take their place, which is still in the cache.
std::span<std::byte> HashLanes::slice(std::uint64_t position, std::uint64_t end) const {
  const std::uint64_t offset = others_.empty() ? 0 : position % ring_.size();
  const std::uint64_t count = std::min({end - position, ring_.size() - offset, kSlice});
  return ring_.first(offset + count).subspan(offset);
}

void HashLanes::waitFor(Lane& lane, std::uint64_t position) {
  std::uint64_t absorbed = lane.absorbed.load(std::memory_order_acquire);
  while (absorbed < position) {
    lane.absorbed.wait(absorbed, std::memory_order_acquire);
    absorbed = lane.absorbed.load(std::memory_order_acquire);
  }
  if (absorbed == failed) {
    stop();
    std::rethrow_exception(lane.failure);
  }
}

/// Lets no lane wait for more, and joins them all.
void HashLanes::stop() {
  published_.store(abandoned, std::memory_order_release);
  published_.notify_all();
  for (Lane& lane : others_) {
    if (lane.thread.joinable()) lane.thread.join();
  }
}

}  // namespace tallyfold
