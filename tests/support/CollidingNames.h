#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace tallyfold::test {

/// 2^bits names, `prefix` and then letters and digits, that all have one hash by std::hash of GCC's library. That is
/// MurmurHash64A with a known seed: the function that mixes a block of eight bytes can be undone, so that for the first
/// of two blocks there is a second one that leads to any state. `prefix` is of whole blocks.
inline std::vector<std::string> collidingNames(const std::string& prefix, int bits) {
  constexpr std::uint64_t factor = 0xC6A4'A793'5BD1'E995;
  constexpr std::uint64_t seed = 0xC70F'6907;
  constexpr int shift = 47;
  constexpr std::size_t blockSize = 8;
  std::uint64_t inverse = factor;  // Of `factor`, by Newton's method.
  for (int i = 0; i < 6; ++i) inverse *= 2 - factor * inverse;
  const auto mixed = [&](const std::string& block) {
    std::uint64_t word = 0;
    std::memcpy(&word, block.data(), blockSize);
    word *= factor;
    return (word ^ (word >> shift)) * factor;
  };
  const auto unmixed = [&](std::uint64_t word) {
    word *= inverse;
    word = (word ^ (word >> shift)) * inverse;
    std::string block(blockSize, '\0');
    std::memcpy(block.data(), &word, blockSize);
    return block;
  };
  const std::string letters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  std::mt19937 random(1);
  const auto newBlock = [&] {
    std::string block(blockSize, '\0');
    for (char& byte : block) byte = letters[random() % letters.size()];
    return block;
  };

  std::uint64_t state = seed ^ (prefix.size() + 2 * blockSize * static_cast<std::size_t>(bits)) * factor;
  for (std::size_t i = 0; i < prefix.size(); i += blockSize) state = (state ^ mixed(prefix.substr(i))) * factor;
  std::vector<std::string> names{prefix};
  for (int i = 0; i < bits; ++i) {
    const std::string first = newBlock();
    const std::string second = newBlock();
    const std::uint64_t between = (state ^ mixed(first)) * factor;
    std::string otherFirst;
    std::string otherSecond;
    do {
      otherFirst = newBlock();
      otherSecond = unmixed((state ^ mixed(otherFirst)) * factor ^ between ^ mixed(second));
    } while (otherSecond.find_first_not_of(letters) != std::string::npos);
    state = (between ^ mixed(second)) * factor;
    std::vector<std::string> longer;
    for (const std::string& name : names) {
      for (const std::string& ending : {first + second, otherFirst + otherSecond}) longer.push_back(name + ending);
    }
    names = std::move(longer);
  }
  return names;
}

}  // namespace tallyfold::test
