#pragma once

#include <cstddef>
#include <span>

namespace tallyfold {

/// Fills `bytes` from the system's own source of randomness. Fails with std::system_error. Any thread.
void fillWithRandom(std::span<std::byte> bytes);

}  // namespace tallyfold
