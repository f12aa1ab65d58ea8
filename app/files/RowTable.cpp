#include "app/files/RowTable.h"

#include <algorithm>
#include <bit>

namespace tallyfold {

void RowTable::reserve(std::size_t rows) {
  // At most half of the places are taken, so that the next free one is near.
  if (2 * rows <= slots_.size()) return;
  hashes_.reserve(rows);
  slots_.resize(std::bit_ceil(2 * rows));
  fill();
}

void RowTable::append(std::size_t hash) {
  const std::size_t row = hashes_.size();
  if (2 * (row + 1) > slots_.size()) reserve(std::max<std::size_t>(2 * row, 8));
  hashes_.push_back(hash);
  place(static_cast<std::uint32_t>(row));
}

void RowTable::remove(std::size_t row) {
  hashes_.erase(hashes_.begin() + static_cast<std::ptrdiff_t>(row));
  fill();
}

void RowTable::remove(const std::vector<std::uint8_t>& isGone) {
  std::size_t left = 0;
  for (std::size_t row = 0; row < hashes_.size(); ++row) {
    if (isGone[row] == 0) hashes_[left++] = hashes_[row];
  }
  hashes_.resize(left);
  fill();
}

void RowTable::place(std::uint32_t row) {
  std::size_t slot = hashes_[row] & mask();
  while (slots_[slot] != none) slot = (slot + 1) & mask();
  slots_[slot] = row;
}

void RowTable::fill() {
  std::ranges::fill(slots_, none);
  for (std::size_t row = 0; row < hashes_.size(); ++row) place(static_cast<std::uint32_t>(row));
}

}  // namespace tallyfold
