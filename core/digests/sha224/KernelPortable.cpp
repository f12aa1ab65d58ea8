#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include "core/digests/sha224/Constants.h"
#include "core/digests/sha224/Kernels.h"

namespace tallyfold::sha224 {

namespace {

using State = std::array<std::uint32_t, 8>;
using Words = std::array<std::uint32_t, 16>;

std::uint32_t bigEndianWord(const std::byte* bytes) {
  const auto byte = [&](std::size_t i) { return std::to_integer<std::uint32_t>(bytes[i]); };
  return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

/// Word t of the message schedule takes the place of word t - 16, which is not needed any more.
template <std::size_t t>
inline std::uint32_t scheduledWord(Words& w) {
  if constexpr (t >= 16) {
    const std::uint32_t w15 = w[(t - 15) % 16];
    const std::uint32_t w2 = w[(t - 2) % 16];
    const std::uint32_t sigma0 = std::rotr(w15, 7) ^ std::rotr(w15, 18) ^ (w15 >> 3);
    const std::uint32_t sigma1 = std::rotr(w2, 17) ^ std::rotr(w2, 19) ^ (w2 >> 10);
    w[t % 16] += sigma1 + w[(t - 7) % 16] + sigma0;
  }
  return w[t % 16];
}

/// Round t, in the names of the standard. The working variables stay where they are and change their names instead, so
/// that nothing is moved: `a` is v[0] in round 0, v[7] in round 1, v[6] in round 2.
template <std::size_t t>
inline void mixRound(State& v, Words& words) {
  const std::uint32_t a = v[(64 - t) % 8], b = v[(65 - t) % 8], c = v[(66 - t) % 8];
  const std::uint32_t e = v[(68 - t) % 8], f = v[(69 - t) % 8], g = v[(70 - t) % 8];
  std::uint32_t& d = v[(67 - t) % 8];
  std::uint32_t& h = v[(71 - t) % 8];
  const std::uint32_t sum1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
  const std::uint32_t choice = g ^ (e & (f ^ g));
  const std::uint32_t t1 = h + sum1 + choice + kRoundConstants[t] + scheduledWord<t>(words);
  const std::uint32_t sum0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
  const std::uint32_t majority = (a & b) + (c & (a ^ b));  // No bit is in both.
  d += t1;
  h = t1 + sum0 + majority;
}

template <std::size_t... t>
inline void mixRounds(State& v, Words& words, std::index_sequence<t...>) {
  (mixRound<t>(v, words), ...);
}

void compress(std::uint32_t* state, const std::byte* blocks, std::size_t count) {
  for (; count > 0; --count, blocks += kBlockSize) {
    Words words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = bigEndianWord(blocks + 4 * i);
    State worked;
    std::copy_n(state, worked.size(), worked.begin());
    mixRounds(worked, words, std::make_index_sequence<64>());
    for (std::size_t i = 0; i < worked.size(); ++i) state[i] += worked[i];
  }
}

}  // namespace

const Kernel kernelPortable{"portable", 0, compress};

}  // namespace tallyfold::sha224
