#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tallyfold {

/// The reflected CRC-32 of ISO-HDLC and IEEE 802.3 (polynomial 0xEDB88320), as in zip, gzip, PNG and SFV files.
/// Checksum of the nine digits "123456789": cbf43926.
class CRC32 {
 public:
  void update(std::span<const std::byte> bytes);

  /// The checksum of everything absorbed so far.
  [[nodiscard]] std::uint32_t value() const { return state_ ^ 0xFFFFFFFF; }

 private:
  std::uint32_t state_ = 0xFFFFFFFF;
};

}  // namespace tallyfold
