#include "core/HashService.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <limits>
#include <system_error>

#include "core/Errors.h"
#include "core/HashPipeline.h"
#include "core/ReadBuffer.h"

namespace tallyfold::HashService {

namespace {

[[noreturn]] void fail(HashServiceError::Case reason) { throw HashServiceError(reason); }

std::int64_t saturatingSum(std::int64_t a, std::int64_t b) {
  constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
  return a > largest - b ? largest : a + b;
}

/// Feeds `size` bytes to `pipeline`, never reading past them.
void readInto(HashPipeline& pipeline, FileHandle& handle, std::int64_t size, const std::stop_token& cancellation,
              const ProgressCallback& progress) {
  const ReadBuffer buffer(static_cast<std::size_t>(std::min(size, chunkSize)));
  const std::int64_t step = progressStep(size);
  std::int64_t due = step;
  std::int64_t bytesRead = 0;
  while (bytesRead < size) {
    checkCancellation(cancellation);
    const auto wanted = static_cast<std::size_t>(std::min(size - bytesRead, chunkSize));
    const std::size_t count = handle.read(buffer.first(wanted));
    if (count == 0) fail(HashServiceError::Case::fileChangedDuringRead);
    pipeline.update(buffer.first(count));
    bytesRead += static_cast<std::int64_t>(count);
    if (bytesRead < size && bytesRead >= due) {
      progress(static_cast<double>(bytesRead) / static_cast<double>(size));
      due = saturatingSum(bytesRead, step);
    }
  }
}

}  // namespace

FileSnapshot fileSnapshot(const std::filesystem::path& url) { return snapshotOfPath(url); }

FileSnapshot fileSnapshot(const FileHandle& handle) { return handle.snapshot(); }

std::pair<FileHandle, FileSnapshot> openRegularFileForReading(const std::filesystem::path& url) {
  const FileSnapshot expected = fileSnapshot(url);
  if (!expected.isRegularFile) fail(HashServiceError::Case::notRegularFile);
  FileHandle handle = FileHandle::open(url, O_RDONLY | O_NONBLOCK);
  const FileSnapshot opened = fileSnapshot(handle);
  if (!opened.isRegularFile) fail(HashServiceError::Case::notRegularFile);
  if (!opened.isSameIdentity(expected)) fail(HashServiceError::Case::fileChangedDuringRead);
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

std::int64_t progressStep(std::int64_t size) {
  constexpr std::int64_t manyChunks = 838'860'800;  // 800 MiB: from here on, a hundredth is more than a chunk.
  return size < manyChunks ? chunkSize : size / 100;
}

DigestMap hashOpenFile(FileHandle& handle, const FileSnapshot& initial, HashAlgorithmSet algorithms,
                       const std::stop_token& cancellation, const ProgressCallback& progress) {
  HashPipeline pipeline(algorithms);
  readInto(pipeline, handle, initial.fileSize, cancellation, progress);
  checkCancellation(cancellation);
  if (fileSnapshot(handle) != initial) fail(HashServiceError::Case::fileChangedDuringRead);
  return pipeline.finalize();
}

FileHashResult hashFile(const std::filesystem::path& url, const Uuid& resultID, HashAlgorithmSet algorithms,
                        const std::stop_token& cancellation, const ProgressCallback& progress) {
  checkCancellation(cancellation);
  if (algorithms.empty()) fail(HashServiceError::Case::noAlgorithms);
  auto [handle, initial] = openRegularFileForReading(url);
  validatePath(url, initial);

  const auto start = std::chrono::steady_clock::now();
  DigestMap hashes = hashOpenFile(handle, initial, algorithms, cancellation, progress);
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
