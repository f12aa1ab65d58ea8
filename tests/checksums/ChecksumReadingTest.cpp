#include "tests/checksums/ChecksumsTest.h"
#include "tests/support/PlainListReader.h"

namespace tallyfold::test {
namespace {

/// Of a list that cannot be loaded, what `attempted` says.
std::vector<std::string> loaded(const fs::path& list) {
  std::vector<std::string> lines;
  const std::string failure = attempted([&] { lines = described(load(list, {})); });
  return failure.empty() ? lines : std::vector{failure};
}

const std::string kEncoding = "error: The checksum file is not valid UTF-8 or UTF-16 text.";
const std::string kLargeSource =
    "error: The checksum file exceeds the 256 MiB source-size limit for interactive verification.";

std::string utf16(std::u16string text, std::endian order, bool hasMark) {
  if (hasMark) text.insert(0, u"\uFEFF");
  if (order != std::endian::native) {
    for (char16_t& unit : text) unit = static_cast<char16_t>(unit << 8 | unit >> 8);
  }
  return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

using ChecksumReading = RootTest;

TEST(UTF16, OrderIsDetectedFromWhateverThereIs) {
  // NUL, plain, another control character, a break, halves of surrogates, of marks and of something else.
  const std::string bytes = "\0a\x01\n\xD8\xDC\xFE\xFF\x4E"s;
  std::vector<std::string> prefixes{""};
  for (std::size_t i = 0; prefixes[i].size() < 5; ++i) {
    const std::string prefix = prefixes[i];
    EXPECT_EQ(detectUTF16Encoding(prefix), orderOf(prefix)) << testing::PrintToString(prefix);
    for (const char byte : bytes) prefixes.push_back(prefix + byte);
  }
}

TEST_F(ChecksumReading, PiecesAndEncodingsAreReadAsInOnePiece) {
  // What comes last is no text.
  const std::vector<std::string> narrow{"\r", "\n",  "\r\n", "\uFEFF",   d32 + "  ",     "a \u00E9\U0001F600", "# x",
                                        "a",  "\0"s, "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"};
  const std::vector<std::u16string> wide{u"\r",
                                         u"\n",
                                         u"\r\n",
                                         u"\uFEFF",
                                         std::u16string(32, u'a') + u"  ",
                                         u"a \u00E9\U0001F600",
                                         u"# x",
                                         u"a",
                                         u"\0"s,
                                         u"\xD83D",
                                         u"\xDE00",
                                         u"\xDE00\xD83D"};
  std::mt19937_64 engine(seedOfThisRun());
  const auto textOf = [&](auto parts, std::size_t size) {
    if (size > 1000 || engine() % 2 == 0) parts.resize(8);
    auto text = parts[0].substr(1);
    while (text.size() < size) text += parts[engine() % parts.size()];
    return text;
  };
  WatchedSystemCalls system;
  int texts = 0;
  int others = 0;
  for (int round = 0; round < 300; ++round) {
    const bool isLong = round % 75 == 0;  // So that it is read on behind the bytes that tell the encoding.
    const std::size_t size = isLong ? 1'500'000 : engine() % 100;
    const auto order = engine() % 2 == 0 ? std::endian::little : std::endian::big;
    std::string bytes = round % 2 == 0 ? textOf(narrow, size) : utf16(textOf(wide, size), order, engine() % 2 == 0);
    if (engine() % 10 == 0) bytes += '\n';
    system.longestRead = isLong ? 4099 : 1 + engine() % 100;
    const auto expected = plainlyRead(bytes, {});
    ++(expected ? texts : others);
    EXPECT_EQ(loaded(folder.file("list", bytes)), expected.value_or(std::vector{kEncoding}))
        << testing::PrintToString(bytes.substr(0, 400));
  }
  EXPECT_GT(std::min(texts, others), 30);
}

TEST_F(ChecksumReading, LargestSourceIsReadAndOneByteMoreIsNot) {
  const fs::path list = folder.file("list", "");
  fs::resize_file(list, maximumSourceSize);
  WatchedSystemCalls system;
  EXPECT_THAT(loaded(list), ElementsAre(kLongLine));
  EXPECT_EQ(std::ranges::count(system.names, "read"), 1) << "A line without an end ends the load at once";

  std::fstream stream(list, std::ios::in | std::ios::out);
  for (int mebibyte = 1; mebibyte <= 256; ++mebibyte) stream.seekp(mebibyte * 1'048'576L - 1).put('\n');
  stream.close();
  EXPECT_EQ(loaded(list).back(), "0 ignored, 256 unsupported");

  // A file that grows meanwhile is not read beyond the limit, whatever its size was.
  std::ofstream(list, std::ios::app) << "a byte and more";
  FileHandle handle = FileHandle::open(list, O_RDONLY);
  EXPECT_THAT([&] { loadUTF8Streaming(handle, maximumSourceSize + 10, "\n", {}, {}); },
              ThrowsMessage<ManifestReadError>(kLargeSource.substr(7)));

  system.names.clear();
  EXPECT_THAT(loaded(list), ElementsAre(kLargeSource));
  EXPECT_THAT(system.names, ElementsAre("stat"));
}

}  // namespace
}  // namespace tallyfold::test
