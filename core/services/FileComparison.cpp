#include "core/services/FileComparison.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

#include "core/base/Errors.h"
#include "core/digests/ReadBuffer.h"

namespace tallyfold::HashService {

namespace {

/// A disk likes to be read a chunk of one file at a time. What has come of the second file is compared in pieces that
/// are still in the processor's own cache.
constexpr std::int64_t pieceSize = 131'072;

struct OpenFile {
  OpenFile(const std::filesystem::path& location, const std::stop_token& cancellation)
      : OpenFile(location, openRegularFileForReading(location, cancellation)) {}

  void validate() const { validateUnchanged(handle, url, initial); }

  /// Fills `bytes`, which the file is known to have.
  void read(std::span<std::byte> bytes, const std::stop_token& cancellation) {
    checkCancellation(cancellation);
    if (readExactChunk(handle, bytes, cancellation) != bytes.size()) {
      throw HashServiceError(HashServiceError::Case::fileChangedDuringRead);
    }
  }

  const std::filesystem::path& url;
  FileHandle handle;
  FileSnapshot initial;

 private:
  OpenFile(const std::filesystem::path& location, std::pair<FileHandle, FileSnapshot> opened)
      : url(location), handle(std::move(opened.first)), initial(opened.second) {}
};

/// Where two byte ranges differ first, or none when the shorter one is the start of the longer one.
std::optional<std::size_t> firstDifference(std::span<const std::byte> a, std::span<const std::byte> b) {
  const std::size_t size = std::min(a.size(), b.size());
  std::size_t start = 0;
  for (const std::size_t step : {size, std::size_t{4096}, std::size_t{64}, std::size_t{1}}) {
    while (start < size && step <= size - start && std::memcmp(&a[start], &b[start], step) == 0) start += step;
  }
  return start < size ? std::optional(start) : std::nullopt;
}

/// The first difference of two files of the same size.
std::optional<std::int64_t> findDifference(OpenFile& a, OpenFile& b, const std::stop_token& cancellation,
                                           const ProgressCallback& progress) {
  const std::int64_t size = a.initial.fileSize;
  const std::int64_t step = progressStep(size);
  const ReadBuffer chunkOfA(static_cast<std::size_t>(std::min(size, chunkSize)));
  const ReadBuffer pieceOfB(static_cast<std::size_t>(std::min(size, pieceSize)));
  std::int64_t lastDue = 0;
  for (std::int64_t done = 0; done < size;) {
    const auto chunk = chunkOfA.first(static_cast<std::size_t>(std::min(size - done, chunkSize)));
    a.read(chunk, cancellation);
    for (std::size_t start = 0; start < chunk.size();) {
      const auto fromA = chunk.subspan(start, std::min(chunk.size() - start, pieceOfB.size()));
      const auto fromB = pieceOfB.first(fromA.size());
      b.read(fromB, cancellation);
      if (const auto offset = firstDifference(fromA, fromB)) {
        return done + static_cast<std::int64_t>(start + *offset);
      }
      start += fromA.size();
    }
    done += static_cast<std::int64_t>(chunk.size());
    if (done < size && done - lastDue >= step) {
      progress(static_cast<double>(done) / static_cast<double>(size));
      lastDue += step;
    }
  }
  return std::nullopt;
}

}  // namespace

FileComparisonResult compareFiles(const std::filesystem::path& a, const std::filesystem::path& b,
                                  const std::stop_token& cancellation, const ProgressCallback& progress) {
  checkCancellation(cancellation);
  OpenFile first(a, cancellation);
  OpenFile second(b, cancellation);
  validatePath(a, first.initial);
  validatePath(b, second.initial);

  FileComparisonResult result = FileComparison::Identical();
  if (!first.initial.isSameIdentity(second.initial)) {
    if (first.initial.fileSize != second.initial.fileSize) {
      result = FileComparison::DifferentSize{first.initial.fileSize, second.initial.fileSize};
    } else if (hasContentWithoutSize(first.handle, first.initial) ||
               hasContentWithoutSize(second.handle, second.initial)) {
      throw HashServiceError(HashServiceError::Case::fileChangedDuringRead);
    } else if (const auto offset = findDifference(first, second, cancellation, progress)) {
      result = FileComparison::ContentMismatch{*offset};
    }
  }
  first.validate();
  second.validate();
  if (!std::holds_alternative<FileComparison::ContentMismatch>(result)) progress(1.0);
  return result;
}

}  // namespace tallyfold::HashService
