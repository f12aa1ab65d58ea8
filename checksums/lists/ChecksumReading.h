#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string_view>

#include "checksums/lines/ChecksumLines.h"
#include "core/digests/HashAlgorithm.h"
#include "core/files/FileHandle.h"
#include "core/files/FileSnapshot.h"

namespace tallyfold {

/// Why a checksum list could not be read. `what()` is the sentence for the user.
class ManifestReadError : public std::exception {
 public:
  enum class Case {
    unsupportedEncoding,
    lineTooLong,
    tooManyLines,
    manifestTooLarge,
    sourceFileTooLarge,
    notRegularFile,
    fileChangedDuringRead,
  };

  explicit ManifestReadError(Case value, std::int64_t lineNumber = 0) : value_(value), lineNumber_(lineNumber) {}
  [[nodiscard]] Case value() const { return value_; }
  /// The first line that is not text, from 1; 0 where there is no one line to blame.
  [[nodiscard]] std::int64_t lineNumber() const { return lineNumber_; }
  [[nodiscard]] const char* what() const noexcept override;

 private:
  Case value_;
  std::int64_t lineNumber_;
};

namespace ChecksumManifestService {

inline constexpr std::int64_t maximumSourceSize = 268'435'456;  ///< Bytes of a list.
inline constexpr std::int64_t maximumLines = 1'000'000;         ///< Lines of every kind.
inline constexpr std::size_t maximumLineSize = 1'048'576;       ///< Bytes as stored, without the line break.
inline constexpr std::size_t maximumEntries = 100'000;
/// What the entries of a list may hold. An entry counts as the bytes of its path and of its digest and `entryOverhead`.
inline constexpr std::size_t maximumRetainedSize = 67'108'864;
inline constexpr std::size_t entryOverhead = 32;

/// Reads the checksum list at `url`, in UTF-8 or UTF-16, whatever its line breaks. Follows symbolic links and never
/// waits for a pipe or a device. Blocks for as long as the disk does. Fails with ManifestReadError, std::system_error
/// for a file that cannot be looked at, opened or read, or CancellationError, seen within the first MiB or 256 KiB of
/// what follows, which is also what is held of the file at a time; there is never a partial result.
ParseResult load(const std::filesystem::path& url, const std::stop_token& cancellation);

/// The byte order of a UTF-16 text that starts with these bytes; none when it is not UTF-16. Goes by the byte-order
/// mark; without one, by zero bytes, and by which order makes more sense.
std::optional<std::endian> detectUTF16Encoding(std::string_view prefix);

/// Parses the UTF-8 of `initialData` and then of what `handle` gives until the whole is `sourceByteLimit` bytes. A file
/// that ends before fails with fileChangedDuringRead.
ParseResult loadUTF8Streaming(FileHandle& handle, std::int64_t sourceByteLimit, std::string_view initialData,
                              std::optional<HashAlgorithm> preferredGNUAlgorithm, const std::stop_token& cancellation);

}  // namespace ChecksumManifestService

}  // namespace tallyfold
