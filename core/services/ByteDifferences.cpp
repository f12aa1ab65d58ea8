#include "core/services/ByteDifferences.h"

#include <algorithm>
#include <cstring>

#include "core/services/differences/Kernels.h"

namespace tallyfold {

std::optional<std::size_t> firstDifference(std::span<const std::byte> a, std::span<const std::byte> b) {
  const std::size_t size = std::min(a.size(), b.size());
  std::size_t start = 0;
  for (const std::size_t step : {size, std::size_t{4096}, std::size_t{64}, std::size_t{1}}) {
    while (start < size && step <= size - start && std::memcmp(&a[start], &b[start], step) == 0) start += step;
  }
  return start < size ? std::optional(start) : std::nullopt;
}

void ByteDifferences::add(std::span<const std::byte> a, std::span<const std::byte> b) {
  if (a.empty()) return;
  // The byte before the first one is not here any more.
  const bool isFirstDifferent = a.front() != b.front();
  bytes_ += isFirstDifferent ? 1 : 0;
  runs_ += isFirstDifferent && !isInRun_ ? 1 : 0;
  isInRun_ = a.back() != b.back();

  constexpr std::size_t blockSize = 4096;
  const differences::Kernel& kernel = differences::kernels.current();
  std::optional<std::size_t> lastBlock;
  if (isFirstDifferent) lastBlock = 0;
  for (std::size_t start = 1; start < a.size(); start += blockSize) {
    const std::size_t size = std::min(blockSize, a.size() - start);
    if (std::memcmp(&a[start], &b[start], size) == 0) continue;
    const auto [bytes, runs] = kernel.count(&a[start], &b[start], size);
    bytes_ += bytes;
    runs_ += runs;
    lastBlock = start;
  }
  if (lastBlock) {
    std::size_t last = std::min(*lastBlock + blockSize, a.size()) - 1;
    while (a[last] == b[last]) --last;
    last_ = taken_ + static_cast<std::int64_t>(last);
  }
  taken_ += static_cast<std::int64_t>(a.size());
}

}  // namespace tallyfold
