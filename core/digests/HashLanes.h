#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "core/digests/DigestMap.h"
#include "core/digests/HashPipeline.h"
#include "core/digests/LanePlan.h"
#include "core/digests/ReadBuffer.h"

namespace tallyfold {

/// Hashes one stream of known length on one thread or several: one pipeline per lane, all fed from the same ring of
/// memory, without locks. The thread that owns the object is the first lane: it fills the ring, and hashes its share of
/// every slice right after. The slowest lane may be a whole ring behind. Used by that one thread, and not used after a
/// failure, which is that of a lane: of whichever operation comes next.
class HashLanes {
 public:
  /// `ring` bytes are held, at most, whatever the `size` of the stream. Fails with std::system_error, and leaves no
  /// thread behind, when the system has no more threads, and with the failures of creating a HashPipeline.
  HashLanes(const LanePlan& plan, std::int64_t size, std::size_t ring);
  ~HashLanes();
  HashLanes(const HashLanes&) = delete;
  HashLanes& operator=(const HashLanes&) = delete;

  /// Where the next bytes of the stream belong, at most `wanted` of them. Waits until all lanes are done with what is
  /// there.
  std::span<std::byte> room(std::size_t wanted);

  /// Hands over the first `count` bytes of the last room.
  void absorb(std::size_t count);

  /// The digests of all lanes. Called once, after `size` bytes.
  [[nodiscard]] DigestMap finalize();

 private:
  static constexpr std::size_t lineSize = 64;  // Of the caches: what two threads write is not in the same line.

  struct alignas(lineSize) Lane {
    std::atomic<std::uint64_t> absorbed = 0;  ///< Bytes of the stream; `failed` at the end of a lane that failed.
    std::optional<DigestMap> digests;         ///< For the owner, as the failure is, once the thread has been joined.
    std::exception_ptr failure;
    std::thread thread;
  };

  static constexpr std::uint64_t failed = UINT64_MAX;
  static constexpr std::uint64_t abandoned = UINT64_MAX;

  void run(Lane& lane, HashPipeline pipeline) noexcept;
  void absorbStream(Lane& lane, HashPipeline& pipeline);
  [[nodiscard]] std::span<std::byte> slice(std::uint64_t position, std::uint64_t end) const;
  void waitFor(Lane& lane, std::uint64_t position);
  void stop();

  HashAlgorithmSet algorithms_;  ///< Of all lanes.
  const ReadBuffer ring_;
  const std::uint64_t size_;
  std::optional<HashPipeline> own_;  ///< None when this thread only reads.
  std::uint64_t filled_ = 0;         ///< Bytes of the stream that have been handed over.
  /// `filled_` as the other lanes see it; or `abandoned`.
  alignas(lineSize) std::atomic<std::uint64_t> published_ = 0;
  std::vector<Lane> others_;
};

}  // namespace tallyfold
