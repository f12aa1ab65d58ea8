#pragma once

#include <cstddef>
#include <cstdint>

// For the sources of the kernels alone, and of internal linkage as all that they include.

namespace tallyfold::blake3 {
namespace {

/// How the words of four messages come into registers of four words, and leave them, as `Lanes` asks for. `Registers`
/// has a `Vector`; `read` and `write`, of four words that need no alignment; and `transpose`, of four rows.
template <typename Registers>
struct FourMessages {
  using Vector = typename Registers::Vector;

  template <std::size_t step>
  static void load(const std::uint8_t* const* blocks, Vector* words) {
    if constexpr (step < 4) {
      const auto row = [&](std::size_t i) { return Registers::read(blocks[i] + 16 * step); };
      Registers::transpose(row(0), row(1), row(2), row(3), words + 4 * step);
    }
  }

  static void store(const Vector* words, std::uint32_t* const* outputs) {
    for (std::size_t half = 0; half < 2; ++half) {
      Vector rows[4];
      const Vector* const w = words + 4 * half;
      Registers::transpose(w[0], w[1], w[2], w[3], rows);
      for (std::size_t i = 0; i < 4; ++i) Registers::write(rows[i], outputs[i] + 4 * half);
    }
  }
};

}  // namespace
}  // namespace tallyfold::blake3
