#pragma once

#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <string_view>

#include "core/digests/DigestMap.h"
#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// The digests of one text.
struct TextHashComputation {
  DigestMap hashes;                ///< Exactly the selected algorithms.
  std::int64_t utf8ByteCount = 0;  ///< Bytes hashed: the length of the text in UTF-8.

  bool operator==(const TextHashComputation&) const = default;
};

namespace HashService {

/// Bytes of text hashed, and at most held, between two looks at the cancellation.
inline constexpr std::size_t textSliceSize = 1'048'576;

/// Calculates all `algorithms` in one pass over a text in UTF-8, where it is, as it is, well-formed or not: nothing is
/// trimmed, normalised or added, and line breaks stay as they are. Fails with HashServiceError::Case::noAlgorithms, as
/// creating a HashPipeline does, or with CancellationError; there is never a partial result.
TextHashComputation hashTextCancellableWithByteCount(std::string_view text, HashAlgorithmSet algorithms,
                                                     const std::stop_token& cancellation);

/// Calculates all `algorithms` over the UTF-8 of a text in UTF-16, which passes through one buffer of at most a slice.
/// A surrogate without its partner has no UTF-8: it is hashed as U+FFFD, the replacement character, as the toolkit
/// itself writes it to a file. Failures are those of hashing UTF-8.
TextHashComputation hashTextCancellableWithByteCount(std::u16string_view text, HashAlgorithmSet algorithms,
                                                     const std::stop_token& cancellation);

/// How many bytes a text in UTF-16 has in UTF-8, without hashing them: quick enough for every key that is typed.
std::int64_t utf8ByteCount(std::u16string_view text);

}  // namespace HashService

}  // namespace tallyfold
