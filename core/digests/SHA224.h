#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tallyfold {

/// SHA-224 of FIPS 180-4: SHA-256 with other initial words and without the last word of the result.
class SHA224 {
 public:
  void update(std::span<const std::byte> bytes);

  /// The digest of everything absorbed so far, as 56 lower-case hexadecimal characters. More may be absorbed after.
  [[nodiscard]] std::string finalize() const;

 private:
  static constexpr std::size_t blockSize = 64;

  std::array<std::uint32_t, 8> state_{0xc1059ed8, 0x367cd507, 0x3070dd17, 0xf70e5939,
                                      0xffc00b31, 0x68581511, 0x64f98fa7, 0xbefa4fa4};
  std::array<std::byte, blockSize> partial_{};  ///< The bytes of an incomplete block, `partialSize_` of them.
  std::size_t partialSize_ = 0;
  std::uint64_t totalBytes_ = 0;
};

}  // namespace tallyfold
