#pragma once

#include <cstddef>
#include <cstdint>

/// The functions of a kernel, in ordinary registers: one message after another. For kernels that are wide as well, as
/// what is quickest for one message alone.
namespace tallyfold::blake3::single {

void compress(const std::uint32_t* chainingValue, const std::uint32_t* message, std::uint64_t counter,
              std::uint32_t blockLength, std::uint32_t flags, std::uint32_t* output);

void absorb(std::uint32_t* chainingValue, const std::uint8_t* blocks, std::size_t count, std::uint64_t counter,
            std::uint32_t flags);

void chunks(const std::uint8_t* input, std::size_t count, std::uint64_t counter, std::uint32_t* output,
            std::uint32_t* unfinished);

void parents(const std::uint32_t* children, std::size_t count, std::uint32_t* output);

}  // namespace tallyfold::blake3::single
