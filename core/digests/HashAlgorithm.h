#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tallyfold {

class HashAlgorithmSet;

/// One of the checksum algorithms. Their order here is the order of every list, loop and report. All else about them
/// stands in their rows of the catalogue (core/digests/Catalogue.cpp).
class HashAlgorithm {
 public:
  /// The last is none of them: it counts them.
  enum Case : std::uint8_t { md5, sha1, sha224, sha256, sha384, sha512, blake3, crc32, end };

  static constexpr std::size_t count = end;

  // Implicit, so that HashAlgorithm::sha256 is a HashAlgorithm wherever one is wanted.
  constexpr HashAlgorithm(Case value) : value_(value) {}
  constexpr operator Case() const { return value_; }

  static constexpr std::array<HashAlgorithm, count> allCases() {
    return []<std::size_t... values>(std::index_sequence<values...>) {
      return std::array<HashAlgorithm, count>{static_cast<Case>(values)...};
    }
    (std::make_index_sequence<count>());
  }

  /// BLAKE3 and SHA-256.
  static const HashAlgorithmSet recommended;
  /// MD5, SHA-1 and SHA-256.
  static const HashAlgorithmSet compatibility;

  /// The algorithms whose digests have so many hexadecimal characters.
  static HashAlgorithmSet withHexLength(std::size_t hexLength);

  /// The algorithms that the length of a digest does not tell apart, of each such length, the shortest first.
  static std::vector<HashAlgorithmSet> withSameHexLength();

  /// Display name and exported form, "SHA-256". The text lives as long as the program.
  [[nodiscard]] std::string_view rawValue() const;

  /// "Recommended", "Legacy", ...: what the algorithm is good for, in one or two words.
  [[nodiscard]] std::string_view classification() const;

  /// Length of the digest in hexadecimal characters.
  [[nodiscard]] std::size_t hexLength() const;

  /// What the lines of checksum lists usually call it, "SHA256".
  [[nodiscard]] std::string_view listName() const;

  /// What a list of its checksums is usually called, "SHA256SUMS", "B3SUMS".
  [[nodiscard]] std::string listFileName() const;

  /// The algorithm with exactly this raw value, case-sensitively, or none.
  static std::optional<HashAlgorithm> init(std::string_view rawValue);

  /// The algorithm that a checksum list means by `label` ("sha-256", "B3"), or none. White space is not trimmed.
  static std::optional<HashAlgorithm> manifestName(std::string_view label);

  /// The algorithms whose digest has as many digits as `text` after `normalizedHex`; empty when it is not a digest.
  /// Of several, the caller decides what the ambiguity means.
  static std::vector<HashAlgorithm> detect(std::string_view text);

 private:
  Case value_;
};

/// A selection of algorithms. Iteration is in catalogue order.
class HashAlgorithmSet {
  /// One bit for each algorithm.
  using Bits = std::conditional_t<HashAlgorithm::count <= 8, std::uint8_t,
                                  std::conditional_t<HashAlgorithm::count <= 16, std::uint16_t, std::uint64_t>>;
  static_assert(HashAlgorithm::count <= std::numeric_limits<Bits>::digits);

 public:
  class Iterator {
   public:
    using value_type = HashAlgorithm;
    using difference_type = std::ptrdiff_t;
    using reference = HashAlgorithm;
    using pointer = const HashAlgorithm*;
    using iterator_category = std::input_iterator_tag;

    constexpr explicit Iterator(Bits rest) : rest_(rest) {}
    constexpr HashAlgorithm operator*() const { return static_cast<HashAlgorithm::Case>(std::countr_zero(rest_)); }
    constexpr Iterator& operator++() {
      rest_ = static_cast<Bits>(rest_ & (rest_ - 1U));
      return *this;
    }
    constexpr bool operator==(const Iterator&) const = default;

   private:
    Bits rest_;
  };

  constexpr HashAlgorithmSet() = default;
  constexpr HashAlgorithmSet(std::initializer_list<HashAlgorithm> algorithms) {
    for (const HashAlgorithm algorithm : algorithms) insert(algorithm);
  }

  static constexpr HashAlgorithmSet all() {
    HashAlgorithmSet set;
    for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) set.insert(algorithm);
    return set;
  }

  constexpr void insert(HashAlgorithm algorithm) { bits_ = static_cast<Bits>(bits_ | bit(algorithm)); }
  constexpr void erase(HashAlgorithm algorithm) { bits_ = static_cast<Bits>(bits_ & ~bit(algorithm)); }
  [[nodiscard]] constexpr bool contains(HashAlgorithm algorithm) const { return (bits_ & bit(algorithm)) != 0; }
  [[nodiscard]] constexpr bool empty() const { return bits_ == 0; }
  [[nodiscard]] constexpr std::size_t size() const { return static_cast<std::size_t>(std::popcount(bits_)); }
  [[nodiscard]] constexpr Iterator begin() const { return Iterator(bits_); }
  [[nodiscard]] constexpr Iterator end() const { return Iterator(0); }
  constexpr bool operator==(const HashAlgorithmSet&) const = default;

 private:
  static constexpr std::uint64_t bit(HashAlgorithm algorithm) { return std::uint64_t{1} << algorithm; }

  Bits bits_ = 0;
};

/// Their names as a sentence lists them: "SHA-1", "SHA-1 and SHA-256", "MD5, SHA-1 and SHA-256", with `conjunction`
/// before the last.
std::string namesOf(HashAlgorithmSet algorithms, std::string_view conjunction);

}  // namespace tallyfold
