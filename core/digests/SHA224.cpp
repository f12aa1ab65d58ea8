#include "core/digests/SHA224.h"

#include <algorithm>

#include "core/base/HexEncoder.h"
#include "core/digests/sha224/Kernels.h"

namespace tallyfold {

namespace {

constexpr std::size_t kLengthSize = 8;

}  // namespace

void SHA224::update(std::span<const std::byte> bytes) {
  const sha224::Kernel& kernel = sha224::kernels.current();
  totalBytes_ += bytes.size();
  if (partialSize_ > 0) {
    const std::size_t taken = std::min(bytes.size(), blockSize - partialSize_);
    std::ranges::copy(bytes.first(taken), partial_.begin() + static_cast<std::ptrdiff_t>(partialSize_));
    partialSize_ += taken;
    bytes = bytes.subspan(taken);
    if (partialSize_ < blockSize) return;
    kernel.compress(state_.data(), partial_.data(), 1);
    partialSize_ = 0;
  }
  const std::size_t blocks = bytes.size() / blockSize;
  kernel.compress(state_.data(), bytes.data(), blocks);
  bytes = bytes.subspan(blocks * blockSize);
  std::ranges::copy(bytes, partial_.begin());
  partialSize_ = bytes.size();
}

std::string SHA224::finalize() const {
  SHA224 last = *this;
  const std::size_t used = (partialSize_ + 1 + kLengthSize) % blockSize;
  const std::size_t zeros = (blockSize - used) % blockSize;
  std::array<std::byte, 2 * blockSize> padding{std::byte{0x80}};
  const std::uint64_t bits = totalBytes_ * 8;
  for (std::size_t i = 0; i < kLengthSize; ++i) padding[1 + zeros + i] = static_cast<std::byte>(bits >> (56 - 8 * i));
  last.update(std::span(padding).first(1 + zeros + kLengthSize));

  std::string hex;
  for (std::size_t i = 0; i < 7; ++i) hex += HexEncoder::string(last.state_[i]);
  return hex;
}

}  // namespace tallyfold
