#include "core/services/HashService.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <system_error>

#include "core/base/Errors.h"
#include "core/base/Processor.h"
#include "core/digests/HashLanes.h"
#include "core/digests/HashPipeline.h"
#include "core/digests/LanePlan.h"
#include "core/files/Paths.h"
#include "core/services/FilePieces.h"

namespace tallyfold::HashService {

namespace {

[[noreturn]] void fail(HashServiceError::Case reason) { throw HashServiceError(reason); }

std::int64_t saturatingSum(std::int64_t a, std::int64_t b) {
  constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
  return a > largest - b ? largest : a + b;
}

FileSnapshot fileSnapshot(const std::filesystem::path& url) { return snapshotOfPath(url); }

FileSnapshot fileSnapshot(const FileHandle& handle) { return handle.snapshot(); }

constexpr std::int64_t kLarge = 2 << 20;    // Hashed in the time of many thread starts, whatever the algorithm.
constexpr std::int64_t kSmall = 16 << 10;   // Fits onto any stack: the heap takes as long as the read.
constexpr std::int64_t kPiece = 128 << 10;  // In a second-level cache until one algorithm after another has read it.

/// The lanes for a file of this size: one where more are no better, which is for a small file and on one core, and
/// where the system has no more threads. On the heap: an instrumented stack does not align them as they need.
std::unique_ptr<HashLanes> newLanes(HashAlgorithmSet algorithms, std::int64_t size) {
  const unsigned cores = size < kLarge ? 1 : availableCores();
  if (cores > 1) {
    const LanePlan plan = planForCores(algorithms, measuredCosts(), cores);
    try {
      if (plan.lanes.size() > 1) {
        return std::make_unique<HashLanes>(plan, size, static_cast<std::size_t>(std::min(size, chunkSize)));
      }
    } catch (const std::system_error&) {
    }
  }
  return std::make_unique<HashLanes>(LanePlan{.lanes = {algorithms}}, size,
                                     static_cast<std::size_t>(std::min(size, kPiece)));
}

/// Reads some of the `rest` of the file, and has it hashed. Returns how much.
std::size_t readNext(HashLanes& lanes, FileHandle& handle, std::int64_t rest) {
  const std::size_t count = handle.read(lanes.room(static_cast<std::size_t>(rest)));
  if (count == 0) fail(HashServiceError::Case::fileChangedDuringRead);
  lanes.absorb(count);
  return count;
}

std::size_t readNext(FilePieces& pieces, FileHandle& /*handle*/, std::int64_t /*rest*/) { return pieces.next(); }

/// A small file, without lanes.
struct SmallFile {
  HashPipeline pipeline;
  std::span<std::byte> room;

  DigestMap finalize() { return pipeline.finalize(); }
};

std::size_t readNext(SmallFile& file, FileHandle& handle, std::int64_t rest) {
  const std::size_t count = handle.read(file.room.first(static_cast<std::size_t>(rest)));
  if (count == 0) fail(HashServiceError::Case::fileChangedDuringRead);
  file.pipeline.update(file.room.first(count));
  return count;
}

/// Has the whole of a file that is the version `initial` read, and nothing past it, and hashed by `hashing`.
template <typename Hashing>
OpenFileHashes hashWith(Hashing& hashing, FileHandle& handle, const FileSnapshot& initial,
                        const std::stop_token& cancellation, const ProgressCallback& progress, ReadCounter* counter) {
  const std::int64_t size = initial.fileSize;
  const auto start = std::chrono::steady_clock::now();
  const std::int64_t step = progressStep(size);
  std::int64_t due = step;
  std::int64_t bytesRead = 0;
  std::int64_t announced = size <= kPiece ? size : 0;
  while (bytesRead < size) {
    checkCancellation(cancellation);
    // What comes next is on its way from the disk while this is hashed.
    if (announced < size && bytesRead + chunkSize / 2 >= announced) {
      handle.willNeed(announced, std::min(size - announced, chunkSize));
      announced += chunkSize;
    }
    const auto count = static_cast<std::int64_t>(readNext(hashing, handle, size - bytesRead));
    bytesRead += count;
    if (counter != nullptr) counter->fetch_add(count, std::memory_order_relaxed);
    if (bytesRead < size && bytesRead >= due) {
      progress(static_cast<double>(bytesRead) / static_cast<double>(size));
      due = saturatingSum(bytesRead, step);
    }
  }
  checkCancellation(cancellation);
  if (hasContentWithoutSize(handle, initial) || fileSnapshot(handle) != initial) {
    fail(HashServiceError::Case::fileChangedDuringRead);
  }
  return {.hashes = hashing.finalize(), .start = start};
}

}  // namespace

std::pair<FileHandle, FileSnapshot> openRegularFileForReading(const std::filesystem::path& url,
                                                              const std::stop_token& cancellation) {
  const FileSnapshot expected = fileSnapshot(url);
  if (!expected.isRegularFile) fail(HashServiceError::Case::notRegularFile);
  FileHandle handle = FileHandle::open(url, O_RDONLY | O_NONBLOCK);
  const FileSnapshot opened = fileSnapshot(handle);
  if (!opened.isRegularFile) fail(HashServiceError::Case::notRegularFile);
  if (!opened.isSameIdentity(expected)) fail(HashServiceError::Case::fileChangedDuringRead);
  waitUntilChangesShow(opened, cancellation);
  return {std::move(handle), opened};
}

void validateUnchanged(const FileHandle& handle, const std::filesystem::path& url, const FileSnapshot& initial) {
  if (fileSnapshot(handle) != initial) fail(HashServiceError::Case::fileChangedDuringRead);
  validatePath(url, initial);
}

void validatePath(const std::filesystem::path& url, const FileSnapshot& initial) {
  try {
    if (fileSnapshot(url).isSameIdentity(initial)) return;
  } catch (const std::system_error&) {
  }
  fail(HashServiceError::Case::fileChangedDuringRead);
}

void checkCancellation(const std::stop_token& cancellation) {
  if (cancellation.stop_requested()) throw CancellationError();
}

std::size_t readExactChunk(FileHandle& handle, std::span<std::byte> bytes, const std::stop_token& cancellation) {
  if (bytes.empty()) return 0;
  std::size_t held = handle.read(bytes);
  if (held == 0) return 0;
  while (held < bytes.size()) {
    checkCancellation(cancellation);
    const std::size_t count = handle.read(bytes.subspan(held));
    if (count == 0) break;
    held += count;
  }
  return held;
}

bool hasContentWithoutSize(FileHandle& handle, const FileSnapshot& initial) {
  std::array<std::byte, 1> byte{};
  return initial.fileSize == 0 && handle.read(byte) != 0;
}

std::int64_t progressStep(std::int64_t size) {
  constexpr std::int64_t manyChunks = 838'860'800;  // 800 MiB: from here on, a hundredth is more than a chunk.
  return size < manyChunks ? chunkSize : size / 100;
}

OpenFileHashes hashOpenFile(FileHandle& handle, const FileSnapshot& initial, HashAlgorithmSet algorithms,
                            const std::stop_token& cancellation, const ProgressCallback& progress,
                            ReadCounter* counter) {
  const std::int64_t size = initial.fileSize;
  if (size <= kSmall) {
    std::array<std::byte, kSmall> bytes;
    SmallFile file{HashPipeline(algorithms), bytes};
    return hashWith(file, handle, initial, cancellation, progress, counter);
  }
  // Beside any other algorithm, BLAKE3 is not what all wait for.
  if (algorithms == HashAlgorithmSet{HashAlgorithm::blake3} && size >= kLarge) {
    const unsigned threads = FilePieces::threadsFor(size, availableCores());
    if (threads > 1 && handle.canReadAt()) {
      FilePieces pieces(handle, size, threads, cancellation);
      return hashWith(pieces, handle, initial, cancellation, progress, counter);
    }
  }
  return hashWith(*newLanes(algorithms, size), handle, initial, cancellation, progress, counter);
}

FileHashResult hashFile(const std::filesystem::path& url, const Uuid& resultID, HashAlgorithmSet algorithms,
                        const std::stop_token& cancellation, const ProgressCallback& progress, ReadCounter* counter) {
  checkCancellation(cancellation);
  if (algorithms.empty()) fail(HashServiceError::Case::noAlgorithms);
  auto [handle, initial] = openRegularFileForReading(url, cancellation);
  validatePath(url, initial);

  auto [hashes, start] = hashOpenFile(handle, initial, algorithms, cancellation, progress, counter);
  validateUnchanged(handle, url, initial);
  const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;

  progress(1.0);
  return {
      .id = resultID,
      .url = url,
      .fileSize = initial.fileSize,
      .modifiedAt = {initial.modifiedSeconds, initial.modifiedNanoseconds},
      .hashes = std::move(hashes),
      .duration = duration.count(),
  };
}

}  // namespace tallyfold::HashService
