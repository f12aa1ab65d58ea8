#include "core/digests/CRC32.h"

#include "core/base/HexEncoder.h"
#include "core/digests/crc32/Kernels.h"

namespace tallyfold {

void CRC32::update(std::span<const std::byte> bytes) {
  state_ = crc32::kernels.current().update(state_, bytes.data(), bytes.size());
}

std::string CRC32::finalize() const { return HexEncoder::string(state_ ^ 0xFFFFFFFF); }

}  // namespace tallyfold
