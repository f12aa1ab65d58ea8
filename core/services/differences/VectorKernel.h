#pragma once

#include <cstring>

#include "core/services/differences/Kernels.h"

namespace tallyfold::differences {

namespace {

/// The kernel with vectors of so many bytes. Each source that includes it has its own, for its own processors.
template <std::size_t vectorSize>
struct VectorKernel {
  using Bytes [[gnu::vector_size(vectorSize)]] = std::uint8_t;

  /// 255 in each place where the bytes are equal.
  [[gnu::always_inline]] static inline Bytes equal(const std::byte* a, const std::byte* b) {
    Bytes left;
    Bytes right;
    std::memcpy(&left, a, sizeof left);
    std::memcpy(&right, b, sizeof right);
    return reinterpret_cast<Bytes>(left == right);
  }

  [[gnu::always_inline]] static inline std::int64_t sumOf(const Bytes& places) {
    std::uint8_t numbers[vectorSize];
    std::memcpy(numbers, &places, sizeof numbers);
    unsigned sum = 0;
    for (const std::uint8_t number : numbers) sum += number;
    return sum;
  }

  static Counts count(const std::byte* a, const std::byte* b, std::size_t size) {
    constexpr std::size_t groupSize = 128 * vectorSize;  // No place of a vector counts beyond 255.
    Counts counts;
    std::size_t i = 0;
    while (size - i >= vectorSize) {
      const std::size_t rest = (size - i) / vectorSize * vectorSize;
      const std::size_t end = i + (rest < groupSize ? rest : groupSize);
      counts.bytes += static_cast<std::int64_t>(end - i);
      Bytes equals{};
      Bytes starts{};
      for (; i < end; i += vectorSize) {
        const Bytes here = equal(a + i, b + i);
        equals -= here;
        starts -= equal(a + i - 1, b + i - 1) & ~here;
      }
      counts.bytes -= sumOf(equals);
      counts.runs += sumOf(starts);
    }
    for (; i < size; ++i) {
      if (a[i] == b[i]) continue;
      ++counts.bytes;
      counts.runs += a[i - 1] == b[i - 1] ? 1 : 0;
    }
    return counts;
  }
};

}  // namespace

}  // namespace tallyfold::differences
