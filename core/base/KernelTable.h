#pragma once

#include <atomic>
#include <span>
#include <vector>

#include "core/base/Processor.h"

namespace tallyfold {

/// The implementations of one routine. A `Row` has a `name`, the `features` that it needs, and functions; all rows give
/// the same output for the same input. The first row is the portable reference; each is faster than those before it.
/// Any thread may ask for the current row.
template <typename Row>
class KernelTable {
 public:
  /// `rows` is not empty and, like the rows, lives as long as the process. The first row needs no features.
  constexpr explicit KernelTable(std::span<const Row* const> rows) : rows_(rows) {}

  /// The rows that this processor can run, in the table's order.
  [[nodiscard]] std::vector<const Row*> supported() const {
    std::vector<const Row*> found;
    for (const Row* const row : rows_) {
      if (isSupported(*row)) found.push_back(row);
    }
    return found;
  }

  /// The fastest row that this processor can run, unless a test has pinned another.
  [[nodiscard]] const Row& current() const {
    const Row* row = current_.load(std::memory_order_relaxed);
    if (row == nullptr) {
      row = fastest();
      current_.store(row, std::memory_order_relaxed);
    }
    return *row;
  }

  /// Makes a supported row the current one for the whole process; the fastest one for null.
  void pin(const Row* row) { current_.store(row, std::memory_order_relaxed); }

 private:
  static bool isSupported(const Row& row) { return (row.features & ~processorFeatures()) == 0; }

  [[nodiscard]] const Row* fastest() const {
    const Row* best = rows_.front();
    for (const Row* const row : rows_) {
      if (isSupported(*row)) best = row;
    }
    return best;
  }

  std::span<const Row* const> rows_;
  mutable std::atomic<const Row*> current_ = nullptr;
};

}  // namespace tallyfold
