#pragma once

namespace tallyfold::bench {

/// Prints what each kernel of BLAKE3 makes of inputs from one block to 8 MiB, in GB/s and as multiples of what
/// OpenSSL's SHA-256 makes of 8 MiB in the same run: speeds of different machines, and of different days, compare in
/// these. The fastest of many short repetitions counts, which is what a busy machine disturbs least.
void printSizesOfBLAKE3(int rounds);

}  // namespace tallyfold::bench
