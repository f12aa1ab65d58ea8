#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <system_error>
#include <unordered_set>

#include "core/BLAKE3Stream.h"
#include "core/DigestMap.h"
#include "core/Errors.h"
#include "core/HashAlgorithm.h"
#include "core/HexEncoder.h"
#include "core/HexText.h"
#include "core/UnicodeText.h"
#include "core/Uuid.h"

namespace tallyfold {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Catalogue, NamesAndLengthsInOrder) {
  std::string table;
  for (const HashAlgorithm algorithm : HashAlgorithmSet::all()) {
    table += std::string(algorithm.rawValue()) + " " + std::to_string(algorithm.hexLength()) + " " +
             std::string(algorithm.classification()) + "\n";
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
}

TEST(Catalogue, RawValueIsReadExactly) {
  for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
    EXPECT_EQ(HashAlgorithm::init(algorithm.rawValue()), algorithm);
  }
  for (const char* const other : {"sha256", "SHA256", "sha-256", "SHA-256 ", "", "SHA-2"}) {
    EXPECT_EQ(HashAlgorithm::init(other), std::nullopt) << other;
  }
}

TEST(Catalogue, Presets) {
  EXPECT_EQ(HashAlgorithm::recommended, (HashAlgorithmSet{HashAlgorithm::blake3, HashAlgorithm::sha256}));
  EXPECT_EQ(HashAlgorithm::compatibility,
            (HashAlgorithmSet{HashAlgorithm::sha256, HashAlgorithm::sha1, HashAlgorithm::md5}));
}

TEST(Catalogue, LabelsOfChecksumLists) {
  const std::vector<std::pair<std::string, std::optional<HashAlgorithm>>> labels{
      {"b3", HashAlgorithm::blake3},
      {"Blake3", HashAlgorithm::blake3},
      {"SHA-512", HashAlgorithm::sha512},
      {"s-h-a-1-", HashAlgorithm::sha1},
      {"Sha256", HashAlgorithm::sha256},
      {"sha-384", HashAlgorithm::sha384},
      {"sha224", HashAlgorithm::sha224},
      {"md5", HashAlgorithm::md5},
      {"crc-32", HashAlgorithm::crc32},
      {"\u017Fha1", HashAlgorithm::sha1},  // The long s is an S in upper case.
      {" MD5", std::nullopt},
      {"SHA2-256", std::nullopt},
      {"CRC", std::nullopt},
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

TEST(UnicodeText, UpperCase) {
  EXPECT_EQ(upperCased("a-z{`1"), "A-Z{`1");
  EXPECT_EQ(upperCased("stra\u00DFe \xC3x"), "STRASSE \xC3X");
}

TEST(HexEncoder, BytesAndNumbers) {
  EXPECT_EQ(HexEncoder::string(std::vector<std::byte>{}), "");
  EXPECT_EQ(HexEncoder::string(std::vector{std::byte{0x00}, std::byte{0xFF}, std::byte{0x1e}}), "00ff1e");
  EXPECT_EQ(HexEncoder::string(0x00c0ffeeU), "00c0ffee");
}

TEST(DigestMap, DigestsOfAllAlgorithmsInAnyOrder) {
  const auto digest = [](HashAlgorithm algorithm, int salt) {
    return std::string(algorithm.hexLength(), static_cast<char>('a' + algorithm + salt));
  };
  DigestMap forwards;
  DigestMap backwards;
  const auto all = HashAlgorithm::allCases();
  for (const HashAlgorithm algorithm : all) forwards.insert(algorithm, digest(algorithm, 0));
  for (auto algorithm = all.rbegin(); algorithm != all.rend(); ++algorithm) {
    EXPECT_EQ(backwards.find(*algorithm), std::nullopt);
    backwards.insert(*algorithm, digest(*algorithm, 0));
  }
  EXPECT_EQ(forwards, backwards);
  EXPECT_EQ(forwards.size(), 8U);

  forwards.insert(HashAlgorithm::sha384, digest(HashAlgorithm::sha384, 9));
  EXPECT_NE(forwards, backwards);
  for (const HashAlgorithm algorithm : all) {
    EXPECT_EQ(forwards.find(algorithm), digest(algorithm, algorithm == HashAlgorithm::sha384 ? 9 : 0));
  }
}

TEST(Errors, SentencesForTheUser) {
  namespace fs = std::filesystem;
  using Case = HashServiceError::Case;
  const std::error_code denied(EACCES, std::generic_category());
  const std::vector<std::pair<std::exception_ptr, std::string>> errors{
      {std::make_exception_ptr(HashServiceError(Case::notRegularFile)), "The selected item is not a regular file."},
      {std::make_exception_ptr(HashServiceError(Case::noAlgorithms)), "Select at least one checksum algorithm."},
      {std::make_exception_ptr(HashServiceError(Case::fileChangedDuringRead)),
       "The file changed while it was being read. Run the operation again on a stable file."},
      {std::make_exception_ptr(BLAKE3Stream::Error(BLAKE3Stream::Error::allocationFailed)),
       "BLAKE3 could not allocate its hashing context."},
      {std::make_exception_ptr(std::system_error(denied, "reading")), "Permission denied"},
      {std::make_exception_ptr(fs::filesystem_error("canonical", "/a", denied)), "Permission denied"},
      {std::make_exception_ptr(std::bad_alloc()), "Cannot allocate memory"},
      {std::make_exception_ptr(std::runtime_error("A sentence.")), "A sentence."},
  };
  for (const auto& [error, sentence] : errors) EXPECT_EQ(errorDescription(error), sentence);
}

TEST(Uuid, RandomOnesDifferAndHaveTheTextForm) {
  std::unordered_set<Uuid> ids;
  for (int i = 0; i < 100; ++i) {
    const Uuid id = Uuid::random();
    EXPECT_THAT(id.string(),
                testing::MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_TRUE(ids.insert(id).second);
  }
  EXPECT_EQ(Uuid(), Uuid());
  EXPECT_EQ(Uuid().string(), "00000000-0000-0000-0000-000000000000");
}

}  // namespace
}  // namespace tallyfold
