#include "core/services/TextHashing.h"

#include <algorithm>
#include <memory>
#include <span>

#include "core/digests/HashPipeline.h"
#include "core/services/HashService.h"

namespace tallyfold::HashService {

namespace {

constexpr bool isHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool isLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// The character at `position`, which moves behind it.
char32_t nextCharacter(std::u16string_view text, std::size_t& position) {
  const char16_t unit = text[position++];
  if (!isHighSurrogate(unit) && !isLowSurrogate(unit)) return unit;
  const bool isPair = isHighSurrogate(unit) && position < text.size() && isLowSurrogate(text[position]);
  if (!isPair) return U'\uFFFD';
  return 0x10000U + ((unit & 0x3FFU) << 10) + (text[position++] & 0x3FFU);
}

/// Makes UTF-8 of UTF-16 and feeds it to a pipeline, in slices that may end within a character.
class Transcoder {
 public:
  Transcoder(HashPipeline& pipeline, const std::stop_token& cancellation, std::size_t capacity)
      : pipeline_(pipeline),
        cancellation_(cancellation),
        capacity_(capacity),
        slice_(std::make_unique_for_overwrite<std::byte[]>(capacity)) {}

  /// Takes all of a text and returns how many bytes it had.
  std::int64_t absorb(std::u16string_view text) {
    for (std::size_t position = 0; position < text.size();) {
      position += absorbASCII(text.substr(position));
      if (position < text.size()) absorb(nextCharacter(text, position));
    }
    flush();
    return byteCount_;
  }

 private:
  /// Takes the ASCII at the start of `text`, no more than there is room for, and returns how much that was.
  std::size_t absorbASCII(std::u16string_view text) {
    const std::size_t most = std::min(text.size(), capacity_ - filled_);
    std::byte* const end = slice_.get() + filled_;
    std::size_t count = 0;
    for (; count < most && text[count] < 0x80; ++count) end[count] = static_cast<std::byte>(text[count]);
    filled_ += count;
    if (filled_ == capacity_) flush();
    return count;
  }

  void absorb(char32_t character) {
    if (character < 0x80) return put(character);
    if (character < 0x800) {
      put(0xC0 | character >> 6);
    } else if (character < 0x10000) {
      put(0xE0 | character >> 12);
      put(0x80 | (character >> 6 & 0x3F));
    } else {
      put(0xF0 | character >> 18);
      put(0x80 | (character >> 12 & 0x3F));
      put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
  }

  void put(char32_t byte) {
    slice_[filled_++] = static_cast<std::byte>(byte);
    if (filled_ == capacity_) flush();
  }

  void flush() {
    checkCancellation(cancellation_);
    pipeline_.update(std::span(slice_.get(), filled_));
    byteCount_ += static_cast<std::int64_t>(filled_);
    filled_ = 0;
  }

  HashPipeline& pipeline_;
  const std::stop_token& cancellation_;
  std::size_t capacity_;
  std::unique_ptr<std::byte[]> slice_;
  std::size_t filled_ = 0;
  std::int64_t byteCount_ = 0;
};

}  // namespace

TextHashComputation hashTextCancellableWithByteCount(std::string_view text, HashAlgorithmSet algorithms,
                                                     const std::stop_token& cancellation) {
  checkCancellation(cancellation);
  HashPipeline pipeline(algorithms);
  for (auto rest = std::as_bytes(std::span(text)); !rest.empty();) {
    checkCancellation(cancellation);
    const auto slice = rest.first(std::min(rest.size(), textSliceSize));
    pipeline.update(slice);
    rest = rest.subspan(slice.size());
  }
  checkCancellation(cancellation);
  return {.hashes = pipeline.finalize(), .utf8ByteCount = static_cast<std::int64_t>(text.size())};
}

TextHashComputation hashTextCancellableWithByteCount(std::u16string_view text, HashAlgorithmSet algorithms,
                                                     const std::stop_token& cancellation) {
  checkCancellation(cancellation);
  HashPipeline pipeline(algorithms);
  constexpr std::size_t mostBytesPerUnit = 3;
  const std::size_t capacity = std::min(std::min(text.size(), textSliceSize) * mostBytesPerUnit, textSliceSize);
  const std::int64_t byteCount = Transcoder(pipeline, cancellation, capacity).absorb(text);
  checkCancellation(cancellation);
  return {.hashes = pipeline.finalize(), .utf8ByteCount = byteCount};
}

std::int64_t utf8ByteCount(std::u16string_view text) {
  // Blocks without branches, whose sums fit 16 bits: that is what compilers make vector code of.
  constexpr std::size_t blockSize = 16'384;
  auto count = static_cast<std::int64_t>(text.size());
  for (std::size_t start = 0; start < text.size(); start += blockSize) {
    std::uint16_t furtherBytes = 0;
    for (const char16_t unit : text.substr(start, blockSize)) {
      furtherBytes = static_cast<std::uint16_t>(furtherBytes + (unit >= 0x80) + (unit >= 0x800));
    }
    // A pair is four bytes and was counted as twice three.
    std::uint16_t pairs = 0;
    const std::u16string_view withNext = text.substr(start, blockSize + 1);
    for (std::size_t i = 1; i < withNext.size(); ++i) {
      pairs =
          static_cast<std::uint16_t>(pairs + int{isHighSurrogate(withNext[i - 1])} * int{isLowSurrogate(withNext[i])});
    }
    count += furtherBytes - 2 * pairs;
  }
  return count;
}

}  // namespace tallyfold::HashService
