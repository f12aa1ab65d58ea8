#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "core/blake3/Blake3.h"
#include "core/blake3/Constants.h"
#include "core/blake3/Kernels.h"
#include "core/blake3/SingleMessage.h"

namespace tallyfold::blake3 {

namespace {

/// Sixteen words, read each time that a round wants one: copied first, they would only have to be read from elsewhere.
template <std::endian order>
class Message {
 public:
  explicit Message(const void* words) : words_(static_cast<const std::uint8_t*>(words)) {}

  [[gnu::always_inline]] std::uint32_t operator[](std::size_t i) const {
    std::uint32_t word = 0;
    std::memcpy(&word, words_ + 4 * i, sizeof word);
    if constexpr (order != std::endian::native) word = __builtin_bswap32(word);
    return word;
  }

 private:
  const std::uint8_t* words_;
};

using Block = Message<std::endian::little>;
using Words = Message<std::endian::native>;

/// The quarter-round "G": mixes two message words into one column or diagonal of the state.
template <std::size_t x, std::size_t y, std::endian order>
[[gnu::always_inline]] inline void mix(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c, std::uint32_t& d,
                                       const Message<order>& m) {
  a = a + m[x] + b;
  d = std::rotr(d ^ a, 16);
  c = c + d;
  b = std::rotr(b ^ c, 12);
  a = a + m[y] + b;
  d = std::rotr(d ^ a, 8);
  c = c + d;
  b = std::rotr(b ^ c, 7);
}

template <std::size_t round, std::endian order>
[[gnu::always_inline]] inline void mixRound(std::uint32_t* v, const Message<order>& m) {
  constexpr auto& s = kSchedule[round];
  mix<s[0], s[1]>(v[0], v[4], v[8], v[12], m);
  mix<s[2], s[3]>(v[1], v[5], v[9], v[13], m);
  mix<s[4], s[5]>(v[2], v[6], v[10], v[14], m);
  mix<s[6], s[7]>(v[3], v[7], v[11], v[15], m);
  mix<s[8], s[9]>(v[0], v[5], v[10], v[15], m);
  mix<s[10], s[11]>(v[1], v[6], v[11], v[12], m);
  mix<s[12], s[13]>(v[2], v[7], v[8], v[13], m);
  mix<s[14], s[15]>(v[3], v[4], v[9], v[14], m);
  // Keeps the compiler from holding on to message words, whose registers the state needs.
  __asm__ volatile("" : : : "memory");
}

/// Hands `finish` the words of the state as the rounds leave them. Returned, they would be in memory all the time.
template <std::endian order, typename Finish>
[[gnu::always_inline]] inline void mixAll(const std::uint32_t* cv, const Message<order>& message, std::uint64_t counter,
                                          std::uint32_t blockLength, std::uint32_t flags, const Finish& finish) {
  std::uint32_t v[16]{cv[0],
                      cv[1],
                      cv[2],
                      cv[3],
                      cv[4],
                      cv[5],
                      cv[6],
                      cv[7],
                      kIV[0],
                      kIV[1],
                      kIV[2],
                      kIV[3],
                      static_cast<std::uint32_t>(counter),
                      static_cast<std::uint32_t>(counter >> 32),
                      blockLength,
                      flags};
  static_assert(kRounds == 7);
  mixRound<0>(v, message);
  mixRound<1>(v, message);
  mixRound<2>(v, message);
  mixRound<3>(v, message);
  mixRound<4>(v, message);
  mixRound<5>(v, message);
  mixRound<6>(v, message);
  finish(v);
}

template <std::endian order>
[[gnu::always_inline]] inline void nextChainingValue(const std::uint32_t* chainingValue, const Message<order>& message,
                                                     std::uint64_t counter, std::uint32_t blockLength,
                                                     std::uint32_t flags, std::uint32_t* output) {
  mixAll(chainingValue, message, counter, blockLength, flags, [&](const std::uint32_t* v) {
    for (std::size_t i = 0; i < kChainingWords; ++i) output[i] = v[i] ^ v[i + 8];
  });
}

}  // namespace

void single::compress(const std::uint32_t* chainingValue, const std::uint32_t* message, std::uint64_t counter,
                      std::uint32_t blockLength, std::uint32_t flags, std::uint32_t* output) {
  nextChainingValue(chainingValue, Words(message), counter, blockLength, flags, output);
}

void single::absorb(std::uint32_t* chainingValue, const std::uint8_t* blocks, std::size_t count, std::uint64_t counter,
                    std::uint32_t flags) {
  for (; count > 0; --count, blocks += kBlockSize) {
    nextChainingValue(chainingValue, Block(blocks), counter, kBlockSize, flags, chainingValue);
  }
}

void single::chunks(const std::uint8_t* input, std::size_t count, std::uint64_t counter, std::uint32_t* output,
                    std::uint32_t* unfinished) {
  constexpr std::size_t inner = kChunkSize / kBlockSize - 2;
  for (; count > 0; --count, input += kChunkSize, ++counter, output += kChainingWords) {
    std::ranges::copy(kIV, output);
    absorb(output, input, 1, counter, kChunkStart);
    absorb(output, input + kBlockSize, inner, counter, 0);
    if (count == 1 && unfinished != nullptr) std::copy_n(output, kChainingWords, unfinished);
    absorb(output, input + kChunkSize - kBlockSize, 1, counter, kChunkEnd);
  }
}

void single::parents(const std::uint32_t* children, std::size_t count, std::uint32_t* output) {
  for (; count > 0; --count, children += 2 * kChainingWords, output += kChainingWords) {
    compress(kIV.data(), children, 0, kBlockSize, kParent, output);
  }
}

const Kernel kernelPortable{"portable", 0, single::compress, single::absorb, single::chunks, single::parents};

}  // namespace tallyfold::blake3

void tf_b3_compress(const std::uint32_t* chaining_value, const std::uint32_t* message, std::uint64_t counter,
                    std::uint32_t block_length, std::uint32_t flags, std::uint32_t* output) {
  using namespace tallyfold::blake3;
  mixAll(chaining_value, Words(message), counter, block_length, flags, [&](const std::uint32_t* v) {
    for (std::size_t i = 0; i < kChainingWords; ++i) {
      output[i + 8] = v[i + 8] ^ chaining_value[i];
      output[i] = v[i] ^ v[i + 8];
    }
  });
}
