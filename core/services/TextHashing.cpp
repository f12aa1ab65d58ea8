#include "core/services/TextHashing.h"

#include <algorithm>
#include <span>
#include <string>

#include "core/digests/HashPipeline.h"
#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::HashService {

namespace {

/// So many units are made UTF-8 and hashed at a time that all of it stays in the processor's own cache.
constexpr std::size_t kUnitsPerSlice = 32'768;
static_assert(3 * kUnitsPerSlice <= textSliceSize);

/// The start of `text`, which ends within no pair of surrogates.
std::u16string_view firstSlice(std::u16string_view text) {
  std::size_t size = std::min(text.size(), kUnitsPerSlice);
  if (size < text.size() && isHighSurrogate(text[size - 1]) && isLowSurrogate(text[size])) --size;
  return text.substr(0, size);
}

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
  std::string storage;
  std::int64_t byteCount = 0;
  while (!text.empty()) {
    const std::u16string_view slice = firstSlice(text);
    text.remove_prefix(slice.size());
    const std::string_view utf8 = utf8Of(slice, storage);
    checkCancellation(cancellation);
    pipeline.update(std::as_bytes(std::span(utf8)));
    byteCount += std::ssize(utf8);
  }
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
