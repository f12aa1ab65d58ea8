#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tallyfold {

/// SipHash-2-4 (Aumasson and Bernstein, "SipHash: a fast short-input PRF", 2012) of `bytes`. The key is two words, as
/// its sixteen bytes have them from the lowest to the highest.
std::uint64_t sipHash(const std::array<std::uint64_t, 2>& key, std::span<const std::byte> bytes);

/// For maps and sets whose keys outsiders choose: file names, lines of lists, the numbers of a file. The key is random
/// and of this process, so that nobody can choose many that meet. The first call fails with std::system_error where the
/// system has no randomness. Any thread.
struct KeyedHash {
  std::size_t operator()(std::span<const std::byte> bytes) const;
  std::size_t operator()(std::string_view text) const { return (*this)(std::as_bytes(std::span(text))); }
};

}  // namespace tallyfold
