#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <stop_token>
#include <utility>

#include "core/base/Uuid.h"
#include "core/digests/DigestMap.h"
#include "core/digests/HashAlgorithm.h"
#include "core/files/FileHandle.h"
#include "core/files/FileSnapshot.h"
#include "core/services/FileHashResult.h"

namespace tallyfold {

/// Fraction done, 0 to 1. Called on the thread that does the work. Never empty.
using ProgressCallback = std::function<void(double)>;

/// Grows by the bytes that are read, as they are read, by the thread that does the work: for screens, which look when
/// they want to and whatever the size of the file. No result depends on it.
using ReadCounter = std::atomic<std::int64_t>;

/// Hashing and comparing files. Stateless: every operation may run on any number of threads at once. Failures are
/// HashServiceError, std::system_error with the system's error number, those of creating a HashPipeline, or
/// CancellationError when `cancellation` was requested; there is never a partial result.
namespace HashService {

/// The digests of an open file, and when all was ready for the first read.
struct OpenFileHashes {
  DigestMap hashes;
  std::chrono::steady_clock::time_point start;
};

/// Bytes read, and held, at a time.
inline constexpr std::int64_t chunkSize = 8'388'608;

/// Calculates all `algorithms` in one sequential pass over the file at `url`, following symbolic links.
/// A file that is replaced, truncated, extended or rewritten meanwhile fails with `fileChangedDuringRead`, and so does
/// one that has content but no size: nothing tells how much of it is the file.
/// `progress` grows strictly, stays below 1 while reading and is 1 exactly once, at the end of a successful call.
/// Cancellation is seen within one chunk. `counter` may be null.
FileHashResult hashFile(const std::filesystem::path& url, const Uuid& resultID, HashAlgorithmSet algorithms,
                        const std::stop_token& cancellation, const ProgressCallback& progress,
                        ReadCounter* counter = nullptr);

/// Calculates all `algorithms` over a file that was just opened and is the version `initial`, as `hashFile` does but
/// for what concerns its path and the clock (see `waitUntilChangesShow`): the caller looks after those. Fails with
/// `fileChangedDuringRead` unless the file is still this version at the end. `progress` never becomes 1.
OpenFileHashes hashOpenFile(FileHandle& handle, const FileSnapshot& initial, HashAlgorithmSet algorithms,
                            const std::stop_token& cancellation, const ProgressCallback& progress,
                            ReadCounter* counter = nullptr);

/// Opens a regular file, never blocking on a pipe or device, and makes sure that what was opened is what was looked at.
/// Where the file changed so recently that its next change might not show, waits until it would.
std::pair<FileHandle, FileSnapshot> openRegularFileForReading(const std::filesystem::path& url,
                                                              const std::stop_token& cancellation);

/// Fails unless the open file is still the version `initial` and `url` still leads to it.
void validateUnchanged(const FileHandle& handle, const std::filesystem::path& url, const FileSnapshot& initial);

/// Fails unless `url` still leads to the file `initial`. A path that leads nowhere is a change like any other.
void validatePath(const std::filesystem::path& url, const FileSnapshot& initial);

/// Fails with CancellationError when cancellation was requested.
void checkCancellation(const std::stop_token& cancellation);

/// Fills `bytes` as far as the file goes and returns how much that was; 0 at the end of the file.
std::size_t readExactChunk(FileHandle& handle, std::span<std::byte> bytes, const std::stop_token& cancellation);

/// Whether a file that has no size, by `initial`, has content all the same, as those have that are made when they are
/// read. Takes one read, and none of a file that has a size. Called where nothing has been read yet.
bool hasContentWithoutSize(FileHandle& handle, const FileSnapshot& initial);

/// Bytes between two progress reports for a file of `size` bytes.
std::int64_t progressStep(std::int64_t size);

}  // namespace HashService

}  // namespace tallyfold
