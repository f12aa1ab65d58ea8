#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tallyfold {

/// Where two byte ranges differ first, or none when the shorter one is the start of the longer one.
std::optional<std::size_t> firstDifference(std::span<const std::byte> a, std::span<const std::byte> b);

/// The differences of two sequences of the same length, which come piece by piece.
class ByteDifferences {
 public:
  /// Takes the next bytes of both: as many of the one as of the other.
  void add(std::span<const std::byte> a, std::span<const std::byte> b);

  /// Bytes that differ.
  [[nodiscard]] std::int64_t bytes() const { return bytes_; }
  /// Runs of bytes that differ, each as long as it can be.
  [[nodiscard]] std::int64_t runs() const { return runs_; }
  /// The last byte that differs, counted from 0 at the first byte of the first piece; -1 when none does.
  [[nodiscard]] std::int64_t last() const { return last_; }

 private:
  std::int64_t taken_ = 0;
  std::int64_t bytes_ = 0;
  std::int64_t runs_ = 0;
  std::int64_t last_ = -1;
  bool isInRun_ = false;  // The last byte taken differs.
};

}  // namespace tallyfold
