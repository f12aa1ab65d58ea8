#include "tests/checksums/ChecksumsTest.h"

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

}  // namespace
}  // namespace tallyfold::test
