// The allocation functions of this program are its own, so that a test can see how much is allocated, refuse it, and
// look at memory at the moment it is given back.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "core/blake3/BLAKE3Stream.h"
#include "core/blake3/Blake3.h"
#include "core/services/FileComparison.h"
#include "tests/core/CoreTest.h"
#include "tests/support/ThreadLimit.h"

namespace {

std::atomic<bool> refuseWhatMayFail = false;
std::atomic<std::size_t> largestAllocation = 0;
std::atomic<std::size_t> lastSizeThatMayFail = 0;
std::atomic<void*> watched = nullptr;
std::atomic<bool> watchedWasZeroWhenFreed = false;

constexpr std::align_val_t kUsual{alignof(std::max_align_t)};

std::atomic<bool> isSlow = false;
std::atomic<std::chrono::steady_clock::time_point> lastSlowAllocation;

void* allocate(std::size_t size, std::align_val_t alignment = kUsual) {
  if (isSlow) {
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(1)) {
    }
    lastSlowAllocation = std::chrono::steady_clock::now();
  }
  std::size_t largest = largestAllocation;
  while (size > largest && !largestAllocation.compare_exchange_weak(largest, size)) {
  }
  void* memory = nullptr;
  const int failure = posix_memalign(&memory, static_cast<std::size_t>(alignment), std::max(size, std::size_t{1}));
  return failure == 0 ? memory : nullptr;
}

void* allocateOrThrow(std::size_t size, std::align_val_t alignment = kUsual) {
  void* const memory = allocate(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void release(void* memory) {
  if (memory != nullptr && memory == watched) {
    const std::span bytes(static_cast<const unsigned char*>(memory), lastSizeThatMayFail);
    watchedWasZeroWhenFreed = std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0; });
  }
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  lastSizeThatMayFail = size;
  return refuseWhatMayFail ? nullptr : allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return allocateOrThrow(size, alignment); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }

namespace tallyfold::test {

namespace {

DigestMap digestsOf(const std::filesystem::path& file) {
  return HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, [](double) {}).hashes;
}

TEST(RefusedAllocation, FailsWithItsSentenceOnAnyThread) {
  const TemporaryFolder folder;
  const std::filesystem::path file = sparseFile(folder, "file", 20'000'000);
  refuseWhatMayFail = true;
  EXPECT_EQ(tf_blake3_create(), nullptr);
  for (const unsigned cores : {1U, 9U}) {
    pretendCores(cores);
    EXPECT_THAT([&] { digestsOf(file); },
                testing::ThrowsMessage<BLAKE3Stream::Error>("BLAKE3 could not allocate its hashing context."));
  }
  refuseWhatMayFail = false;
  pretendCores(0);
}

TEST(RefusedThread, OneLaneDoesTheWorkOfAll) {
  const TemporaryFolder folder;
  const std::filesystem::path file = sparseFile(folder, "file", 20'000'000);
  pretendCores(9);
  const DigestMap expected = digestsOf(file);
  const int started = threadsStarted;
  ASSERT_GT(started, 0) << "there were no lanes";
  for (int granted = 0; granted < started; ++granted) {
    threadsStarted = 0;
    mostThreads = granted;
    EXPECT_EQ(digestsOf(file), expected) << granted;
  }
  mostThreads = std::numeric_limits<int>::max();
  pretendCores(0);
}

TEST(Allocation, ContextIsWipedBeforeItIsFreed) {
  tf_blake3* const context = tf_blake3_create();
  ASSERT_NE(context, nullptr);
  const std::string secret = period251(5000);
  tf_blake3_update(context, secret.data(), secret.size());
  const std::span bytes(reinterpret_cast<const unsigned char*>(context), lastSizeThatMayFail);
  ASSERT_TRUE(std::ranges::any_of(bytes, [](unsigned char byte) { return byte != 0; }));

  watched = context;
  tf_blake3_destroy(context);
  watched = nullptr;
  EXPECT_TRUE(watchedWasZeroWhenFreed);
}

TEST(Duration, BeginsWhenAllThatReadingNeedsIsThere) {
  struct : WatchedSystemCalls {
    ssize_t read(int descriptor, void* bytes, std::size_t count) override {
      isSlow = false;
      return SystemCalls::read(descriptor, bytes, count);
    }
  } system;
  const TemporaryFolder folder;
  for (const auto& [size, cores] : {std::pair(1U, 1U), std::pair(4U << 20, 9U)}) {
    pretendCores(cores);
    const std::filesystem::path file = sparseFile(folder, "file", size);
    isSlow = true;
    std::chrono::duration<double> sinceThen{};
    const auto end = [&](double) { sinceThen = std::chrono::steady_clock::now() - lastSlowAllocation.load(); };
    const FileHashResult result = HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, end);
    EXPECT_LE(result.duration, sinceThen.count()) << "on " << cores << " cores";
  }
  pretendCores(0);
}

template <typename Work>
std::size_t largestIn(Work work) {
  largestAllocation = 0;
  work();
  return largestAllocation;
}

TEST(Allocation, IsNoLargerThanTheFileAndNeverOverOneChunk) {
  const TemporaryFolder folder;
  for (const std::size_t size : {0U, 4096U, 1'000'000U, 10'000'000U}) {
    const std::filesystem::path a = sparseFile(folder, "a", size);
    const std::filesystem::path b = sparseFile(folder, "b", size);
    const std::size_t most = std::clamp(size, std::size_t{4096}, std::size_t{8'388'608});
    EXPECT_LE(largestIn([&] { digestsOf(a); }), most) << size;
    EXPECT_LE(largestIn([&] { HashService::compareFiles(a, b, {}, [](double) {}); }), most) << size;
  }
}

}  // namespace

}  // namespace tallyfold::test
