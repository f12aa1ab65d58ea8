#include "checksums/lists/ChecksumReading.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <span>
#include <stdexcept>
#include <system_error>

#include "checksums/lists/SecondReading.h"
#include "checksums/paths/ManifestPaths.h"
#include "core/digests/HashPipeline.h"
#include "core/digests/ReadBuffer.h"
#include "core/files/Paths.h"
#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"

namespace tallyfold {

const char* ManifestReadError::what() const noexcept {
  switch (value_) {
    case Case::unsupportedEncoding:
      return "The checksum file is not valid UTF-8 or UTF-16 text.";
    case Case::lineTooLong:
      return "The checksum file contains a line larger than 1 MiB and was rejected to keep memory use bounded.";
    case Case::tooManyLines:
      return "The checksum file exceeds the 1,000,000-line limit for interactive verification.";
    case Case::manifestTooLarge:
      return "The checksum file exceeds the safe in-memory manifest limit (100,000 entries or approximately 64 MiB of "
             "retained entry data).";
    case Case::sourceFileTooLarge:
      return "The checksum file exceeds the 256 MiB source-size limit for interactive verification.";
    case Case::notRegularFile:
      return "The selected checksum item is not a regular file.";
    case Case::fileChangedDuringRead:
      return "The checksum file changed while it was being read. Load it again after the file is stable.";
  }
  return "";
}

namespace ChecksumManifestService {

namespace {

/// Bytes that tell the encoding of a list. They are read at once.
constexpr std::int64_t prefixSize = 1'048'578;

/// Bytes read at a time of what follows them, and parsed at a time.
constexpr std::int64_t readChunkSize = 262'144;

[[noreturn]] void fail(ManifestReadError::Case reason) { throw ManifestReadError(reason); }

char16_t unitOf(char first, char second, std::endian order) {
  const auto a = static_cast<unsigned char>(first);
  const auto b = static_cast<unsigned char>(second);
  return static_cast<char16_t>(order == std::endian::little ? b << 8 | a : a << 8 | b);
}

/// Whether every surrogate has its partner.
bool isValidUTF16(std::u16string_view units) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (isLowSurrogate(units[i])) return false;
    if (!isHighSurrogate(units[i])) continue;
    if (++i == units.size() || !isLowSurrogate(units[i])) return false;
  }
  return true;
}

/// Finds the line breaks of a text from its start to its end, and looks at each character once per kind of break.
template <typename Character>
class BreakFinder {
 public:
  explicit BreakFinder(std::basic_string_view<Character> text)
      : text_(text), lineFeed_(text.find('\n')), carriageReturn_(text.find('\r')) {}

  /// The first break at or behind `start`, or npos.
  std::size_t from(std::size_t start) {
    if (lineFeed_ < start) lineFeed_ = text_.find('\n', start);
    if (carriageReturn_ < start) carriageReturn_ = text_.find('\r', start);
    return std::min(lineFeed_, carriageReturn_);
  }

 private:
  std::basic_string_view<Character> text_;
  std::size_t lineFeed_;
  std::size_t carriageReturn_;
};

/// Cuts a text that comes in pieces into lines.
template <typename Character>
class LineSplitter {
 public:
  using Text = std::basic_string_view<Character>;

  /// Calls `take` for every line that this piece completes. Lines stay valid during the call only.
  template <typename Take>
  void split(Text text, Take take) {
    if (text.empty()) return;
    std::size_t start = endsWithCarriageReturn_ && text.front() == '\n' ? 1 : 0;
    endsWithCarriageReturn_ = text.back() == '\r';
    BreakFinder<Character> breaks(text);
    for (std::size_t end = 0; (end = breaks.from(start)) != Text::npos;) {
      takeLine(text.substr(start, end - start), take);
      start = end + (text.substr(end, 2) == kBothBreaks ? 2 : 1);
    }
    checkSize(pending_.size() + text.size() - start);
    pending_ += text.substr(start);
  }

  /// Takes what is left at the end of the text, when it is not empty.
  template <typename Take>
  void finish(Take take) {
    if (!pending_.empty()) take(Text(pending_));
  }

 private:
  static constexpr std::array<Character, 2> kBreakCharacters{'\r', '\n'};
  static constexpr Text kBothBreaks{kBreakCharacters.data(), 2};

  static void checkSize(std::size_t length) {
    if (length > maximumLineSize / sizeof(Character)) fail(ManifestReadError::Case::lineTooLong);
  }

  template <typename Take>
  void takeLine(Text end, Take take) {
    checkSize(pending_.size() + end.size());
    if (pending_.empty()) return take(end);
    pending_ += end;
    take(Text(pending_));
    pending_.clear();
  }

  std::basic_string<Character> pending_;  ///< The start of a line whose break is still to come.
  bool endsWithCarriageReturn_ = false;
};

/// Makes entries of lines, as many as are allowed.
class Parser {
 public:
  /// `secondReading` takes what is left unsupported; none when nothing does, and then there are no digests either.
  Parser(std::optional<HashAlgorithm> preferredGNUAlgorithm, SecondReading* secondReading)
      : preferredGNUAlgorithm_(preferredGNUAlgorithm), secondReading_(secondReading) {
    if (secondReading == nullptr) return;
    try {
      digests_ = std::make_unique<HashPipeline>(HashAlgorithmSet{HashAlgorithm::sha256, HashAlgorithm::blake3});
    } catch (const std::runtime_error&) {  // The system's library does not offer them; the list is read all the same.
    }
  }

  void parse(std::string_view line) {
    countLine();
    if (!isValidUTF8(line)) throw ManifestReadError(ManifestReadError::Case::unsupportedEncoding, lineCount_);
    process(line);
  }

  void parse(std::u16string_view line) {
    countLine();
    if (!isValidUTF16(line)) throw ManifestReadError(ManifestReadError::Case::unsupportedEncoding, lineCount_);
    process(utf8Of(line, converted_));
  }

  ParseResult takeResult() { return std::move(result_); }

  /// All bytes of the list, in order, go through here first.
  std::string_view digested(std::string_view bytes) {
    return digests_ ? (digests_->update(std::as_bytes(std::span(bytes))), bytes) : bytes;
  }
  DigestMap takeDigests() { return digests_ ? digests_->finalize() : DigestMap(); }

 private:
  void countLine() {
    if (lineCount_ == maximumLines) fail(ManifestReadError::Case::tooManyLines);
    ++lineCount_;
  }

  void process(std::string_view line) {
    const std::size_t before = result_.entries.size();
    if (secondReading_ != nullptr) {
      secondReading_->processLine(line, lineCount_, preferredGNUAlgorithm_, result_);
    } else {
      processLine(line, lineCount_, preferredGNUAlgorithm_, result_);
    }
    for (std::size_t i = before; i < result_.entries.size(); ++i) {
      const ChecksumManifestEntry& entry = result_.entries[i];
      const std::size_t size = entry.relativePath.size() + entry.expectedHash.size() + entryOverhead;
      if (i >= maximumEntries || size > maximumRetainedSize - retainedSize_) {
        fail(ManifestReadError::Case::manifestTooLarge);
      }
      retainedSize_ += size;
    }
  }

  std::optional<HashAlgorithm> preferredGNUAlgorithm_;
  SecondReading* secondReading_;
  ParseResult result_;
  std::int64_t lineCount_ = 0;
  std::size_t retainedSize_ = 0;
  std::string converted_;
  std::unique_ptr<HashPipeline> digests_;
};

/// Cuts bytes that come in pieces into the units of UTF-16.
class UnitDecoder {
 public:
  explicit UnitDecoder(std::endian order) : order_(order) {}

  /// The units that these bytes complete, without a byte-order mark at the very start. Valid until the next call.
  std::u16string_view decode(std::string_view bytes) {
    units_.clear();
    if (half_ && !bytes.empty()) {
      units_ += unitOf(*half_, bytes.front(), order_);
      half_.reset();
      bytes.remove_prefix(1);
    }
    const std::size_t carried = units_.size();
    units_.resize(carried + bytes.size() / 2);
    for (std::size_t i = 0; i < bytes.size() / 2; ++i) {
      units_[carried + i] = unitOf(bytes[2 * i], bytes[2 * i + 1], order_);
    }
    if (bytes.size() % 2 != 0) half_ = bytes.back();
    std::u16string_view units = units_;
    if (isAtStart_ && units.starts_with(u'\uFEFF')) units.remove_prefix(1);
    isAtStart_ = isAtStart_ && units_.empty();
    return units;
  }

  /// Whether the bytes so far end within a unit.
  [[nodiscard]] bool isWithinUnit() const { return half_.has_value(); }

 private:
  std::endian order_;
  std::u16string units_;
  std::optional<char> half_;
  bool isAtStart_ = true;
};

std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Calls `take` with all bytes of the source in order, at most a chunk at a time.
template <typename Take>
void stream(FileHandle& handle, std::int64_t sourceByteLimit, std::string_view initialData,
            const std::stop_token& cancellation, Take take) {
  auto total = std::ssize(initialData);
  if (total > maximumSourceSize) fail(ManifestReadError::Case::sourceFileTooLarge);
  for (; !initialData.empty(); initialData.remove_prefix(std::min<std::size_t>(initialData.size(), readChunkSize))) {
    HashService::checkCancellation(cancellation);
    take(initialData.substr(0, readChunkSize));
  }
  if (total >= sourceByteLimit) return;
  const ReadBuffer buffer(static_cast<std::size_t>(std::min(sourceByteLimit - total, readChunkSize)));
  while (total < sourceByteLimit) {
    HashService::checkCancellation(cancellation);
    const auto wanted = static_cast<std::size_t>(std::min(sourceByteLimit - total, readChunkSize));
    const std::size_t count = handle.read(buffer.first(wanted));
    if (count == 0) fail(ManifestReadError::Case::fileChangedDuringRead);
    total += static_cast<std::int64_t>(count);
    if (total > maximumSourceSize) fail(ManifestReadError::Case::sourceFileTooLarge);
    take(textOf(buffer.first(count)));
  }
}

/// Parses the UTF-8 of the whole source.
void parseUTF8(FileHandle& handle, std::int64_t sourceByteLimit, std::string_view initialData, Parser& parser,
               const std::stop_token& cancellation) {
  LineSplitter<char> lines;
  const auto parse = [&](std::string_view line) { parser.parse(line); };
  stream(handle, sourceByteLimit, initialData, cancellation,
         [&](std::string_view bytes) { lines.split(parser.digested(bytes), parse); });
  lines.finish(parse);
}

/// Parses UTF-16 as `parseUTF8` parses UTF-8. An odd number of bytes is not a text.
void parseUTF16(FileHandle& handle, std::int64_t sourceByteLimit, std::string_view initialData, std::endian encoding,
                Parser& parser, const std::stop_token& cancellation) {
  UnitDecoder decoder(encoding);
  LineSplitter<char16_t> lines;
  const auto parse = [&](std::u16string_view line) { parser.parse(line); };
  stream(handle, sourceByteLimit, initialData, cancellation,
         [&](std::string_view bytes) { lines.split(decoder.decode(parser.digested(bytes)), parse); });
  if (decoder.isWithinUnit()) fail(ManifestReadError::Case::unsupportedEncoding);
  lines.finish(parse);
}

ManifestFileSnapshot manifestSnapshot(const std::filesystem::path& url) { return snapshotOfPath(url); }

/// Opens a regular file of a size that is allowed, and waits where its next change might not show yet.
std::pair<FileHandle, ManifestFileSnapshot> openRegularManifestForReading(const std::filesystem::path& url,
                                                                          const std::stop_token& cancellation) {
  const ManifestFileSnapshot initial = manifestSnapshot(url);
  if (!initial.isRegularFile) fail(ManifestReadError::Case::notRegularFile);
  if (initial.fileSize > maximumSourceSize) fail(ManifestReadError::Case::sourceFileTooLarge);
  FileHandle handle = FileHandle::open(url, O_RDONLY | O_NONBLOCK);
  if (handle.snapshot() != initial) fail(ManifestReadError::Case::fileChangedDuringRead);
  waitUntilChangesShow(initial, cancellation);
  return {std::move(handle), initial};
}

/// The next `count` bytes of a file, fewer when it ends before.
std::string readExactPrefix(FileHandle& handle, std::size_t count, const std::stop_token& cancellation) {
  std::string prefix(count, '\0');
  prefix.resize(HashService::readExactChunk(handle, std::as_writable_bytes(std::span(prefix)), cancellation));
  return prefix;
}

/// Fails unless the open file and what `url` leads to are both still the version `initial`.
void validateManifestUnchanged(const FileHandle& handle, const std::filesystem::path& url,
                               const ManifestFileSnapshot& initial) {
  try {
    if (handle.snapshot() == initial && manifestSnapshot(url) == initial) return;
  } catch (const std::system_error&) {
  }
  fail(ManifestReadError::Case::fileChangedDuringRead);
}

/// How much `bytes`, as UTF-16 in this order, look like a text. An odd last byte does not count.
std::int64_t utf16PlausibilityScore(std::string_view bytes, std::endian order) {
  std::int64_t score = 0;
  bool followsHighSurrogate = false;
  constexpr int lonelyHighSurrogate = -6;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const char16_t unit = unitOf(bytes[i], bytes[i + 1], order);
    if (unit == '\t' || unit == '\n' || unit == '\r') {
      score += 4;
    } else if (unit == 0) {
      score -= 8;
    } else if (unit >= 0x20 && unit <= 0x7E) {
      score += 5;
    } else if (unit <= 0x9F) {
      score -= 6;
    } else if (isLowSurrogate(unit)) {
      score += followsHighSurrogate ? 2 : -6;
    } else {
      score += 1 + (followsHighSurrogate ? lonelyHighSurrogate : 0);
    }
    followsHighSurrogate = isHighSurrogate(unit);
  }
  return score + (followsHighSurrogate ? lonelyHighSurrogate : 0);
}

ParseResult parsed(const std::filesystem::path& url, Parser& parser, const std::stop_token& cancellation) {
  HashService::checkCancellation(cancellation);
  auto [handle, initial] = openRegularManifestForReading(url, cancellation);
  const auto count = static_cast<std::size_t>(std::min(initial.fileSize, prefixSize));
  const std::string prefix = readExactPrefix(handle, count, cancellation);
  if (prefix.size() < count) fail(ManifestReadError::Case::fileChangedDuringRead);  // It tells no encoding.
  if (const auto encoding = detectUTF16Encoding(prefix)) {
    parseUTF16(handle, initial.fileSize, prefix, *encoding, parser, cancellation);
  } else {
    parseUTF8(handle, initial.fileSize, prefix, parser, cancellation);
  }
  if (HashService::hasContentWithoutSize(handle, initial)) fail(ManifestReadError::Case::fileChangedDuringRead);
  validateManifestUnchanged(handle, url, initial);
  return parser.takeResult();
}

}  // namespace

ParseResult load(const std::filesystem::path& url, const std::stop_token& cancellation) {
  Parser parser(algorithmHint(url), nullptr);
  return parsed(url, parser, cancellation);
}

ListReading readList(const std::filesystem::path& url, const ReadingChoice& choice,
                     const std::stop_token& cancellation) {
  SecondReading secondReading(url, choice);
  const auto preferred = choice.algorithm ? choice.algorithm : algorithmHint(url);
  Parser parser(preferred, &secondReading);
  ListReading reading = secondReading.finish(parsed(url, parser, cancellation));
  reading.digests = parser.takeDigests();
  return reading;
}

std::optional<std::endian> detectUTF16Encoding(std::string_view prefix) {
  using namespace std::string_view_literals;
  if (prefix.size() < 2) return std::nullopt;
  if (prefix.starts_with("\xFF\xFE"sv)) return std::endian::little;
  if (prefix.starts_with("\xFE\xFF"sv)) return std::endian::big;
  if (prefix.find('\0') == std::string_view::npos) return std::nullopt;
  const std::int64_t little = utf16PlausibilityScore(prefix, std::endian::little);
  const std::int64_t big = utf16PlausibilityScore(prefix, std::endian::big);
  constexpr std::int64_t clearly = 4;
  if (little >= big + clearly) return std::endian::little;
  if (big >= little + clearly) return std::endian::big;
  if (prefix[0] == '\0' && prefix[1] != '\0') return std::endian::big;
  if (prefix[0] != '\0' && prefix[1] == '\0') return std::endian::little;
  return std::nullopt;
}

ParseResult loadUTF8Streaming(FileHandle& handle, std::int64_t sourceByteLimit, std::string_view initialData,
                              std::optional<HashAlgorithm> preferredGNUAlgorithm, const std::stop_token& cancellation) {
  Parser parser(preferredGNUAlgorithm, nullptr);
  parseUTF8(handle, sourceByteLimit, initialData, parser, cancellation);
  return parser.takeResult();
}

}  // namespace ChecksumManifestService

}  // namespace tallyfold
