#include <unicode/unistr.h>

#include "core/digests/crc32/Kernels.h"
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
  expectAsOthersHaveThem(digests, files);
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

TEST(TextHashing, CancellationIsSeenBeforeTheNextSlice) {
  static std::stop_source source;
  static std::size_t absorbed = 0;
  const crc32::Kernel cancelling{"cancelling", 0, [](std::uint32_t state, const std::byte*, std::size_t size) {
                                   absorbed += size;
                                   source.request_stop();
                                   return state;
                                 }};
  const Text text = letters(3 * textSliceSize);
  const auto expectCancelled = [](auto units) {
    source = {};
    absorbed = 0;
    EXPECT_THROW(hashTextCancellableWithByteCount(units, {HashAlgorithm::crc32}, source.get_token()),
                 CancellationError);
    EXPECT_GT(absorbed, 0);
    EXPECT_LE(absorbed, textSliceSize);
  };
  crc32::kernels.pin(&cancelling);
  expectCancelled(std::string_view(text.utf8));
  expectCancelled(std::u16string_view(text.utf16));
  crc32::kernels.pin(nullptr);
}

}  // namespace

}  // namespace tallyfold::test
