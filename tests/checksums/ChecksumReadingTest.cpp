#include "tests/checksums/ChecksumsTest.h"

namespace tallyfold::test {
namespace {

/// The entries of a list as "ALGORITHM [path]", then its counts.
std::vector<std::string> summary(const ParseResult& result) {
  std::vector<std::string> lines;
  for (const ChecksumManifestEntry& entry : result.entries) {
    lines.push_back(std::to_string(entry.lineNumber) + ": " + std::string(entry.algorithm.rawValue()) + " [" +
                    entry.relativePath + "]");
  }
  lines.push_back(std::to_string(result.ignoredLineCount) + " ignored, " + std::to_string(result.unsupportedLineCount) +
                  " unsupported");
  return lines;
}

/// Of a list that cannot be loaded, what `attempted` says.
std::vector<std::string> loaded(const fs::path& list) {
  std::vector<std::string> lines;
  const std::string failure = attempted([&] { lines = summary(load(list, {})); });
  return failure.empty() ? lines : std::vector{failure};
}

const std::string kEncoding = "error: The checksum file is not valid UTF-8 or UTF-16 text.";
const std::string kLongLine =
    "error: The checksum file contains a line larger than 1 MiB and was rejected to keep memory use bounded.";
const std::string kManyLines =
    "error: The checksum file exceeds the 1,000,000-line limit for interactive verification.";
const std::string kLargeList =
    "error: The checksum file exceeds the safe in-memory manifest limit (100,000 entries or approximately 64 MiB of "
    "retained "
    "entry data).";
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

TEST_F(ChecksumReading, LineBreaksAndEncodings) {
  using enum std::endian;
  const std::string a = d32 + "  a";
  const std::string b = d32 + "  b";
  const std::vector<std::string> both{"1: MD5 [a]", "2: MD5 [b]", "0 ignored, 0 unsupported"};
  const std::u16string text = u"; \u00E9\u4E2D\U0001F600\r\n" + std::u16string(32, u'A') + u"  \u00E9\U0001F600\n";
  const std::vector<std::string> read{"2: MD5 [\u00E9\U0001F600]", "1 ignored, 0 unsupported"};
  const std::vector<std::string> invalid{kEncoding};
  const std::u16string entry = std::u16string(32, u'a') + u"  ";
  const std::vector<std::pair<std::string, std::vector<std::string>>> lists{
      {"", {"0 ignored, 0 unsupported"}},
      {"\n", {"1 ignored, 0 unsupported"}},
      {"\xEF\xBB\xBF", {"1 ignored, 0 unsupported"}},
      {a + "\n" + b + "\n", both},
      {a + "\n" + b, both},
      {a + "\r\n" + b + "\r\n", both},
      {a + "\r" + b + "\r", both},
      {a + "\n\r" + b, {"1: MD5 [a]", "3: MD5 [b]", "1 ignored, 0 unsupported"}},
      {a + "\r\r\n" + b + "\r\r\n", {"1: MD5 [a]", "3: MD5 [b]", "2 ignored, 0 unsupported"}},
      {"\xEF\xBB\xBF" + a + "\n\xEF\xBB\xBF" + b, {"1: MD5 [a]", "0 ignored, 1 unsupported"}},
      {d32 + "  \0\0\n"s, {"1: MD5 [\0\0]"s, "0 ignored, 0 unsupported"}},
      {utf16(text, little, true), read},
      {utf16(text, little, false), read},
      {utf16(text, big, true), read},
      {utf16(text, big, false), read},
      {"\xFF\xFE", {"0 ignored, 0 unsupported"}},
      {utf16(u"\uFEFF", big, true), {"1 ignored, 0 unsupported"}},
      {utf16(text, little, true) + "\n", invalid},
      {utf16(entry + u"\xD83D", big, true), invalid},
      {utf16(entry + u"\xDE00\n", little, true), invalid},
      {utf16(entry + u"\xDE00\xD83D\n", little, true), invalid},
      {d32 + "  \xC3", invalid},
      {d32 + "  \xC0\xAF", invalid},          // overlong
      {d32 + "  \xED\xA0\x80", invalid},      // a surrogate
      {d32 + "  \xF4\x90\x80\x80", invalid},  // beyond the last character
      {"caf\xE9 is Latin 1\n", invalid},
  };
  for (const auto& [content, expected] : lists) {
    EXPECT_EQ(loaded(folder.file("list.txt", content)), expected) << testing::PrintToString(content);
  }
}

TEST(UTF16, OrderIsDetected) {
  using enum std::endian;
  const std::vector<std::pair<std::string, std::optional<std::endian>>> prefixes{
      {"", {}},
      {"\0"s, {}},
      {"\xFF", {}},
      {"\xEF\xBB\xBF", {}},
      {"ab", {}},
      {"\0a\0"s, big},
      {"abc\0"s, little},   // U+6261 and "c", against two characters of which neither is ASCII
      {"\0\0"s, {}},        // as much nothing in either order
      {"\0\x01"s, little},  // U+0100 against a control character
      {"a\0\0b"s, little},  // "a" and U+6200 against U+6100 and "b": the first two bytes decide
      {"ab\0\0"s, {}},
  };
  for (const auto& [prefix, expected] : prefixes) {
    EXPECT_EQ(detectUTF16Encoding(prefix), expected) << testing::PrintToString(prefix);
  }
}

/// What a list comes to when its lines are cut in the plainest way.
ParseResult plainlyParsed(std::string text) {
  for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) text.erase(at, 1);
  std::ranges::replace(text, '\r', '\n');
  ParseResult result;
  std::istringstream lines(text);
  std::int64_t number = 0;
  for (std::string line; std::getline(lines, line);) processLine(line, ++number, {}, result);
  return result;
}

TEST_F(ChecksumReading, PiecesDoNotMatter) {
  std::mt19937_64 engine(seedOfThisRun());
  const std::vector<std::string> parts{"\r", "\n", "\r\n", "\uFEFF", d32 + "  ", "\u00E9\U0001F600", "# x", "a"};
  std::string text = "\uFEFFa";  // Of two marks UTF-8 loses one and UTF-16 both: the first as its own.
  while (text.size() < 1'500'000) text += parts[engine() % parts.size()];
  const std::vector<std::string> expected = summary(plainlyParsed(text));
  ASSERT_GT(expected.size(), 1000U);

  const fs::path list = folder.file("list", text);
  const std::string encoded = outputOf({"iconv", "--from-code=UTF-8", "--to-code=UTF-16BE", list});
  const fs::path wideList = folder.file("wide list", encoded);
  WatchedSystemCalls system;
  for (const std::size_t longest : {262'144UL, 65'537UL, 4099UL}) {
    system.longestRead = longest;
    EXPECT_EQ(loaded(list), expected) << longest;
    EXPECT_EQ(loaded(wideList), expected) << longest;
  }
}

TEST_F(ChecksumReading, LimitsAtTheEdgeAndOnePast) {
  const auto entries = [](std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += d32 + "  a\n";
    return text;
  };
  // An entry with as long a name as a line holds, as many as may be retained, and one with what is left.
  const std::string longest = d32 + "  " + std::string(maximumLineSize - 34, 'a');
  const std::size_t cost = maximumLineSize - 34 + 32 + entryOverhead;
  const std::size_t rest = maximumRetainedSize % cost - 32 - entryOverhead;
  std::string retained;
  for (std::size_t i = 0; i < maximumRetainedSize / cost; ++i) retained += longest + "\n";
  retained += d32 + "  " + std::string(rest, 'a');

  struct {
    std::string what;
    std::string content;
    std::string outcome;  // The last line of it.
  } const lists[]{
      {"lines", std::string(1'000'000, '\n'), "1000000 ignored, 0 unsupported"},
      {"last line without a break", std::string(999'999, '\n') + "x", "999999 ignored, 1 unsupported"},
      {"one line more", std::string(1'000'001, '\n'), kManyLines},
      {"one line more, without a break", std::string(1'000'000, '\n') + "x", kManyLines},
      {"UTF-16, one line more", utf16(std::u16string(1'000'001, u'\n'), std::endian::little, true), kManyLines},
      {"entries", entries(100'000) + "# and a comment", "1 ignored, 0 unsupported"},
      {"one entry more", entries(100'001), kLargeList},
      {"long line", std::string(1'048'576, '#') + "\n", "1 ignored, 0 unsupported"},
      {"longer line", std::string(1'048'577, '#') + "\n", kLongLine},
      {"long line behind another", "\n" + std::string(1'048'576, '#'), "2 ignored, 0 unsupported"},
      {"longer line behind another", "\n" + std::string(1'048'577, '#'), kLongLine},
      {"UTF-16, long line", utf16(std::u16string(524'288, u'#'), std::endian::big, true), "1 ignored, 0 unsupported"},
      {"UTF-16, longer line", utf16(std::u16string(524'289, u'#'), std::endian::big, true), kLongLine},
      {"retained", retained, "0 ignored, 0 unsupported"},
      {"more retained", retained + "a", kLargeList},
  };
  for (const auto& [what, content, outcome] : lists) {
    EXPECT_EQ(loaded(folder.file("list", content)).back(), outcome) << what;
  }
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
  EXPECT_THAT(loaded(list), ElementsAre("0 ignored, 256 unsupported"));

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
