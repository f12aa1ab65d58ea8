#include "core/services/FileComparison.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "core/base/Errors.h"
#include "core/digests/ReadBuffer.h"
#include "core/services/ByteDifferences.h"

namespace tallyfold::HashService {

using FileComparison::Differences;
using FileComparison::FirstDifference;
using FileComparison::Side;
using FileComparison::Versions;

namespace {

/// A disk likes to be read a chunk of one file at a time. What has come of the second file is compared in pieces that
/// are still in the processor's own cache.
constexpr std::int64_t pieceSize = 131'072;
static_assert(chunkSize % pieceSize == 0 && pieceSize % FirstDifference::rowSize == 0);

/// Says before what can fail which side is at work.
struct OpenFile {
  OpenFile(Side file, Side& now, const std::filesystem::path& location, const std::stop_token& cancellation)
      : side(file), sideAtWork(now), url(location), handle(open(cancellation)) {}

  void validate() const {
    sideAtWork = side;
    validateUnchanged(handle, url, initial);
  }

  void expect(const FileSnapshot& version) const {
    sideAtWork = side;
    if (initial != version) throw HashServiceError(HashServiceError::Case::fileChangedDuringRead);
  }

  void refuseContentWithoutSize() {
    sideAtWork = side;
    if (hasContentWithoutSize(handle, initial)) throw HashServiceError(HashServiceError::Case::fileChangedDuringRead);
  }

  void seek(std::int64_t offset) {
    sideAtWork = side;
    handle.seek(offset);
  }

  /// Fills `bytes`, which the file is known to have.
  void read(std::span<std::byte> bytes, const std::stop_token& cancellation) {
    sideAtWork = side;
    checkCancellation(cancellation);
    if (readExactChunk(handle, bytes, cancellation) != bytes.size()) {
      throw HashServiceError(HashServiceError::Case::fileChangedDuringRead);
    }
  }

  /// Fails unless what `url` leads to is what was opened.
  void validatePlace() const {
    sideAtWork = side;
    validatePath(url, initial);
  }

  const Side side;
  Side& sideAtWork;
  const std::filesystem::path& url;
  FileSnapshot initial;
  FileHandle handle;

 private:
  FileHandle open(const std::stop_token& cancellation) {
    sideAtWork = side;
    auto [opened, version] = openRegularFileForReading(url, cancellation);
    initial = version;
    return std::move(opened);
  }
};

struct OpenFiles {
  /// `sideAtWork` may be null.
  OpenFiles(const std::filesystem::path& locationOfA, const std::filesystem::path& locationOfB, Side* sideAtWork,
            const std::stop_token& cancellation)
      : a(Side::a, sideAtWork == nullptr ? unasked : *sideAtWork, locationOfA, cancellation),
        b(Side::b, a.sideAtWork, locationOfB, cancellation) {
    a.validatePlace();
    b.validatePlace();
  }

  OpenFiles(const std::filesystem::path& locationOfA, const std::filesystem::path& locationOfB,
            const Versions& versions, Side* sideAtWork, const std::stop_token& cancellation)
      : OpenFiles(locationOfA, locationOfB, sideAtWork, cancellation) {
    a.expect(versions.a);
    b.expect(versions.b);
    refuseContentWithoutSize();
  }

  OpenFiles(const OpenFiles&) = delete;
  OpenFiles& operator=(const OpenFiles&) = delete;

  [[nodiscard]] Versions versions() const { return {a.initial, b.initial}; }
  [[nodiscard]] std::int64_t commonSize() const { return std::min(a.initial.fileSize, b.initial.fileSize); }

  void refuseContentWithoutSize() {
    a.refuseContentWithoutSize();
    b.refuseContentWithoutSize();
  }

  void validate() const {
    a.validate();
    b.validate();
  }

  Side unasked = Side::neither;
  OpenFile a;
  OpenFile b;
};

/// Reads what both files have from the byte `from` on, where both are, and calls `take(fromA, fromB, offset)` with
/// piece after piece of it until that returns false.
template <typename Take>
void readTogether(OpenFiles& files, std::int64_t from, const std::stop_token& cancellation,
                  const ProgressCallback& progress, Take take) {
  const std::int64_t size = files.commonSize() - from;
  const std::int64_t step = progressStep(size);
  const ReadBuffer chunkOfA(static_cast<std::size_t>(std::min(size, chunkSize)));
  const ReadBuffer pieceOfB(static_cast<std::size_t>(std::min(size, pieceSize)));
  std::int64_t lastDue = 0;
  for (std::int64_t done = 0; done < size;) {
    const auto chunk = chunkOfA.first(static_cast<std::size_t>(std::min(size - done, chunkSize)));
    files.a.read(chunk, cancellation);
    for (std::size_t start = 0; start < chunk.size();) {
      const auto fromA = chunk.subspan(start, std::min(chunk.size() - start, pieceOfB.size()));
      const auto fromB = pieceOfB.first(fromA.size());
      files.b.read(fromB, cancellation);
      if (!take(fromA, fromB, from + done + static_cast<std::int64_t>(start))) return;
      start += fromA.size();
    }
    done += static_cast<std::int64_t>(chunk.size());
    if (done < size && done - lastDue >= step) {
      files.validate();
      progress(static_cast<double>(done) / static_cast<double>(size));
      lastDue += step;
    }
  }
}

/// The first difference of what both files have, which are at their beginnings.
std::optional<FirstDifference> findDifference(OpenFiles& files, const std::stop_token& cancellation,
                                              const ProgressCallback& progress) {
  std::optional<FirstDifference> found;
  const auto take = [&](std::span<const std::byte> a, std::span<const std::byte> b, std::int64_t offset) {
    const auto place = firstDifference(a, b);
    if (!place) return true;
    found = FirstDifference{.offset = offset + static_cast<std::int64_t>(*place)};
    const auto start = static_cast<std::size_t>(found->rowOffset() - offset);
    const auto rowOf = [&](std::span<const std::byte> bytes) {
      const auto row = bytes.subspan(start, std::min<std::size_t>(FirstDifference::rowSize, bytes.size() - start));
      return std::vector(row.begin(), row.end());
    };
    found->rowOfA = rowOf(a);
    found->rowOfB = rowOf(b);
    return false;
  };
  readTogether(files, 0, cancellation, progress, take);
  if (!found) return found;
  // A row that is cut short here ends where the shorter file does, up to which both have been read.
  const auto complete = [&](OpenFile& file, std::vector<std::byte>& row) {
    const std::size_t held = row.size();
    row.resize(
        static_cast<std::size_t>(std::min(FirstDifference::rowSize, file.initial.fileSize - found->rowOffset())));
    if (row.size() > held) file.read(std::span(row).subspan(held), cancellation);
  };
  complete(files.a, found->rowOfA);
  complete(files.b, found->rowOfB);
  return found;
}

}  // namespace

FileComparisonWithVersions compareFilesKeepingVersions(const std::filesystem::path& a, const std::filesystem::path& b,
                                                       const std::stop_token& cancellation,
                                                       const ProgressCallback& progress, Side* sideAtWork) {
  checkCancellation(cancellation);
  OpenFiles files(a, b, sideAtWork, cancellation);
  FileComparisonWithVersions comparison{.result = FileComparison::Identical(), .versions = files.versions()};
  const auto& [first, second] = comparison.versions;
  if (!first.isSameIdentity(second)) {
    if (first.fileSize != second.fileSize) {
      comparison.result = FileComparison::DifferentSize{first.fileSize, second.fileSize};
    } else {
      files.refuseContentWithoutSize();
      comparison.difference = findDifference(files, cancellation, progress);
      if (comparison.difference) comparison.result = FileComparison::ContentMismatch{comparison.difference->offset};
    }
  }
  files.validate();
  if (!comparison.difference) progress(1.0);
  return comparison;
}

FileComparisonResult compareFiles(const std::filesystem::path& a, const std::filesystem::path& b,
                                  const std::stop_token& cancellation, const ProgressCallback& progress) {
  return compareFilesKeepingVersions(a, b, cancellation, progress).result;
}

std::optional<FirstDifference> compareCommonPart(const std::filesystem::path& a, const std::filesystem::path& b,
                                                 const Versions& versions, const std::stop_token& cancellation,
                                                 const ProgressCallback& progress, Side* sideAtWork) {
  checkCancellation(cancellation);
  OpenFiles files(a, b, versions, sideAtWork, cancellation);
  auto difference = findDifference(files, cancellation, progress);
  files.validate();
  if (!difference) progress(1.0);
  return difference;
}

Differences countDifferences(const std::filesystem::path& a, const std::filesystem::path& b, const Versions& versions,
                             std::int64_t first, const std::stop_token& cancellation, const ProgressCallback& progress,
                             Side* sideAtWork) {
  checkCancellation(cancellation);
  OpenFiles files(a, b, versions, sideAtWork, cancellation);
  constexpr std::int64_t page = 4096;
  const std::int64_t start = first - first % page;
  files.a.seek(start);
  files.b.seek(start);
  ByteDifferences differences;
  readTogether(files, start, cancellation, progress, [&](auto fromA, auto fromB, std::int64_t /*offset*/) {
    differences.add(fromA, fromB);
    return true;
  });
  files.validate();
  progress(1.0);
  return {.bytes = differences.bytes(), .runs = differences.runs(), .last = start + differences.last()};
}

}  // namespace tallyfold::HashService
