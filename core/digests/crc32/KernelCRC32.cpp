#include <arm_acle.h>

#include "core/digests/crc32/Kernels.h"

// "Arm Architecture Reference Manual for A-profile architecture", C6.2: CRC32B and CRC32X.

namespace tallyfold::crc32 {

namespace {

std::uint32_t update(std::uint32_t state, const std::byte* bytes, std::size_t size) {
  for (; size >= 8; bytes += 8, size -= 8) {
    std::uint64_t word = 0;
    __builtin_memcpy(&word, bytes, sizeof word);
    state = __crc32d(state, word);
  }
  for (; size > 0; ++bytes, --size) state = __crc32b(state, static_cast<std::uint8_t>(*bytes));
  return state;
}

}  // namespace

const Kernel kernelCRC32{"CRC32", kCRC32, update};

}  // namespace tallyfold::crc32
