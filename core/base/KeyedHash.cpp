#include "core/base/KeyedHash.h"

#include <bit>

#include "core/base/SystemRandom.h"

namespace tallyfold {

namespace {

class State {
 public:
  explicit State(const std::array<std::uint64_t, 2>& key)
      : a_(key[0] ^ 0x736F'6D65'7073'6575),
        b_(key[1] ^ 0x646F'7261'6E64'6F6D),
        c_(key[0] ^ 0x6C79'6765'6E65'7261),
        d_(key[1] ^ 0x7465'6462'7974'6573) {}

  void absorb(std::uint64_t word) {
    d_ ^= word;
    rounds(2);
    a_ ^= word;
  }

  [[nodiscard]] std::uint64_t finish() {
    c_ ^= 0xFF;
    rounds(4);
    return a_ ^ b_ ^ c_ ^ d_;
  }

 private:
  void rounds(int count) {
    for (int i = 0; i < count; ++i) {
      a_ += b_;
      c_ += d_;
      b_ = std::rotl(b_, 13) ^ a_;
      d_ = std::rotl(d_, 16) ^ c_;
      a_ = std::rotl(a_, 32) + d_;
      c_ += b_;
      d_ = std::rotl(d_, 21) ^ a_;
      b_ = std::rotl(b_, 17) ^ c_;
      c_ = std::rotl(c_, 32);
    }
  }

  std::uint64_t a_, b_, c_, d_;
};

/// The bytes of a word, at most eight, from the lowest to the highest.
std::uint64_t wordOf(std::span<const std::byte> bytes) {
  std::uint64_t word = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) word = word << 8 | static_cast<std::uint64_t>(bytes[i]);
  return word;
}

std::array<std::uint64_t, 2> randomKey() {
  std::array<std::uint64_t, 2> key{};
  fillWithRandom(std::as_writable_bytes(std::span(key)));
  return key;
}

}  // namespace

std::uint64_t sipHash(const std::array<std::uint64_t, 2>& key, std::span<const std::byte> bytes) {
  constexpr std::size_t wordSize = 8;
  constexpr int lengthShift = 56;
  State state(key);
  const std::uint64_t length = std::uint64_t{bytes.size()} << lengthShift;
  for (; bytes.size() >= wordSize; bytes = bytes.subspan(wordSize)) state.absorb(wordOf(bytes.first<wordSize>()));
  state.absorb(wordOf(bytes) | length);
  return state.finish();
}

std::size_t KeyedHash::operator()(std::span<const std::byte> bytes) const {
  static const std::array<std::uint64_t, 2> key = randomKey();
  return static_cast<std::size_t>(sipHash(key, bytes));
}

}  // namespace tallyfold
