#include <span>

#include "core/digests/HashPipeline.h"
#include "tests/checksums/ChecksumsTest.h"
#include "tests/support/PlainListReader.h"

namespace tallyfold::test {
namespace {

using Preference = std::optional<HashAlgorithm>;

const std::string ambiguous =
    ": ambiguous 64-character digest; SHA-256 and BLAKE3 cannot be distinguished from GNU format alone.";
const std::string unsupported = ": unsupported checksum format.";

/// A line and what it comes to, as one text: "MD5 <digest> [<name>]", "ignored", or the warning without "Line 7".
struct Line {
  std::string text;
  std::string outcome;
  Preference preferred = {};
  std::int64_t number = 7;
};

void expectOutcomes(const std::vector<Line>& lines) {
  for (const auto& [text, expected, preferred, number] : lines) {
    ParseResult result;
    processLine(text, number, preferred, result);
    EXPECT_EQ(result.unsupportedLineCount, std::ssize(result.warnings));
    EXPECT_EQ(result.entries.size() + result.warnings.size() + static_cast<std::size_t>(result.ignoredLineCount), 1U);
    std::string outcome = "ignored";
    for (const std::string& warning : result.warnings) outcome = warning;
    for (const ChecksumManifestEntry& entry : result.entries) {
      EXPECT_EQ(entry.lineNumber, number);
      outcome = std::string(entry.algorithm.rawValue()) + " " + entry.expectedHash + " [" + entry.relativePath + "]";
    }
    EXPECT_EQ(outcome, (expected.starts_with(':') ? "Line " + std::to_string(number) : "") + expected)
        << "line: " << testing::PrintToString(text);
  }
}

TEST(ChecksumLines, BSDForm) {
  const std::string sha256 = "SHA-256 " + d64;
  expectOutcomes({
      {"MD5 (a) = " + std::string(32, 'A'), "MD5 " + d32 + " [a]"},
      {"sha-256(a) = " + d64, sha256 + " [a]"},
      {" \t SHA256 \u3000 (a) = " + d64, sha256 + " [a]"},
      {"SHA256\u2028(a) = " + d64, unsupported},
      {"B3 (a) = " + d64, "BLAKE3 " + d64 + " [a]", HashAlgorithm::sha256},
      {"CRC32 (a) = 0x" + d8, "CRC-32 " + d8 + " [a]"},
      {"SHA1 (a) = " + d40 + " \t", "SHA-1 " + d40 + " [a]"},
      {"MD5 (a) = " + d32.substr(16) + " " + d32.substr(16), "MD5 " + d32 + " [a]"},
      {"MD5 () = " + d32, "MD5 " + d32 + " []"},
      {"MD5 ( a\\n ) = " + d32, "MD5 " + d32 + " [ a\\n ]"},
      // The tag decides: a digest of another length is no digest of it.
      {"SHA256 (a) = " + d64.substr(1), unsupported},
      {"SHA1 (a) = " + d32, unsupported},
      {"MD5 (a) = ", unsupported},
      {"MD5 (a) = " + d32.substr(1) + "g", unsupported},
      {"\\MD5 (a\\nb) = " + d32, unsupported},  // coreutils, of a name with a line feed
      {"MD5 ) = (" + d32, unsupported},
      {"MD5 (a) = 0x0x" + d32, unsupported},
  });
}

TEST(ChecksumLines, GNUForm) {
  const std::string md5 = "MD5 " + d32;
  expectOutcomes({
      {d32 + "\ta", md5 + " [a]"},
      {d32 + "\t*a", md5 + " [a]"},
      {d32 + "\t a", md5 + " [ a]"},
      {"0X" + std::string(32, 'A') + "  a", md5 + " [a]"},
      {"\\" + d32 + R"(  a\nb\rc\\d\te\)", md5 + " [a\nb\rc\\d\\te\\]"},
      {d32 + R"(  a\nb)", md5 + R"( [a\nb])"},
      {d8 + "  a", "CRC-32 " + d8 + " [a]"},
      {d40 + "  a", "SHA-1 " + d40 + " [a]", HashAlgorithm::md5},
      {d64 + "  a", unsupported, HashAlgorithm::md5},
      {d64 + "  a", ambiguous},
      {"\\" + d64 + " *a", ambiguous},
      {d64 + "\t", ambiguous},
      {d64 + "\t", unsupported, HashAlgorithm::sha256},
      {d64 + " a", unsupported},
      {d32 + " a", unsupported},
      {d32 + "  ", unsupported},
      {d32 + "\u00A0 a", unsupported},
      {d32 + "\u00A0\u00A0a", unsupported},
      {" " + d32 + "  a", unsupported},
      {"\\\\" + d32 + "  a", unsupported},
      {"0x0x" + d32 + "  a", unsupported},
      {d32 + "\xFF  a", unsupported},
  });
}

TEST(ChecksumLines, SFVForm) {
  const std::string crc = "CRC-32 " + d8;
  expectOutcomes({
      {"a \t\u3000 " + d8, crc + " [a]"},
      {"a\u2003" + d8, crc + " [a]"},
      {"caf\u00E9\u00A00x" + d8, crc + " [caf\u00E9]"},
      {"a\xE2\x80 " + d8, crc + " [a\xE2\x80]"},
      {"a \x80\x80 " + d8, crc + " [a \x80\x80]"},
      {d32 + " " + d8, crc + " [" + d32 + "]"},
      {"MD5 (a) = " + d8, crc + " [MD5 (a) =]"},
      {"a " + d8 + " ", unsupported},
      {"a " + d8 + "\u3000", unsupported},
      {"a" + d8, unsupported},
      {" " + d8, unsupported},
      {"a " + d8.substr(1), unsupported},
      {"a 1a2b3cg4", unsupported},
      {"a 0x" + d8.substr(2), unsupported},
  });
}

TEST(ChecksumLines, CommentsBlankLinesAndLineEnds) {
  const std::string md5 = "MD5 " + d32 + " [a]";
  expectOutcomes({
      {"", "ignored"},
      {" \t\u3000\u2028", "ignored"},
      {"\r", "ignored"},
      {";" + d32 + "  a", "ignored"},
      {"; MD5 (a) = " + d32, "ignored"},
      {"; a " + d8, "ignored"},
      {" ; a comment", "ignored"},
      {" ; a " + d8, "CRC-32 " + d8 + " [ ; a]"},
      {"\u00A0# a comment", "ignored"},
      {"#" + d32 + "  a", "ignored"},
      {"# a " + d8, "CRC-32 " + d8 + " [# a]"},
      {d32 + "  a\r", md5},
      {d32 + "  a\r\r", "MD5 " + d32 + " [a\r]"},
      {"\uFEFF" + d32 + "  a", md5, {}, 1},
      {"\uFEFF", "ignored", {}, 1},
      {"\uFEFF; a", "ignored", {}, 1},
      {"\uFEFF" + d32 + "  a", unsupported, {}, 2},
      {"\uFEFF\uFEFF" + d32 + "  a", unsupported, {}, 1},
  });
}

TEST(ChecksumLines, ResultsAddUpAndWarningsEndAtAHundred) {
  ParseResult result;
  for (std::int64_t number = 1; number <= 102; ++number) processLine("what?", number, {}, result);
  for (const char* const line : {"a 1A2B3C4D", "a 1A2B3C4D", "#"}) processLine(line, 103, {}, result);
  EXPECT_EQ(result.unsupportedLineCount, 102);
  EXPECT_EQ(result.ignoredLineCount, 1);
  ASSERT_EQ(result.warnings.size(), 100U);
  EXPECT_EQ(result.warnings.back(), "Line 100: unsupported checksum format.");
  ASSERT_EQ(result.entries.size(), 2U);
  EXPECT_NE(result.entries[0].id, result.entries[1].id);
}

TEST(SingleChecksum, WhatPeoplePaste) {
  const std::string md5 = "MD5 " + d32;
  struct {
    std::string text;
    Preference preferred;
    std::string outcome;
    bool isAmbiguous = false;
  } const pastes[]{
      {d32, HashAlgorithm::sha256, md5},
      {"\n 0X" + std::string(16, 'A') + "\r\n" + std::string(16, 'A') + "\u3000", {}, md5},
      {"AA AA AA AA aa aa aa aa AA AA AA AA aa aa aa aa", {}, md5},
      {d64, {}, "", true},
      {d64, HashAlgorithm::md5, "", true},
      {d64, HashAlgorithm::blake3, "BLAKE3 " + d64, true},
      {d64 + "  a\n", {}, "", true},
      {"\t" + d64 + " *a", HashAlgorithm::sha256, "SHA-256 " + d64, true},
      {"\\" + d64 + "  a\\nb", HashAlgorithm::md5, "", true},
      {"SHA256 (a) = " + d64, HashAlgorithm::blake3, "SHA-256 " + d64},
      {"  blake3 (a) = " + d64 + "\n", {}, "BLAKE3 " + d64},
      {"a b " + d8 + "\n", HashAlgorithm::md5, "CRC-32 " + d8},
      {"", {}, ""},
      {"0x", {}, ""},
      {"0x0x" + d32, {}, ""},
      {d32.substr(1), {}, ""},
      {d64 + " a", {}, ""},
      {"not a checksum", HashAlgorithm::md5, ""},
      {d32 + std::string(65'536 - 32, ' '), {}, md5},
      {d32 + std::string(65'537 - 32, ' '), {}, ""},
      {d64 + std::string(65'536 - 64, ' '), {}, "", true},
      {d64 + std::string(65'537 - 64, ' '), {}, "", false},
  };
  for (const auto& [text, preferred, outcome, isAmbiguous] : pastes) {
    const auto found = extractSingleChecksum(text, preferred);
    EXPECT_EQ(found ? std::string(found->algorithm.rawValue()) + " " + found->expectedHash : "", outcome) << text;
    EXPECT_EQ(isAmbiguousSingleChecksum(text), isAmbiguous) << text;
  }
}

TEST(AlgorithmHint, FollowsFromTheNameOfTheList) {
  const std::vector<std::pair<std::string, Preference>> names{
      {"a.sha256", HashAlgorithm::sha256},
      {"a.b3", HashAlgorithm::blake3},
      {"a.sha-1", HashAlgorithm::sha1},
      {"MD5SUMS.sha512", HashAlgorithm::sha512},
      {"sha-256.txt", HashAlgorithm::sha256},
      {"SHA256SUMS", HashAlgorithm::sha256},
      {"MD5SUMS.txt", HashAlgorithm::md5},
      {"md5sum.txt", HashAlgorithm::md5},
      {"blake3-checksums.txt", HashAlgorithm::blake3},
      {"sha_224 (checksums).asc", HashAlgorithm::sha224},
      {"\xFFsha1sums", HashAlgorithm::sha1},
      {"a.sfv", std::nullopt},
      {"crc32.sfv", HashAlgorithm::crc32},
      {"SHA256SUMS.md5.txt", std::nullopt},
      {"\u00E9md5", std::nullopt},
      {"mysha256sums", std::nullopt},
      {"md5summary", std::nullopt},
      {".sha256", HashAlgorithm::sha256},
      {"sha256.", HashAlgorithm::sha256},
      {"", std::nullopt},
  };
  for (const auto& [name, algorithm] : names) {
    EXPECT_EQ(algorithmHint(fs::path("/md5/x.sha1") / name), algorithm) << name;
    EXPECT_EQ(algorithmHint(name), algorithm) << name;
  }
}

TEST(ListName, IsThatOfAList) {
  for (const char* name :
       {"a.sha256", "a.B3", "a.sha1sum", "x.sfv", "md5sum.txt", "debian-12_SHA512SUMS", "CHECKSUMS", "SHASUMS256.txt",
        "tool_1.2.3_checksums.txt", "checksums_sha256.txt", "a.sha256.txt", "sha256sum-amd64.txt"}) {
    EXPECT_TRUE(isListName(fs::path("/x") / name)) << name;
  }
  for (const char* name : {"", "a", "blake3.c", "md5", "sha256.txt", "SHA256SUMS.gpg", "sum.txt", "SUMS", "a.sum",
                           "a.c.txt", "summary-md5.txt"}) {
    EXPECT_FALSE(isListName(fs::path("/x.md5") / name)) << name;
  }
}

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
  const std::u16string start = std::u16string(32, u'a') + u"  ";
  const std::vector<std::u16string> wide{u"\r",  u"\n", u"\r\n", u"\uFEFF", start,     u"\u00E9\U0001F600",
                                         u"# x", u"a",  u"\0"s,  u"\xD83D", u"\xDE00", u"\xDE00\xD83D"};
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
    if (!expected) continue;
    HashPipeline whole({HashAlgorithm::sha256, HashAlgorithm::blake3});
    whole.update(std::as_bytes(std::span(bytes)));
    EXPECT_EQ(readList(folder.path() / "list", {}, {}).digests, whole.finalize());
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
