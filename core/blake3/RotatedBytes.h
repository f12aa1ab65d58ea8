#pragma once

#include <cstdint>

namespace tallyfold::blake3 {
namespace {

/// Where each byte of a register comes from when its words are rotated to the right.
struct RotatedBytes {
  alignas(32) static constexpr std::uint8_t by8[32]{1, 2, 3, 0, 5, 6, 7, 4, 9, 10, 11, 8, 13, 14, 15, 12,
                                                    1, 2, 3, 0, 5, 6, 7, 4, 9, 10, 11, 8, 13, 14, 15, 12};
  alignas(32) static constexpr std::uint8_t by16[32]{2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13,
                                                     2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13};
};

}  // namespace
}  // namespace tallyfold::blake3
