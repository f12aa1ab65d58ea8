#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <span>

namespace tallyfold {

/// Memory for what is read from a file; its content is undefined at first. A large one begins where a page does: just
/// behind that, where large blocks of the heap begin, some processors fill it from the page cache at a quarter of their
/// speed. A small one is an ordinary block: between aligned ones some heaps leave a page each.
class ReadBuffer {
 public:
  explicit ReadBuffer(std::size_t size)
      : bytes_(size < large ? new std::byte[size] : new (page) std::byte[size], {.isLarge = size >= large}),
        size_(size) {}

  [[nodiscard]] std::size_t size() const { return size_; }

  /// The first `count` bytes of it; at most `size()`.
  [[nodiscard]] std::span<std::byte> first(std::size_t count) const { return {bytes_.get(), count}; }

 private:
  static constexpr std::align_val_t page{4096};
  static constexpr std::size_t large = 64 << 10;

  struct Free {
    bool isLarge;
    void operator()(std::byte* bytes) const { isLarge ? operator delete[](bytes, page) : delete[] bytes; }
  };

  std::unique_ptr<std::byte[], Free> bytes_;
  std::size_t size_;
};

}  // namespace tallyfold
