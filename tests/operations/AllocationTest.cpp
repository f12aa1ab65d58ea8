// The allocation functions of this program are its own, so that a test can see how much is allocated, refuse it, and
// look at memory at the moment it is given back.

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

#include "core/blake3/BLAKE3Stream.h"
#include "core/blake3/Blake3.h"
#include "core/services/TextHashing.h"
#include "tests/operations/Operations.h"
#include "tests/support/PlainListReader.h"
#include "tests/support/ThreadLimit.h"

namespace {

std::atomic<bool> refuseWhatMayFail = false;
std::atomic<std::size_t> largestAllocation = 0;
std::atomic<std::size_t> allocated = 0;  // Bytes that are not given back yet,
std::atomic<std::size_t> peak = 0;       // and the most of them.
std::atomic<std::size_t> lastSizeThatMayFail = 0;
std::atomic<void*> watched = nullptr;
std::atomic<bool> watchedWasZeroWhenFreed = false;

constexpr std::align_val_t kUsual{alignof(std::max_align_t)};

std::atomic<std::chrono::steady_clock::time_point> lastAllocation;

void raise(std::atomic<std::size_t>& most, std::size_t now) {
  std::size_t before = most;
  while (now > before && !most.compare_exchange_weak(before, now)) {
  }
}

void* allocate(std::size_t size, std::align_val_t alignment = kUsual) {
  lastAllocation = std::chrono::steady_clock::now();
  void* memory = nullptr;
  const int failure = posix_memalign(&memory, static_cast<std::size_t>(alignment), std::max(size, std::size_t{1}));
  if (failure != 0) return nullptr;
  raise(largestAllocation, size);
  raise(peak, allocated += malloc_usable_size(memory));
  return memory;
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
  allocated -= malloc_usable_size(memory);
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

TEST(RefusedAllocation, FailsWithItsSentenceOnAnyThread) {
  const TemporaryFolder folder;
  const fs::path file = sparseFile(folder, "file", 20'000'000);
  refuseWhatMayFail = true;
  EXPECT_EQ(tf_blake3_create(), nullptr);
  for (const unsigned cores : {1U, 9U}) {
    pretendCores(cores);
    EXPECT_THAT([&] { digestsOf(file); },
                ThrowsMessage<BLAKE3Stream::Error>("BLAKE3 could not allocate its hashing context."));
  }
  refuseWhatMayFail = false;
  pretendCores(0);
}

TEST(RefusedThread, OneLaneDoesTheWorkOfAll) {
  const TemporaryFolder folder;
  const fs::path file = sparseFile(folder, "file", 20'000'000);
  pretendCores(9);
  for (const HashAlgorithmSet algorithms : {HashAlgorithmSet::all(), HashAlgorithmSet{HashAlgorithm::blake3}}) {
    threadsStarted = 0;
    const DigestMap expected = digestsOf(file, algorithms);
    const int started = threadsStarted;
    ASSERT_GT(started, 0) << "there were no lanes";
    for (int granted = 0; granted < started; ++granted) {
      threadsStarted = 0;
      mostThreads = granted;
      EXPECT_EQ(digestsOf(file, algorithms), expected) << granted;
    }
    mostThreads = std::numeric_limits<int>::max();
  }
  pretendCores(0);
}

TEST(Allocation, ContextIsWipedBeforeItIsFreed) {
  tf_blake3* const context = tf_blake3_create();
  ASSERT_NE(context, nullptr);
  const std::string secret = randomBytes(5000, 1);
  tf_blake3_update(context, secret.data(), secret.size());
  const std::span bytes(reinterpret_cast<const unsigned char*>(context), lastSizeThatMayFail);
  ASSERT_TRUE(std::ranges::any_of(bytes, [](unsigned char byte) { return byte != 0; }));

  watched = context;
  tf_blake3_destroy(context);
  watched = nullptr;
  EXPECT_TRUE(watchedWasZeroWhenFreed);
}

TEST(Duration, BeginsWhenAllThatReadingNeedsIsThere) {
  const TemporaryFolder folder;
  const fs::path file = sparseFile(folder, "file", 4 << 20);
  WatchedSystemCalls system;
  system.names.reserve(100);  // Noting a call allocates nothing.
  std::optional<std::chrono::steady_clock::time_point> ready;
  system.before = [&](std::string_view call, std::size_t) {
    if (call == "read" && !ready) ready = lastAllocation;
    return 0;
  };
  std::chrono::duration<double> sinceThen{};
  const auto end = [&](double) { sinceThen = std::chrono::steady_clock::now() - ready.value(); };
  pretendCores(9);
  const double duration = HashService::hashFile(file, Uuid(), HashAlgorithmSet::all(), {}, end).duration;
  pretendCores(0);
  EXPECT_GT(duration, 0);
  EXPECT_LE(duration, sinceThen.count());
}

constexpr std::size_t kMebibyte = 1'048'576;

/// Expects `work` to allocate at most so much beside what there was before. Returns the largest piece of it.
template <typename Work>
std::size_t expectPeak(const std::string& what, double most, Work work) {
  largestAllocation = 0;
  peak = 0;
  const std::size_t before = allocated;
  work();
  const double mebibytes = static_cast<double>(peak - before) / kMebibyte;
  EXPECT_LE(mebibytes, most) << what;
  std::cout << what << " | " << mebibytes << " MiB | at most " << most << " MiB\n";
  return largestAllocation;
}

TEST(Allocation, IsNoLargerThanTheFileAndNeverOverOneChunk) {
  const TemporaryFolder folder;
  for (const unsigned cores : {1U, 4U}) {
    pretendCores(cores);
    for (const std::size_t size : {std::size_t{0}, std::size_t{4096}, std::size_t{1'000'000}, 32 * kMebibyte}) {
      const fs::path a = sparseFile(folder, "a", size);
      const fs::path b = sparseFile(folder, "b", size);
      const std::size_t most = std::clamp(size, std::size_t{4096}, 8 * kMebibyte);
      const std::string what = std::to_string(size) + " bytes on " + std::to_string(cores) + " cores";
      EXPECT_LE(expectPeak("hash " + what, 9, [&] { digestsOf(a); }), most);
      EXPECT_LE(expectPeak("BLAKE3 of " + what, 0.7, [&] { digestsOf(a, {HashAlgorithm::blake3}); }), most);
      EXPECT_LE(expectPeak("compare " + what, 9, [&] { outcomeOfComparison(a, b); }), most);
      const auto versions = HashService::compareFilesKeepingVersions(a, b, {}, [](double) {}).versions;
      EXPECT_LE(expectPeak("count " + what, 9, [&] { outcomeOfCount(a, b, versions, 0); }), most);
    }
  }
  pretendCores(0);
}

TEST(Allocation, OfATextIsASlice) {
  const std::string text(16 * kMebibyte, 'a');
  const std::u16string wide(16 * kMebibyte, u'a');
  const auto hash = [](auto units) {
    return [=] { HashService::hashTextCancellableWithByteCount(units, HashAlgorithmSet::all(), {}); };
  };
  expectPeak("text", 0.5, hash(std::string_view(text)));
  expectPeak("text in UTF-16", 0.5, hash(std::u16string_view(wide)));
}

TEST(Allocation, OfAReportIsItsBuffer) {
  const FileHashResults results = manyResults(10'000);
  for (const auto format : ManifestService::allFormats()) {
    expectPeak(std::string(ManifestService::fileExtension(format)), 0.5,
               [&] { ManifestService::writeContents(results, format, FileHandle::open("/dev/null", O_WRONLY), {}); });
  }
}

TEST(Allocation, OfAListIsItsLimits) {
  const std::string manyLines =
      "error: The checksum file exceeds the 1,000,000-line limit for interactive verification.";
  const std::string largeList =
      "error: The checksum file exceeds the safe in-memory manifest limit (100,000 entries or approximately 64 MiB of "
      "retained entry data).";
  const std::string mark = "\xFF\xFE";
  const auto entry = [](std::size_t cost) {
    return std::string(32, 'a') + "  " + std::string(cost - 32 - ChecksumManifestService::entryOverhead, 'x') + "\n";
  };
  struct {
    const char* what;
    double most;  // MiB
    std::string first;
    std::size_t count;
    std::string line;  // So often.
    std::string last;
    std::string outcome;
  } const lists[]{
      {"lines", 2, "", 1'000'000, "\n", "", "1000000 ignored, 0 unsupported"},
      {"last line without a break", 2, "", 999'999, "x\n", "x", "0 ignored, 1000000 unsupported"},
      {"one line more", 2, "", 1'000'001, "x\n", "", manyLines},
      {"one line more, without a break", 2, "", 1'000'000, "\n", "x", manyLines},
      {"UTF-16, one line more", 4, mark, 1'000'001, "\n\0"s, "", manyLines},
      {"entries", 80, "", 100'000, entry(671), "# and a comment", "1 ignored, 0 unsupported"},
      {"one entry more", 80, "", 100'001, entry(500), "", largeList},
      {"large entries", 72, "", 64, entry(kMebibyte), "", "0 ignored, 0 unsupported"},
      {"one byte more", 72, "", 63, entry(kMebibyte), entry(kMebibyte + 1), largeList},
      {"long lines", 4, "", 255, std::string(kMebibyte, '#') + "\n", "", "255 ignored, 0 unsupported"},
      {"longer line", 5, "\n", 1, std::string(kMebibyte + 1, '#'), "", kLongLine},
      {"line without an end", 4, "", 32, std::string(kMebibyte, '\0'), "", kLongLine},
      {"UTF-16, long line", 8, mark, kMebibyte / 2, "#\0"s, "", "1 ignored, 0 unsupported"},
      {"UTF-16, longer line", 8, mark, kMebibyte / 2 + 1, "#\0"s, "", kLongLine},
      {"UTF-16, line without an end", 8, mark, 32, std::string(kMebibyte, '\0'), "", kLongLine},
  };
  const TemporaryFolder folder;
  for (const auto& [what, most, first, count, line, last, outcome] : lists) {
    const fs::path list = folder.file("list", first);
    std::ofstream stream(list, std::ios::app);
    for (std::size_t i = 0; i < count; ++i) stream << line;
    stream << last << std::flush;
    std::string found;
    std::optional<ChecksumManifestService::ParseResult> result;
    expectPeak(what, most,
               [&] { found = attempted([&] { result = ChecksumManifestService::readList(list, {}, {}).result; }); });
    EXPECT_EQ(result ? described(*result).back() : found, outcome) << what;
  }
}

}  // namespace
}  // namespace tallyfold::test
