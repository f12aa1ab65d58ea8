#include "core/text/HexText.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

TEST(Catalogue, NamesAndLengthsInOrder) {
  std::string table;
  for (const HashAlgorithm algorithm : HashAlgorithmSet::all()) {
    table += std::string(algorithm.rawValue()) + " " + std::to_string(algorithm.hexLength()) + " " +
             std::string(algorithm.classification()) + "\n";
    EXPECT_EQ(HashAlgorithm::init(algorithm.rawValue()), algorithm);
  }
  EXPECT_EQ(table,
            "MD5 32 Integrity only\n"
            "SHA-1 40 Legacy\n"
            "SHA-224 56 Secure\n"
            "SHA-256 64 Recommended\n"
            "SHA-384 96 Recommended\n"
            "SHA-512 128 Recommended\n"
            "BLAKE3 64 Modern\n"
            "CRC-32 8 Checksum only\n");
  for (const char* const other : {"sha256", "SHA-256 ", ""}) EXPECT_EQ(HashAlgorithm::init(other), std::nullopt);
}

TEST(Catalogue, LabelsOfChecksumLists) {
  const std::vector<std::pair<std::string, std::optional<HashAlgorithm>>> labels{
      {"b3", HashAlgorithm::blake3},
      {"Blake3", HashAlgorithm::blake3},
      {"s-h-a-1-", HashAlgorithm::sha1},
      {"sha-384", HashAlgorithm::sha384},
      {"crc-32", HashAlgorithm::crc32},
      {"\u017Fha1", HashAlgorithm::sha1},  // The long s is an S in upper case.
      {" MD5", std::nullopt},
      {"SHA2-256", std::nullopt},
      {"BLAKE3-256", std::nullopt},
      {"", std::nullopt},
      {"MD5\xFF", std::nullopt},
  };
  for (const auto& [label, algorithm] : labels) EXPECT_EQ(HashAlgorithm::manifestName(label), algorithm) << label;
}

TEST(Catalogue, DetectionByLength) {
  const auto digits = [](std::size_t count) { return std::string(count, 'a'); };
  EXPECT_THAT(HashAlgorithm::detect("  0xABCDEF12\n"), ElementsAre(HashAlgorithm::crc32));
  EXPECT_THAT(HashAlgorithm::detect(digits(40)), ElementsAre(HashAlgorithm::sha1));
  EXPECT_THAT(HashAlgorithm::detect(digits(64)), ElementsAre(HashAlgorithm::sha256, HashAlgorithm::blake3));
  EXPECT_THAT(HashAlgorithm::detect(digits(64) + "\u3000" + digits(64)), ElementsAre(HashAlgorithm::sha512));
  for (const std::string& text : {std::string(), std::string("0x"), digits(63), digits(63) + "g", "0x0x" + digits(60),
                                  digits(7) + "\u0430" /* a Cyrillic letter that looks right */}) {
    EXPECT_THAT(HashAlgorithm::detect(text), IsEmpty()) << text;
  }
}

TEST(HexText, Normalisation) {
  const std::vector<std::pair<std::string, std::string>> texts{
      {"AB CD", "abcd"},
      {"ab cd\tef", "abcdef"},
      {" \r\n0XAB\v\f", "ab"},
      {"0 xAB", "ab"},
      {"0x0xab", "0xab"},
      {"", ""},
      {" \n ", ""},
      {"\u00A0AB\u2003CD\u2028EF\u0085", "abcdef"},
      {"\u200BAB", "\u200Bab"},  // Zero width space: not white space, in spite of its name.
      {"\u001CAB", "\u001Cab"},  // An information separator is not white space either.
      {"\u00C4\u0130", "\u00E4i\u0307"},
      {"\xFF\u00A0"
       "A\xC3 \xE2\x80",
       "\xFF"
       "a\xC3\xE2\x80"},  // Ill-formed bytes stay.
  };
  for (const auto& [text, normalized] : texts) EXPECT_EQ(normalizedHex(text), normalized) << text;
}

TEST(HexText, ASCIIHexDigits) {
  for (const char* const text : {"", "0123456789abcdefABCDEF"}) EXPECT_TRUE(isASCIIHex(text)) << text;
  for (const char* const text : {"g", "/", ":", "@", "G", "`", " a", "a\n", "\u0661", "\xFF"}) {
    EXPECT_FALSE(isASCIIHex(text)) << text;
  }
  EXPECT_FALSE(isASCIIHex(std::string_view("ab\0", 3)));
}

}  // namespace

}  // namespace tallyfold::test
