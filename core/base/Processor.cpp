#include "core/base/Processor.h"

#include <algorithm>
#include <atomic>
#include <thread>

#ifdef __linux__
#include <sched.h>
#endif
#ifdef __x86_64__
#include <cpuid.h>
#elif defined(__AARCH64EL__) && defined(__linux__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace tallyfold {

namespace {

std::atomic<unsigned> pretendedCores = 0;

#ifdef __x86_64__

/// The kinds of registers that the operating system saves, as bits of XCR0. Only where OSXSAVE is set.
unsigned savedRegisters() {
  unsigned low = 0;
  unsigned high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

/// "Intel 64 and IA-32 Architectures Software Developer's Manual", volume 2, CPUID, and volume 1, chapters 14 and 15.
ProcessorFeatures detect() {
  constexpr unsigned avxState = 0x06;     // XMM and YMM.
  constexpr unsigned avx512State = 0xE6;  // Those, the masks and ZMM.
  constexpr unsigned avx512VL = 1U << 31;
  unsigned eax = 0;
  unsigned ebx = 0;
  unsigned basic = 0;
  unsigned edx = 0;
  if (__get_cpuid(1, &eax, &ebx, &basic, &edx) == 0) return 0;
  unsigned extended = 0;
  unsigned more = 0;
  if (__get_cpuid_count(7, 0, &eax, &extended, &more, &edx) == 0) extended = more = 0;

  const auto all = [](unsigned bits, unsigned wanted) { return (bits & wanted) == wanted; };
  const unsigned saved = all(basic, bit_OSXSAVE) ? savedRegisters() : 0;
  const bool wide = all(saved, avxState) && all(basic, bit_AVX);
  ProcessorFeatures features = 0;
  if (all(basic, bit_SSSE3 | bit_SSE4_1)) features |= kSSE41;
  if (all(basic, bit_PCLMUL)) features |= kPCLMULQDQ;
  if (all(extended, bit_SHA)) features |= kSHA;
  if (wide && all(extended, bit_AVX2)) features |= kAVX2;
  if (wide && all(saved, avx512State) && all(extended, bit_AVX512F | avx512VL)) features |= kAVX512;
  if (wide && all(more, bit_VPCLMULQDQ)) features |= kVPCLMULQDQ;
  return features;
}

#elif defined(__AARCH64EL__) && defined(__linux__)

/// "ARM64 ELF hwcaps" of the Linux kernel's documentation.
ProcessorFeatures detect() {
  const unsigned long capabilities = getauxval(AT_HWCAP);
  ProcessorFeatures features = 0;
  if ((capabilities & HWCAP_ASIMD) != 0) features |= kNEON;
  if ((capabilities & HWCAP_PMULL) != 0) features |= kPMULL;
  if ((capabilities & HWCAP_SHA2) != 0) features |= kSHA2;
  if ((capabilities & HWCAP_CRC32) != 0) features |= kCRC32;
  return features;
}

#else

ProcessorFeatures detect() { return 0; }

#endif

}  // namespace

ProcessorFeatures processorFeatures() {
  static const ProcessorFeatures features = detect();
  return features;
}

void pretendCores(unsigned cores) { pretendedCores = cores; }

unsigned availableCores() {
  if (const unsigned pretended = pretendedCores; pretended > 0) return pretended;
#ifdef __linux__
  cpu_set_t cores;
  if (sched_getaffinity(0, sizeof cores, &cores) == 0) return static_cast<unsigned>(std::max(CPU_COUNT(&cores), 1));
#endif
  return std::max(std::thread::hardware_concurrency(), 1U);
}

}  // namespace tallyfold
