#include "core/base/Uuid.h"

#include <algorithm>
#include <span>

#include "core/base/HexEncoder.h"
#include "core/base/SystemRandom.h"

namespace tallyfold {

namespace {

// The system's randomness in bulk: a call for each id would make the model wait 200 ms for those of a full queue.
class RandomBytes {
 public:
  void take(std::span<std::uint8_t> bytes) {
    if (rest_.size() < bytes.size()) refill();
    std::memcpy(bytes.data(), rest_.data(), bytes.size());
    rest_ = rest_.subspan(bytes.size());
  }

 private:
  void refill() {
    fillWithRandom(std::as_writable_bytes(std::span(pool_)));
    rest_ = pool_;
  }

  std::array<std::uint8_t, 4096> pool_{};
  std::span<const std::uint8_t> rest_;
};

}  // namespace

Uuid Uuid::random() {
  thread_local RandomBytes source;
  Uuid id;
  source.take(id.bytes_);
  id.bytes_[6] = static_cast<std::uint8_t>((id.bytes_[6] & 0x0F) | 0x40);
  id.bytes_[8] = static_cast<std::uint8_t>((id.bytes_[8] & 0x3F) | 0x80);
  return id;
}

std::string Uuid::string() const {
  std::string text = HexEncoder::string(std::as_bytes(std::span(bytes_)));
  for (const std::size_t position : {8U, 13U, 18U, 23U}) text.insert(position, 1, '-');
  return text;
}

bool Uuid::isString(std::string_view text) {
  constexpr std::string_view form = "xxxxxxxx-xxxx-4xxx-xxxx-xxxxxxxxxxxx";
  constexpr std::string_view digits = "0123456789abcdef";
  return std::ranges::equal(text, form, [&](char character, char expected) {
    return expected == 'x' ? digits.find(character) != std::string_view::npos : character == expected;
  });
}

}  // namespace tallyfold
