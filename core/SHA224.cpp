#include "core/SHA224.h"

#include <algorithm>
#include <bit>

#include "core/HexEncoder.h"

namespace tallyfold {

namespace {

// FIPS 180-4, section 4.2.2.
constexpr std::array<std::uint32_t, 64> kRoundConstants{
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::size_t kWordSize = 4;
constexpr std::size_t kLengthSize = 8;

std::uint32_t bigEndianWord(std::span<const std::byte> bytes) {
  std::uint32_t word = 0;
  for (const std::byte byte : bytes) word = (word << 8) | std::to_integer<std::uint32_t>(byte);
  return word;
}

}  // namespace

void SHA224::update(std::span<const std::byte> bytes) {
  totalBytes_ += bytes.size();
  if (partialSize_ > 0) {
    const std::size_t taken = std::min(bytes.size(), blockSize - partialSize_);
    std::ranges::copy(bytes.first(taken), partial_.begin() + static_cast<std::ptrdiff_t>(partialSize_));
    partialSize_ += taken;
    bytes = bytes.subspan(taken);
    if (partialSize_ < blockSize) return;
    processBlock(partial_);
    partialSize_ = 0;
  }
  for (; bytes.size() >= blockSize; bytes = bytes.subspan(blockSize)) processBlock(bytes.first<blockSize>());
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

// FIPS 180-4, section 6.2.2, in the names of the standard.
void SHA224::processBlock(std::span<const std::byte, blockSize> block) {
  auto& w = words_;
  for (std::size_t t = 0; t < 16; ++t) w[t] = bigEndianWord(block.subspan(t * kWordSize, kWordSize));
  for (std::size_t t = 16; t < 64; ++t) {
    const std::uint32_t sigma0 = std::rotr(w[t - 15], 7) ^ std::rotr(w[t - 15], 18) ^ (w[t - 15] >> 3);
    const std::uint32_t sigma1 = std::rotr(w[t - 2], 17) ^ std::rotr(w[t - 2], 19) ^ (w[t - 2] >> 10);
    w[t] = sigma1 + w[t - 7] + sigma0 + w[t - 16];
  }

  auto [a, b, c, d, e, f, g, h] = state_;
  for (std::size_t t = 0; t < 64; ++t) {
    const std::uint32_t sum1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
    const std::uint32_t choice = (e & f) ^ (~e & g);
    const std::uint32_t t1 = h + sum1 + choice + kRoundConstants[t] + w[t];
    const std::uint32_t sum0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
    const std::uint32_t majority = (a & b) ^ (a & c) ^ (b & c);
    const std::uint32_t t2 = sum0 + majority;
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const std::array<std::uint32_t, 8> worked{a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < state_.size(); ++i) state_[i] += worked[i];
}

}  // namespace tallyfold
