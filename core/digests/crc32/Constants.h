#pragma once

#include <cstdint>

namespace tallyfold::crc32 {

/// The polynomial of ISO-HDLC and IEEE 802.3 without its highest term, reflected: the highest bit stands for x^0.
inline constexpr std::uint32_t kPolynomial = 0xEDB88320;

/// `value` times x, modulo the polynomial.
constexpr std::uint32_t timesX(std::uint32_t value) { return (value >> 1) ^ ((value & 1) != 0 ? kPolynomial : 0); }

}  // namespace tallyfold::crc32
