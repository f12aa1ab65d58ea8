#include <csignal>
#include <sys/mman.h>
#include <unicode/unistr.h>

#include "core/services/TextHashing.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

using HashService::hashTextCancellableWithByteCount;
using HashService::textSliceSize;

struct Text {
  std::string utf8;
  std::u16string utf16;
};

template <std::size_t m, std::size_t n>
Text textOf(const char (&utf8)[m], const char16_t (&utf16)[n]) {
  return {std::string(utf8, m - 1), std::u16string(utf16, n - 1)};
}

// The compiler makes both, with every NUL that is in them.
#define TEXT(literal) textOf(literal, u##literal)

Text operator+(const Text& a, const Text& b) { return {a.utf8 + b.utf8, a.utf16 + b.utf16}; }

Text letters(std::size_t count) { return {std::string(count, 'a'), std::u16string(count, u'a')}; }

TEST(TextHashing, TextsAsOtherProgramsHaveThem) {
  std::vector<Text> texts{
      TEXT(""),
      TEXT("abc"),
      TEXT("\n"),
      TEXT("  two\r\nlines\rand\u2028more\n\n"),
      TEXT("nothing\0in between\0"),
      TEXT("\uFEFFmark"),
      TEXT("\u00E9"),
      TEXT("e\u0301"),
      TEXT("\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFD\uFFFF\U00010000\U0010FFFF"),
      TEXT("\U0001F469\U0001F3FD\u200D\U0001F680 \U0001F1EA\U0001F1FA \u65E5\u672C\u8A9E"),
      letters(textSliceSize),
      letters(textSliceSize + 1),
  };
  // A character of every length, at every place around the end of a slice.
  for (const Text& character : {TEXT("\u00E9"), TEXT("\u20AC"), TEXT("\U0001F600")}) {
    for (std::size_t before = textSliceSize - 4; before <= textSliceSize; ++before) {
      texts.push_back(letters(before) + character + TEXT("z"));
    }
  }

  const TemporaryFolder folder;
  std::vector<std::filesystem::path> files;
  std::vector<DigestMap> digests;
  for (const Text& text : texts) {
    files.push_back(folder.file(std::to_string(files.size()), text.utf8));
    const TextHashComputation result = hashTextCancellableWithByteCount(text.utf16, HashAlgorithmSet::all(), {});
    EXPECT_EQ(result.utf8ByteCount, std::ssize(text.utf8)) << files.back();
    EXPECT_EQ(HashService::utf8ByteCount(text.utf16), result.utf8ByteCount) << files.back();
    EXPECT_EQ(hashTextCancellableWithByteCount(text.utf8, HashAlgorithmSet::all(), {}), result) << files.back();
    digests.push_back(result.hashes);
  }
  for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
    const std::vector<std::string> expected = digestsByOthers(algorithm, files);
    ASSERT_EQ(expected.size(), files.size()) << algorithm.rawValue();
    for (std::size_t i = 0; i < files.size(); ++i) {
      EXPECT_EQ(digests[i].find(algorithm), expected[i]) << algorithm.rawValue() << " of text " << i;
    }
  }
}

TEST(TextHashing, AnySequenceOfUnitsAsTheUnicodeLibraryHasIt) {
  std::mt19937 engine(seedOfThisRun());
  constexpr std::array<std::pair<unsigned, unsigned>, 5> kinds{
      {{0, 0x7F}, {0x80, 0x7FF}, {0xD800, 0xDBFF}, {0xDC00, 0xDFFF}, {0, 0xFFFF}}};
  for (const std::size_t size : {10UL, 1000UL, 16'384UL, 100'000UL, 700'000UL}) {
    std::u16string text;
    while (text.size() < size) {
      const auto& [first, last] = kinds[std::uniform_int_distribution<std::size_t>(0, kinds.size() - 1)(engine)];
      text += static_cast<char16_t>(std::uniform_int_distribution(first, last)(engine));
    }
    std::string expected;
    icu::UnicodeString(text.data(), static_cast<std::int32_t>(text.size())).toUTF8String(expected);
    EXPECT_EQ(hashTextCancellableWithByteCount(text, {HashAlgorithm::crc32}, {}),
              hashTextCancellableWithByteCount(expected, {HashAlgorithm::crc32}, {}))
        << size;
    EXPECT_EQ(HashService::utf8ByteCount(text), std::ssize(expected)) << size;
  }
}

TEST(TextHashing, EmptySelectionFailsAndCancellationComesFirst) {
  std::stop_source source;
  source.request_stop();
  for (const Text& text : {TEXT(""), TEXT("text")}) {
    EXPECT_THROW(hashTextCancellableWithByteCount(text.utf8, {}, {}), HashServiceError);
    EXPECT_THROW(hashTextCancellableWithByteCount(text.utf16, {}, {}), HashServiceError);
    EXPECT_THROW(hashTextCancellableWithByteCount(text.utf8, {}, source.get_token()), CancellationError);
    EXPECT_THROW(hashTextCancellableWithByteCount(text.utf16, {}, source.get_token()), CancellationError);
  }
}

/// A text of many NULs in memory that only its first slice may be read of. Who reads another slice is let into it, but
/// has to stop.
class TrappedText {
 public:
  explicit TrappedText(std::size_t bytesPerSlice) : bytesPerSlice_(bytesPerSlice) {
    start_ = static_cast<char*>(mmap(nullptr, size(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    open(0);
    current = this;
    struct sigaction action {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int, siginfo_t* info, void*) {
      current->open(static_cast<std::size_t>(static_cast<char*>(info->si_addr) - current->start_));
      current->source.request_stop();
    };
    sigaction(SIGSEGV, &action, &before_);
  }
  ~TrappedText() {
    sigaction(SIGSEGV, &before_, nullptr);
    munmap(start_, size());
  }
  TrappedText(const TrappedText&) = delete;
  TrappedText& operator=(const TrappedText&) = delete;

  [[nodiscard]] const char* data() const { return start_; }
  [[nodiscard]] std::size_t size() const { return 4 * bytesPerSlice_; }

  std::stop_source source;
  int slicesOpened = 0;

 private:
  void open(std::size_t offset) {
    if (offset >= size()) std::abort();
    mprotect(start_ + offset / bytesPerSlice_ * bytesPerSlice_, bytesPerSlice_, PROT_READ);
    ++slicesOpened;
  }

  static inline TrappedText* current = nullptr;

  std::size_t bytesPerSlice_;
  char* start_ = nullptr;
  struct sigaction before_ {};
};

TEST(TextHashing, CancellationIsSeenBeforeTheNextSlice) {
  for (const std::size_t unitSize : {sizeof(char), sizeof(char16_t)}) {
    TrappedText text(textSliceSize * unitSize);
    const std::string_view utf8(text.data(), text.size());
    const std::u16string_view utf16(reinterpret_cast<const char16_t*>(text.data()), text.size() / sizeof(char16_t));
    const auto hash = [&](auto units) {
      hashTextCancellableWithByteCount(units, {HashAlgorithm::crc32}, text.source.get_token());
    };
    EXPECT_THROW(unitSize == 1 ? hash(utf8) : hash(utf16), CancellationError);
    EXPECT_EQ(text.slicesOpened, 2) << unitSize;
  }
}

}  // namespace

}  // namespace tallyfold::test
