#include "core/services/FilePieces.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "core/base/Errors.h"

namespace tallyfold {

namespace {

/// Reads as many bytes as there is room for from `offset` on, in as many calls as the system wants.
void readAll(const FileHandle& handle, std::uint64_t offset, std::span<std::byte> bytes) {
  while (!bytes.empty()) {
    const std::size_t count = handle.readAt(static_cast<std::int64_t>(offset), bytes);
    if (count == 0) throw HashServiceError(HashServiceError::Case::fileChangedDuringRead);
    bytes = bytes.subspan(count);
    offset += count;
  }
}

}  // namespace

unsigned FilePieces::threadsFor(std::int64_t size, unsigned cores) {
  constexpr std::int64_t worthAThread = 1 << 20;
  constexpr unsigned most = window / 2;
  return static_cast<unsigned>(std::clamp<std::int64_t>(size / worthAThread, 1, std::min(cores, most)));
}

FilePieces::FilePieces(const FileHandle& handle, std::int64_t size, unsigned threads,
                       const std::stop_token& cancellation)
    : handle_(handle),
      size_(static_cast<std::uint64_t>(size)),
      count_((size_ - 1) / pieceSize),
      cancellation_(cancellation),
      buffer_(pieceSize) {
  threads_.reserve(threads);
  try {
    while (threads_.size() + 1 < threads) {
      threads_.emplace_back([this, buffer = ReadBuffer(pieceSize)] { run(buffer); });
    }
  } catch (const std::system_error&) {
    // Fewer threads do the same.
  } catch (...) {
    stop();
    throw;
  }
}

FilePieces::~FilePieces() { stop(); }

std::size_t FilePieces::next() {
  const std::uint64_t number = absorbed_ / pieceSize;
  if (number == count_) {
    const std::span<std::byte> rest = buffer_.first(size_ - absorbed_);
    readAll(handle_, absorbed_, rest);
    stream_.update(rest);
    absorbed_ += rest.size();
    return rest.size();
  }
  std::unique_lock lock(mutex_);
  limit_ = std::min(count_, number + window);
  canBegin_.notify_all();
  Piece& place = pieces_[number % window];
  while (!place.isDone) {
    if (cancellation_.stop_requested()) throw CancellationError();
    if (canTake()) {
      const std::uint64_t taken = taken_++;
      lock.unlock();
      hash(taken, buffer_);
      lock.lock();
    } else {
      isDone_.wait(lock);
    }
  }
  const Piece piece = std::exchange(place, Piece());
  lock.unlock();
  if (piece.failure) std::rethrow_exception(piece.failure);
  stream_.update(piece.content);
  absorbed_ += pieceSize;
  return pieceSize;
}

DigestMap FilePieces::finalize() const {
  DigestMap digests;
  digests.insert(HashAlgorithm::blake3, stream_.finalize());
  return digests;
}

/// The body of a thread.
void FilePieces::run(const ReadBuffer& buffer) {
  std::unique_lock lock(mutex_);
  while (true) {
    canBegin_.wait(lock, [this] { return canTake() || isOver_ || taken_ == count_; });
    if (!canTake() || cancellation_.stop_requested()) return;
    const std::uint64_t number = taken_++;
    lock.unlock();
    hash(number, buffer);
    lock.lock();
  }
}

void FilePieces::hash(std::uint64_t number, const ReadBuffer& buffer) {
  Piece piece;
  piece.isDone = true;
  try {
    const std::span<std::byte> bytes = buffer.first(pieceSize);
    readAll(handle_, number * pieceSize, bytes);
    piece.content = BLAKE3Stream::piece(bytes, number);
  } catch (...) {
    piece.failure = std::current_exception();
  }
  const std::lock_guard lock(mutex_);
  // Those before this one have been begun, and one of them may fail yet.
  if (piece.failure) isOver_ = true;
  pieces_[number % window] = std::move(piece);
  isDone_.notify_one();
}

/// Lets no thread begin another piece, and joins them all.
void FilePieces::stop() {
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  canBegin_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

}  // namespace tallyfold
