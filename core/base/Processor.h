#pragma once

namespace tallyfold {

/// What a processor may have beyond its architecture's minimum, as bits that can be combined. Wide registers count only
/// where the operating system saves them.
using ProcessorFeatures = unsigned;

inline constexpr ProcessorFeatures kSSE41 = 1U << 0;       ///< SSE4.1 and SSSE3.
inline constexpr ProcessorFeatures kPCLMULQDQ = 1U << 1;   ///< Carry-less multiplication.
inline constexpr ProcessorFeatures kSHA = 1U << 2;         ///< The SHA extensions.
inline constexpr ProcessorFeatures kAVX2 = 1U << 3;        ///< 256-bit registers.
inline constexpr ProcessorFeatures kAVX512 = 1U << 4;      ///< 512-bit registers: AVX-512F and AVX-512VL.
inline constexpr ProcessorFeatures kVPCLMULQDQ = 1U << 5;  ///< Carry-less multiplication in wide registers.

inline constexpr ProcessorFeatures kNEON = 1U << 6;   ///< Arm's Advanced SIMD.
inline constexpr ProcessorFeatures kPMULL = 1U << 7;  ///< Carry-less multiplication on Arm.
inline constexpr ProcessorFeatures kSHA2 = 1U << 8;   ///< Arm's instructions for SHA-224 and SHA-256.
inline constexpr ProcessorFeatures kCRC32 = 1U << 9;  ///< Arm's instructions for CRC-32.

/// The features of the processor that this program runs on; none on an architecture without kernels of its own.
/// Asked once per process. Any thread.
ProcessorFeatures processorFeatures();

/// How many processor cores this process may use now, at least 1. Any thread.
unsigned availableCores();

/// Makes `availableCores` return this from now on, for tests and benchmarks; the truth again for 0.
void pretendCores(unsigned cores);

}  // namespace tallyfold
