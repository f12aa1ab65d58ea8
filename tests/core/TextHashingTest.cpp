#include <unicode/unistr.h>

#include "core/digests/crc32/Kernels.h"
#include "core/services/TextHashing.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

using HashService::hashTextCancellableWithByteCount;
using HashService::textSliceSize;

std::u16string letters(std::size_t count) { return std::u16string(count, u'a'); }

/// As the Unicode library has it: a surrogate without its partner is the replacement character.
std::string utf8Of(const std::u16string& text) {
  std::string utf8;
  return icu::UnicodeString(text.data(), static_cast<std::int32_t>(text.size())).toUTF8String(utf8);
}

TEST(TextHashing, TextsAsOtherProgramsHaveThem) {
  std::vector<std::u16string> texts{
      u"",
      u"  two\r\nlines\rand\u2028more\n\n",
      u"nothing\0in between\0"s,
      u"\uFEFFmark",
      u"e\u0301 \u00E9",
      u"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFD\uFFFF\U00010000\U0010FFFF",
      letters(textSliceSize),
      letters(textSliceSize + 1),
  };
  // A character of every length, at every place around the end of a slice.
  for (const char16_t* const character : {u"\u00E9", u"\u20AC", u"\U0001F600"}) {
    for (std::size_t before = textSliceSize - 4; before <= textSliceSize; ++before) {
      texts.push_back(letters(before) + character + u"z");
    }
  }
  // Any sequence of units.
  std::mt19937 engine(seedOfThisRun());
  constexpr std::array<std::pair<unsigned, unsigned>, 5> kinds{
      {{0, 0x7F}, {0x80, 0x7FF}, {0xD800, 0xDBFF}, {0xDC00, 0xDFFF}, {0, 0xFFFF}}};
  for (const std::size_t size : {10UL, 1000UL, 16'384UL, 100'000UL, 700'000UL}) {
    std::u16string& text = texts.emplace_back();
    while (text.size() < size) {
      const auto& [first, last] = kinds[std::uniform_int_distribution<std::size_t>(0, kinds.size() - 1)(engine)];
      text += static_cast<char16_t>(std::uniform_int_distribution(first, last)(engine));
    }
  }

  const TemporaryFolder folder;
  std::vector<fs::path> files;
  std::vector<DigestMap> digests;
  for (const std::u16string& text : texts) {
    const std::string utf8 = utf8Of(text);
    files.push_back(folder.file(std::to_string(files.size()), utf8));
    const TextHashComputation result = hashTextCancellableWithByteCount(text, HashAlgorithmSet::all(), {});
    EXPECT_EQ(result.utf8ByteCount, std::ssize(utf8)) << files.back();
    EXPECT_EQ(HashService::utf8ByteCount(text), result.utf8ByteCount) << files.back();
    EXPECT_EQ(hashTextCancellableWithByteCount(utf8, HashAlgorithmSet::all(), {}), result) << files.back();
    digests.push_back(result.hashes);
  }
  expectAsOthersHaveThem(digests, files);
}

TEST(TextHashing, EmptySelectionFailsAndCancellationComesFirst) {
  std::stop_source source;
  source.request_stop();
  for (const std::u16string& text : {u""s, u"text"s}) {
    EXPECT_THROW(hashTextCancellableWithByteCount(utf8Of(text), {}, {}), HashServiceError);
    EXPECT_THROW(hashTextCancellableWithByteCount(text, {}, {}), HashServiceError);
    EXPECT_THROW(hashTextCancellableWithByteCount(utf8Of(text), {}, source.get_token()), CancellationError);
    EXPECT_THROW(hashTextCancellableWithByteCount(text, {}, source.get_token()), CancellationError);
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
  const std::u16string text = letters(3 * textSliceSize);
  const auto expectCancelled = [](const auto& units) {
    source = {};
    absorbed = 0;
    EXPECT_THROW(hashTextCancellableWithByteCount(units, {HashAlgorithm::crc32}, source.get_token()),
                 CancellationError);
    EXPECT_GT(absorbed, 0);
    EXPECT_LE(absorbed, textSliceSize);
  };
  crc32::kernels.pin(&cancelling);
  expectCancelled(utf8Of(text));
  expectCancelled(text);
  crc32::kernels.pin(nullptr);
}

}  // namespace

}  // namespace tallyfold::test
