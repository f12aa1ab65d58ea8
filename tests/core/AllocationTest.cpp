// The allocation functions of this program are its own, so that a test can see how much is allocated, refuse it, and
// look at memory at the moment it is given back.

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <new>
#include <span>

#include "core/BLAKE3Stream.h"
#include "core/Errors.h"
#include "core/HashPipeline.h"
#include "core/HashService.h"
#include "core/blake3/Blake3.h"
#include "tests/support/TemporaryFolder.h"

namespace {

std::atomic<bool> refuseWhatMayFail = false;
std::atomic<std::size_t> largestAllocation = 0;
std::atomic<std::size_t> lastSizeThatMayFail = 0;
std::atomic<void*> watched = nullptr;
std::atomic<bool> watchedWasZeroWhenFreed = false;

void* allocate(std::size_t size) {
  std::size_t largest = largestAllocation;
  while (size > largest && !largestAllocation.compare_exchange_weak(largest, size)) {
  }
  return std::malloc(std::max(size, std::size_t{1}));
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
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
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }

namespace tallyfold {
namespace {

class RefusedAllocation : public testing::Test {
 protected:
  void SetUp() override { refuseWhatMayFail = true; }
  void TearDown() override { refuseWhatMayFail = false; }
};

TEST_F(RefusedAllocation, CreateReturnsNull) { EXPECT_EQ(tf_blake3_create(), nullptr); }

TEST_F(RefusedAllocation, StreamAndPipelineFailWithTheirSentence) {
  EXPECT_THROW(BLAKE3Stream(), BLAKE3Stream::Error);
  try {
    const HashPipeline pipeline(HashAlgorithmSet::all());
    FAIL() << "constructed";
  } catch (const BLAKE3Stream::Error& error) {
    EXPECT_EQ(error.value(), BLAKE3Stream::Error::allocationFailed);
    EXPECT_STREQ(error.what(), "BLAKE3 could not allocate its hashing context.");
  }
}

TEST(Allocation, ContextIsWipedBeforeItIsFreed) {
  tf_blake3* const context = tf_blake3_create();
  ASSERT_NE(context, nullptr);
  const std::string secret = test::period251(5000);
  tf_blake3_update(context, secret.data(), secret.size());
  const std::span bytes(reinterpret_cast<const unsigned char*>(context), lastSizeThatMayFail);
  ASSERT_TRUE(std::ranges::any_of(bytes, [](unsigned char byte) { return byte != 0; }));

  watched = context;
  tf_blake3_destroy(context);
  watched = nullptr;
  EXPECT_TRUE(watchedWasZeroWhenFreed);
}

TEST(Allocation, BufferIsNoLargerThanTheFileAndNeverOverOneChunk) {
  const test::TemporaryFolder folder;
  const auto largestFor = [&](std::size_t size) {
    const std::filesystem::path file = folder.file("file", "");
    std::filesystem::resize_file(file, size);
    largestAllocation = 0;
    HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, [](double) {});
    return largestAllocation.load();
  };
  EXPECT_LE(largestFor(0), 4096U);
  EXPECT_LE(largestFor(4096), 4096U);
  EXPECT_EQ(largestFor(1'000'000), 1'000'000U);
  EXPECT_EQ(largestFor(10'000'000), 8'388'608U);
}

}  // namespace
}  // namespace tallyfold
