#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/blake3/Blake3.h"
#include "core/blake3/Constants.h"

namespace tallyfold::blake3 {

using ChainingValue = std::array<std::uint32_t, kChainingWords>;

/// Bytes below a subtree that is made apart from the rest: few enough for a second-level cache.
inline constexpr std::size_t kSubtreeSize = 128 << 10;

/// The chaining value above the bytes from `number * kSubtreeSize` on of an input that is longer than that. Any thread.
ChainingValue subtree(const std::uint8_t* data, std::uint64_t number);

/// Absorbs the next kSubtreeSize bytes, by their chaining value. Nothing but subtrees was absorbed before, and there is
/// more input to come.
void absorbSubtree(tf_blake3& context, ChainingValue chainingValue);

}  // namespace tallyfold::blake3
