#pragma once

namespace tallyfold {

/// Gives back to the system what the allocator holds in reserve, where it knows how to. It would keep what was freed
/// between things that are still in use. Takes milliseconds, in which no other thread can allocate.
void returnFreeMemory();

}  // namespace tallyfold
