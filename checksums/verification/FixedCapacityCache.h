#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tallyfold {

/// A map that forgets the oldest insertion when it is full. Looking up does not make a value younger, nor does
/// replacing it. Not thread-safe.
template <typename Key, typename Value>
class FixedCapacityCache {
 public:
  /// `capacity` is at least 1.
  explicit FixedCapacityCache(std::int64_t capacity) : capacity_(capacity), ring_(static_cast<std::size_t>(capacity)) {
    values_.reserve(ring_.size());
  }

  /// The value, or null. Valid until it is replaced, removed or forgotten.
  [[nodiscard]] Value* find(const Key& key) {
    const auto found = values_.find(key);
    return found != values_.end() ? &found->second.value : nullptr;
  }

  void insert(Value value, const Key& key) {
    if (Value* const stored = find(key)) {
      *stored = std::move(value);
      return;
    }
    std::optional<Key>& slot = ring_[next_];
    if (slot) values_.erase(*slot);
    values_.emplace(key, Item{std::move(value), next_});
    slot = key;
    next_ = (next_ + 1) % ring_.size();
  }

  void remove(const Key& key) {
    const auto found = values_.find(key);
    if (found == values_.end()) return;
    ring_[found->second.slot].reset();
    values_.erase(found);
  }

  [[nodiscard]] std::int64_t capacity() const { return capacity_; }
  [[nodiscard]] std::size_t size() const { return values_.size(); }

 private:
  struct Item {
    Value value;
    std::size_t slot;
  };

  std::int64_t capacity_;
  std::unordered_map<Key, Item> values_;
  std::vector<std::optional<Key>> ring_;  ///< Keys in the order of insertion, from `next_` on around to it.
  std::size_t next_ = 0;
};

}  // namespace tallyfold
