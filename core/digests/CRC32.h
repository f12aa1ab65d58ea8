#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tallyfold {

/// The reflected CRC-32 of ISO-HDLC and IEEE 802.3 (polynomial 0xEDB88320), as in zip, gzip, PNG and SFV files.
/// Checksum of the nine digits "123456789": cbf43926.
class CRC32 {
 public:
  void update(std::span<const std::byte> bytes);

  /// The checksum of everything absorbed so far, as 8 lower-case hexadecimal characters. More may be absorbed after.
  [[nodiscard]] std::string finalize() const;

 private:
  std::uint32_t state_ = 0xFFFFFFFF;
};

}  // namespace tallyfold
