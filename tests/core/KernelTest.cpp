// Every kernel that this processor can run, next to the portable one and next to other programs.

#include <cctype>
#include <sys/mman.h>

#include "core/blake3/BLAKE3Stream.h"
#include "core/blake3/Constants.h"
#include "core/blake3/Kernels.h"
#include "core/digests/crc32/Kernels.h"
#include "core/digests/sha224/Kernels.h"
#include "core/services/differences/Kernels.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

/// One row of a table of kernels.
struct Candidate {
  HashAlgorithm algorithm;
  std::string name;
  std::function<void()> pin;
  std::function<void()> pinReference;
  std::function<void()> unpin;
};

void PrintTo(const Candidate& candidate, std::ostream* stream) {
  *stream << candidate.algorithm.rawValue() << ", " << candidate.name;
}

template <typename Row>
void addCandidates(std::vector<Candidate>& candidates, HashAlgorithm algorithm, KernelTable<Row>& kernels) {
  for (const Row* const row : kernels.supported()) {
    candidates.push_back({algorithm, row->name, [&kernels, row] { kernels.pin(row); },
                          [&kernels] { kernels.pin(kernels.supported().front()); },
                          [&kernels] { kernels.pin(nullptr); }});
  }
}

std::vector<Candidate> allCandidates() {
  std::vector<Candidate> candidates;
  addCandidates(candidates, HashAlgorithm::sha224, sha224::kernels);
  addCandidates(candidates, HashAlgorithm::blake3, blake3::kernels);
  addCandidates(candidates, HashAlgorithm::crc32, crc32::kernels);
  return candidates;
}

std::string nameOf(const testing::TestParamInfo<Candidate>& info) {
  std::string name = std::string(info.param.algorithm.rawValue()) + info.param.name;
  std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
  return name;
}

/// Bytes of no pattern, in the bits of a mask, in memory that ends where the next page may not be read.
class GuardedBytes {
 public:
  explicit GuardedBytes(std::size_t size, unsigned seed = seedOfThisRun(), unsigned mask = 255)
      : mapped_((size + 2 * page - 1) / page * page) {
    void* const memory = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::system_error(errno, std::system_category());
    memory_ = static_cast<std::byte*>(memory);
    std::mt19937 engine(seed);
    std::ranges::generate(std::span(memory_, mapped_ - page), [&] { return static_cast<std::byte>(engine() & mask); });
    mprotect(memory_ + mapped_ - page, page, PROT_NONE);
  }
  ~GuardedBytes() { munmap(memory_, mapped_); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  /// The last `count` bytes before `gap` bytes before the guard.
  [[nodiscard]] std::span<const std::byte> last(std::size_t count, std::size_t gap = 0) const {
    return {memory_ + mapped_ - page - gap - count, count};
  }

 private:
  static constexpr std::size_t page = 4096;

  std::size_t mapped_;
  std::byte* memory_ = nullptr;
};

class KernelTest : public testing::TestWithParam<Candidate> {
 protected:
  void TearDown() override { GetParam().unpin(); }

  [[nodiscard]] static std::string digest(HashPipeline pipeline) {
    return std::string(pipeline.finalize().find(GetParam().algorithm).value());
  }

  [[nodiscard]] static std::string digestOf(std::span<const std::byte> bytes) {
    HashPipeline pipeline({GetParam().algorithm});
    pipeline.update(bytes);
    return digest(std::move(pipeline));
  }
};

/// Around the edges of blocks, of chunks, of as many of them as fit into registers, and of rows of chunks.
std::set<std::size_t> lengthsAroundEdges() {
  std::set<std::size_t> lengths;
  for (std::size_t edge = 16; edge <= 512; edge *= 2) {
    for (std::size_t times = 1; times <= 5; ++times) lengths.insert({edge * times - 1, edge * times, edge * times + 1});
  }
  for (std::size_t chunks = 1; chunks <= 35; ++chunks) {
    lengths.insert({1024 * chunks - 1, 1024 * chunks, 1024 * chunks + 1, 1024 * chunks + 65});
  }
  for (const std::size_t chunks : {63UL, 64UL, 65UL, 127UL, 128UL, 129UL, 130UL, 255UL, 256UL, 257UL, 300UL}) {
    lengths.insert({1024 * chunks - 1, 1024 * chunks, 1024 * chunks + 1});
  }
  return lengths;
}

TEST_P(KernelTest, AnyWayOfCuttingTheInputAsPortable) {
  constexpr std::array<std::size_t, 5> largestPiece{70, 1100, 5000, 40'000, 200'000};
  const GuardedBytes bytes(600'000);
  std::mt19937 engine(seedOfThisRun());
  const auto upTo = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(engine); };
  for (int round = 0; round < 60; ++round) {
    const auto input = bytes.last(upTo(round < 20 ? 20'000 : 599'000), upTo(1000));
    GetParam().pinReference();
    const std::string expected = digestOf(input);
    GetParam().pin();
    HashPipeline pipeline({GetParam().algorithm});
    std::ostringstream cuts;
    for (std::size_t at = 0; at < input.size();) {
      const std::size_t taken = std::min(upTo(largestPiece[upTo(largestPiece.size() - 1)]), input.size() - at);
      pipeline.update(input.subspan(at, taken));
      cuts << ' ' << taken;
      at += taken;
    }
    ASSERT_EQ(digest(std::move(pipeline)), expected) << input.size() << " bytes in pieces of" << cuts.str();
  }
}

TEST_P(KernelTest, AsOtherProgramsHaveIt) {
  std::set<std::size_t> lengths = lengthsAroundEdges();
  lengths.insert(1'000'003);
  for (std::size_t length = 0; length <= 257; ++length) lengths.insert(length);
  const GuardedBytes bytes(*lengths.rbegin());
  const TemporaryFolder folder;
  std::vector<fs::path> files;
  std::vector<std::string> digests;
  GetParam().pin();
  for (const std::size_t length : lengths) {
    const auto input = bytes.last(length);
    files.push_back(folder.file(std::to_string(length), {reinterpret_cast<const char*>(input.data()), length}));
    digests.push_back(digestOf(input));
  }
  EXPECT_EQ(digests, digestsByOthers(GetParam().algorithm, files));
}

INSTANTIATE_TEST_SUITE_P(All, KernelTest, testing::ValuesIn(allCandidates()), nameOf);

// Two chunks to seventeen: every width, with every number of lanes that are left over, and all that may be behind them.
TEST(BLAKE3Kernels, EveryLengthAtOnceAsPortableByteByByte) {
  constexpr std::size_t most = 17 * blake3::kChunkSize + 1;
  const GuardedBytes bytes(most);
  const auto input = bytes.last(most);
  for (const blake3::Kernel* const kernel : blake3::kernels.supported()) {
    BLAKE3Stream reference;
    for (std::size_t length = 0; length <= most; ++length) {
      blake3::kernels.pin(&blake3::kernelPortable);
      if (length > 0) reference.update(input.subspan(length - 1, 1));
      const std::string expected = reference.finalize();
      blake3::kernels.pin(kernel);
      BLAKE3Stream stream;
      stream.update(input.first(length));
      ASSERT_EQ(stream.finalize(), expected) << kernel->name << ": " << length;
    }
  }
  blake3::kernels.pin(nullptr);
}

// No input that a test can afford has so many chunks.
TEST(BLAKE3Kernels, ChunkCounterPassesThirtyTwoBitsWithinOneGroup) {
  constexpr std::size_t most = 67;
  using ChainingValues = std::array<std::uint32_t, (most + 1) * blake3::kChainingWords>;  // And the unfinished one.
  const std::string input = randomBytes(most * blake3::kChunkSize, 1);
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(input.data());
  for (const std::uint64_t first : {0xFFFF'FFFEULL, 0xFFFF'FFF9ULL, 0xFFFF'FFF1ULL, 0x7FFF'FFFFULL}) {
    for (std::size_t count = 1; count <= most; ++count) {
      ChainingValues expected{};
      blake3::kernelPortable.chunks(bytes, count, first, expected.data(), &*(expected.end() - blake3::kChainingWords));
      for (const blake3::Kernel* const kernel : blake3::kernels.supported()) {
        ChainingValues found{};
        kernel->chunks(bytes, count, first, found.data(), &*(found.end() - blake3::kChainingWords));
        EXPECT_EQ(found, expected) << kernel->name << ": " << count << " from chunk " << first;
      }
    }
  }
}

TEST(DifferenceKernels, EveryLengthByteByByteAndNoByteBehind) {
  constexpr std::size_t most = 10'000;  // More than two groups of vectors.
  const GuardedBytes first(most, seedOfThisRun(), 1);
  const GuardedBytes second(most, seedOfThisRun() + 1, 1);
  const auto a = first.last(most);
  const auto b = second.last(most);
  for (const differences::Kernel* const kernel : differences::kernels.supported()) {
    std::pair<std::int64_t, std::int64_t> expected;
    for (std::size_t at = most - 1; at > 0; --at) {
      if (a[at] != b[at]) {
        ++expected.first;
        if (a[at - 1] == b[at - 1]) ++expected.second;
      }
      const auto [bytes, runs] = kernel->count(&a[at], &b[at], most - at);
      ASSERT_EQ(std::pair(bytes, runs), expected) << kernel->name << ": " << most - at;
    }
  }
}

#if defined(__x86_64__) || defined(__AARCH64EL__)
// The kernel of the operating system leaves out what it does not save the registers of.
TEST(Processor, HasTheFeaturesThatTheSystemLists) {
#ifdef __x86_64__
  const char* const title = "flags";
  const std::map<ProcessorFeatures, std::set<std::string>> names{
      {kSSE41, {"sse4_1", "ssse3"}},      {kPCLMULQDQ, {"pclmulqdq"}},  {kSHA, {"sha_ni"}}, {kAVX2, {"avx2"}},
      {kAVX512, {"avx512f", "avx512vl"}}, {kVPCLMULQDQ, {"vpclmulqdq"}}};
#else
  const char* const title = "Features";
  const std::map<ProcessorFeatures, std::set<std::string>> names{
      {kNEON, {"asimd"}}, {kPMULL, {"pmull"}}, {kSHA2, {"sha2"}}, {kCRC32, {"crc32"}}};
#endif
  std::ifstream file("/proc/cpuinfo");
  std::string line;
  while (std::getline(file, line) && !line.starts_with(title)) {
  }
  if (!file) GTEST_SKIP() << "An emulator shows the processor that it runs on.";
  std::istringstream words(line);
  const std::set<std::string> listed{std::istream_iterator<std::string>(words), {}};
  for (const auto& [feature, wanted] : names) {
    EXPECT_EQ((processorFeatures() & feature) != 0, std::ranges::includes(listed, wanted)) << *wanted.begin();
  }
}
#endif

}  // namespace

}  // namespace tallyfold::test
