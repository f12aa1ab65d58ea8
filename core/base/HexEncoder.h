#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tallyfold {

/// Lower-case hexadecimal, as every digest is shown, stored and compared.
namespace HexEncoder {

/// Two digits per byte, first byte first.
std::string string(std::span<const std::byte> bytes);

/// The eight digits of a number, most significant first ("%08x").
std::string string(std::uint32_t number);

}  // namespace HexEncoder

}  // namespace tallyfold
