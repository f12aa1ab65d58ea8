#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace tallyfold {

/// A random UUID (RFC 4122, version 4). A default-constructed one is all zero and equal only to others of its kind.
class Uuid {
 public:
  static Uuid random();

  /// Canonical text form: 36 lower-case characters.
  [[nodiscard]] std::string string() const;

  /// Whether this is what `string` gives of some random one.
  static bool isString(std::string_view text);

  bool operator==(const Uuid&) const = default;

 private:
  friend struct std::hash<Uuid>;

  std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace tallyfold

template <>
struct std::hash<tallyfold::Uuid> {
  // The bytes are random already; any eight of them are a good hash.
  std::size_t operator()(const tallyfold::Uuid& id) const noexcept {
    std::size_t value = 0;
    std::memcpy(&value, id.bytes_.data(), sizeof value);
    return value;
  }
};
