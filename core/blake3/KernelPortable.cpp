#include <algorithm>
#include <bit>
#include <utility>

#include "core/blake3/Blake3.h"
#include "core/blake3/Constants.h"
#include "core/blake3/Kernels.h"

namespace tallyfold::blake3 {

namespace {

/// The quarter-round "G": mixes two message words into one column or diagonal of the state.
inline void mix(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c, std::uint32_t& d, std::uint32_t x,
                std::uint32_t y) {
  a = a + b + x;
  d = std::rotr(d ^ a, 16);
  c = c + d;
  b = std::rotr(b ^ c, 12);
  a = a + b + y;
  d = std::rotr(d ^ a, 8);
  c = c + d;
  b = std::rotr(b ^ c, 7);
}

template <std::size_t round>
inline void mixRound(std::array<std::uint32_t, 16>& v, const std::uint32_t* m) {
  constexpr auto& s = kSchedule[round];
  mix(v[0], v[4], v[8], v[12], m[s[0]], m[s[1]]);
  mix(v[1], v[5], v[9], v[13], m[s[2]], m[s[3]]);
  mix(v[2], v[6], v[10], v[14], m[s[4]], m[s[5]]);
  mix(v[3], v[7], v[11], v[15], m[s[6]], m[s[7]]);
  mix(v[0], v[5], v[10], v[15], m[s[8]], m[s[9]]);
  mix(v[1], v[6], v[11], v[12], m[s[10]], m[s[11]]);
  mix(v[2], v[7], v[8], v[13], m[s[12]], m[s[13]]);
  mix(v[3], v[4], v[9], v[14], m[s[14]], m[s[15]]);
}

// Rounds are unrolled by the template so that every index of the schedule is a constant.
template <std::size_t... round>
inline void mixRounds(std::array<std::uint32_t, 16>& v, const std::uint32_t* m, std::index_sequence<round...>) {
  (mixRound<round>(v, m), ...);
}

void compress(const std::uint32_t* chainingValue, const std::uint32_t* message, std::uint64_t counter,
              std::uint32_t blockLength, std::uint32_t flags, std::uint32_t* output) {
  std::array<std::uint32_t, 16> all;
  tf_b3_compress(chainingValue, message, counter, blockLength, flags, all.data());
  std::copy_n(all.begin(), kChainingWords, output);
}

void absorb(std::uint32_t* chainingValue, const std::uint8_t* blocks, std::size_t count, std::uint64_t counter,
            std::uint32_t flags) {
  for (; count > 0; --count, blocks += kBlockSize) {
    compress(chainingValue, littleEndianWords(blocks).data(), counter, kBlockSize, flags, chainingValue);
  }
}

void chunks(const std::uint8_t* input, std::size_t count, std::uint64_t counter, std::uint32_t* output,
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

void parents(const std::uint32_t* children, std::size_t count, std::uint32_t* output) {
  for (; count > 0; --count, children += 2 * kChainingWords, output += kChainingWords) {
    compress(kIV.data(), children, 0, kBlockSize, kParent, output);
  }
}

}  // namespace

const Kernel kernelPortable{"portable", 0, compress, absorb, chunks, parents};

}  // namespace tallyfold::blake3

void tf_b3_compress(const std::uint32_t* chaining_value, const std::uint32_t* message, std::uint64_t counter,
                    std::uint32_t block_length, std::uint32_t flags, std::uint32_t* output) {
  using namespace tallyfold::blake3;
  const std::uint32_t* const cv = chaining_value;
  std::array<std::uint32_t, 16> v{cv[0],
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
                                  block_length,
                                  flags};
  mixRounds(v, message, std::make_index_sequence<kRounds>());
  for (std::size_t i = 0; i < 8; ++i) {
    output[i + 8] = v[i + 8] ^ cv[i];
    output[i] = v[i] ^ v[i + 8];
  }
}
