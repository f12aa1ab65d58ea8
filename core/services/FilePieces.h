#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "core/blake3/BLAKE3Stream.h"
#include "core/digests/DigestMap.h"
#include "core/digests/ReadBuffer.h"
#include "core/files/FileHandle.h"

namespace tallyfold {

/// BLAKE3 of one open file on several threads: each reads and hashes the next piece that no other has, so that no byte
/// goes from one core to another. The thread that owns the object is one of them. It alone puts the pieces together, in
/// their order, and hears of the first failure in this order; none reads a whole chunk further than it has come. Used
/// by that one thread, and not used after a failure.
class FilePieces {
 public:
  /// How many threads are worth their start for a file of `size` bytes, at most 32.
  static unsigned threadsFor(std::int64_t size, unsigned cores);

  /// On `threads` threads, or as many as the system has. `handle` outlives this, and reads at any place; `size` is at
  /// least 1. Fails with BLAKE3Stream::Error. Nothing is read before the first `next`.
  FilePieces(const FileHandle& handle, std::int64_t size, unsigned threads, const std::stop_token& cancellation);
  ~FilePieces();
  FilePieces(const FilePieces&) = delete;
  FilePieces& operator=(const FilePieces&) = delete;

  /// Reads and hashes on, and returns how many bytes more are put together; not after the last. Fails with
  /// `fileChangedDuringRead` where the file ends, with the system's error, or with CancellationError.
  std::size_t next();

  /// The digest. Called once, after `size` bytes.
  [[nodiscard]] DigestMap finalize() const;

 private:
  struct Piece {
    bool isDone = false;
    BLAKE3Stream::Piece content{};
    std::exception_ptr failure;
  };

  static constexpr std::size_t pieceSize = BLAKE3Stream::pieceSize;
  static constexpr std::size_t window = (8 << 20) / pieceSize;  ///< Pieces that may be under way.

  void run(const ReadBuffer& buffer);
  void hash(std::uint64_t number, const ReadBuffer& buffer);
  [[nodiscard]] bool canTake() const { return taken_ < limit_ && !isOver_; }
  void stop();

  const FileHandle& handle_;
  const std::uint64_t size_;
  const std::uint64_t count_;  ///< Of whole pieces with more of the file behind them.
  const std::stop_token cancellation_;
  const ReadBuffer buffer_;
  BLAKE3Stream stream_;
  std::uint64_t absorbed_ = 0;  ///< Bytes.

  std::mutex mutex_;  ///< Guards what follows, but for `threads_`.
  std::condition_variable canBegin_;
  std::condition_variable isDone_;
  std::array<Piece, window> pieces_;  ///< By their numbers, over and over.
  std::uint64_t taken_ = 0;           ///< The first piece that no thread has begun.
  std::uint64_t limit_ = 0;           ///< The first piece that none may begin.
  bool isOver_ = false;               ///< No further piece is begun.

  std::vector<std::thread> threads_;
};

}  // namespace tallyfold
