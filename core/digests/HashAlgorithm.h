#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

namespace tallyfold {

class HashAlgorithmSet;

/// One of the eight checksum algorithms. Its order here is the order of every list, loop and report.
class HashAlgorithm {
 public:
  enum Case : std::uint8_t { md5, sha1, sha224, sha256, sha384, sha512, blake3, crc32 };

  static constexpr std::size_t count = 8;

  // Implicit, so that HashAlgorithm::sha256 is a HashAlgorithm wherever one is wanted.
  constexpr HashAlgorithm(Case value) : value_(value) {}
  constexpr operator Case() const { return value_; }

  static constexpr std::array<HashAlgorithm, count> allCases() {
    return {md5, sha1, sha224, sha256, sha384, sha512, blake3, crc32};
  }

  /// BLAKE3 and SHA-256.
  static const HashAlgorithmSet recommended;
  /// MD5, SHA-1 and SHA-256.
  static const HashAlgorithmSet compatibility;

  /// Display name and exported form, "SHA-256". The text lives as long as the program.
  [[nodiscard]] std::string_view rawValue() const;

  /// "Recommended", "Legacy", ...: what the algorithm is good for, in one or two words.
  [[nodiscard]] std::string_view classification() const;

  /// Length of the digest in hexadecimal characters.
  [[nodiscard]] std::size_t hexLength() const;

  /// The algorithm with exactly this raw value, case-sensitively, or none.
  static std::optional<HashAlgorithm> init(std::string_view rawValue);

  /// The algorithm that a checksum list means by `label` ("sha-256", "B3"), or none. White space is not trimmed.
  static std::optional<HashAlgorithm> manifestName(std::string_view label);

  /// The algorithms whose digest has as many digits as `text` after `normalizedHex`; empty when it is not a digest.
  /// 64 digits give SHA-256 and BLAKE3, in this order: the caller decides what an ambiguity means.
  static std::vector<HashAlgorithm> detect(std::string_view text);

 private:
  Case value_;
};

/// A selection of algorithms. Iteration is in catalogue order.
class HashAlgorithmSet {
 public:
  class Iterator {
   public:
    using value_type = HashAlgorithm;
    using difference_type = std::ptrdiff_t;
    using reference = HashAlgorithm;
    using pointer = const HashAlgorithm*;
    using iterator_category = std::input_iterator_tag;

    constexpr explicit Iterator(std::uint8_t rest) : rest_(rest) {}
    constexpr HashAlgorithm operator*() const { return static_cast<HashAlgorithm::Case>(std::countr_zero(rest_)); }
    constexpr Iterator& operator++() {
      rest_ = static_cast<std::uint8_t>(rest_ & (rest_ - 1));
      return *this;
    }
    constexpr bool operator==(const Iterator&) const = default;

   private:
    std::uint8_t rest_;
  };

  constexpr HashAlgorithmSet() = default;
  constexpr HashAlgorithmSet(std::initializer_list<HashAlgorithm> algorithms) {
    for (const HashAlgorithm algorithm : algorithms) insert(algorithm);
  }

  static constexpr HashAlgorithmSet all() {
    HashAlgorithmSet set;
    set.bits_ = 0xFF;
    return set;
  }

  constexpr void insert(HashAlgorithm algorithm) { bits_ = static_cast<std::uint8_t>(bits_ | bit(algorithm)); }
  constexpr void erase(HashAlgorithm algorithm) { bits_ = static_cast<std::uint8_t>(bits_ & ~bit(algorithm)); }
  [[nodiscard]] constexpr bool contains(HashAlgorithm algorithm) const { return (bits_ & bit(algorithm)) != 0; }
  [[nodiscard]] constexpr bool empty() const { return bits_ == 0; }
  [[nodiscard]] constexpr std::size_t size() const { return static_cast<std::size_t>(std::popcount(bits_)); }
  [[nodiscard]] constexpr Iterator begin() const { return Iterator(bits_); }
  [[nodiscard]] constexpr Iterator end() const { return Iterator(0); }
  constexpr bool operator==(const HashAlgorithmSet&) const = default;

 private:
  static constexpr unsigned bit(HashAlgorithm algorithm) { return 1U << static_cast<unsigned>(algorithm); }

  std::uint8_t bits_ = 0;
};

inline constexpr HashAlgorithmSet HashAlgorithm::recommended{HashAlgorithm::sha256, HashAlgorithm::blake3};
inline constexpr HashAlgorithmSet HashAlgorithm::compatibility{HashAlgorithm::md5, HashAlgorithm::sha1,
                                                               HashAlgorithm::sha256};

}  // namespace tallyfold
