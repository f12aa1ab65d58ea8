#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tallyfold {

/// Finds rows of a list by a hash of what they are found by. It keeps hashes and row numbers, each in one piece of
/// memory: to make 100,000 rows known, or to number them anew when one is gone, takes a millisecond or two.
class RowTable {
 public:
  /// The row with this hash for which `isIt(row)` holds.
  template <typename Predicate>
  [[nodiscard]] std::optional<std::size_t> find(std::size_t hash, Predicate isIt) const {
    if (slots_.empty()) return std::nullopt;
    for (std::size_t slot = hash & mask();; slot = (slot + 1) & mask()) {
      const std::uint32_t row = slots_[slot];
      if (row == none) return std::nullopt;
      if (hashes_[row] == hash && isIt(row)) return row;
    }
  }

  [[nodiscard]] std::size_t hashOf(std::size_t row) const { return hashes_[row]; }

  /// Makes room for so many rows in all.
  void reserve(std::size_t rows);
  /// The next row.
  void append(std::size_t hash);
  /// The rows behind it move up.
  void remove(std::size_t row);
  /// The rows for which `isGone`, a byte for each, is not 0.
  void remove(const std::vector<std::uint8_t>& isGone);

 private:
  static constexpr std::uint32_t none = UINT32_MAX;

  [[nodiscard]] std::size_t mask() const { return slots_.size() - 1; }
  void place(std::uint32_t row);
  void fill();

  std::vector<std::size_t> hashes_;   // Of each row.
  std::vector<std::uint32_t> slots_;  // Rows, each in the first free place from its hash on; a power of two of them.
};

}  // namespace tallyfold
