// The catalogue, and what each algorithm makes of its input. KernelTest has every length and every way of cutting it.

#include "core/blake3/Blake3.h"
#include "core/digests/SHA224.h"
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
    EXPECT_EQ(HashAlgorithm::manifestName(algorithm.rawValue()), algorithm);
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
  EXPECT_EQ(namesOf(HashAlgorithm::recommended, "and"), "SHA-256 and BLAKE3");
  EXPECT_EQ(namesOf(HashAlgorithm::compatibility, "and"), "MD5, SHA-1 and SHA-256");
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

using enum HashAlgorithm::Case;

DigestMap digestsOfText(HashAlgorithmSet algorithms, std::string_view text) {
  HashPipeline pipeline(algorithms);
  pipeline.update(bytesOf(text));
  return pipeline.finalize();
}

TEST(Digests, EverySelectionGivesExactlyItsDigests) {
  EXPECT_EQ(HashPipeline(HashAlgorithmSet::all()).finalize(), digestsOfText(HashAlgorithmSet::all(), ""))
      << "never fed";
  const DigestMap complete = digestsOfText(HashAlgorithmSet::all(), "123456789");
  for (unsigned bits = 1; bits < 1U << HashAlgorithm::count; ++bits) {
    HashAlgorithmSet selection;
    for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
      if ((bits >> algorithm & 1U) != 0) selection.insert(algorithm);
    }
    const DigestMap digests = digestsOfText(selection, "123456789");
    EXPECT_EQ(digests.algorithms(), selection);
    for (const HashAlgorithm algorithm : selection) EXPECT_EQ(digests.find(algorithm), complete.find(algorithm));
  }
}

using Context = std::unique_ptr<tf_blake3, decltype(&tf_blake3_destroy)>;
using Digest = std::array<std::uint8_t, 32>;

std::string digestOf(const Context& context) {
  Digest digest{};
  tf_blake3_finalize(context.get(), digest.data());
  return HexEncoder::string(std::as_bytes(std::span(digest)));
}

TEST(Digests, FinalizingLeavesTheStateAsItWas) {
  const std::string input = randomBytes(5000, 1);
  const Context context(tf_blake3_create(), tf_blake3_destroy);
  SHA224 hash;
  std::size_t absorbed = 0;
  for (const std::size_t length : {0U, 1U, 63U, 64U, 65U, 1023U, 1024U, 1025U, 2048U, 2049U, 3072U, 4096U, 5000U}) {
    const auto next = bytesOf(input).subspan(absorbed, length - absorbed);
    tf_blake3_update(context.get(), next.data(), next.size());
    hash.update(next);
    absorbed = length;
    const DigestMap expected = digestsOfText({blake3, sha224}, std::string_view(input).substr(0, length));
    for (const char* const time : {"once", "again"}) {
      EXPECT_EQ(digestOf(context), expected.find(blake3)) << length << ", " << time;
      EXPECT_EQ(hash.finalize(), expected.find(sha224)) << length << ", " << time;
    }
  }
}

TEST(BLAKE3, NullArgumentsAreTolerated) {
  Digest digest;
  digest.fill(0xAA);
  tf_blake3_finalize(nullptr, digest.data());
  EXPECT_EQ(digest, Digest{});
  tf_blake3_update(nullptr, "abc", 3);
  tf_blake3_destroy(nullptr);

  const Context context(tf_blake3_create(), tf_blake3_destroy);
  tf_blake3_update(context.get(), nullptr, 3);
  tf_blake3_finalize(context.get(), nullptr);
  EXPECT_EQ(digestOf(context), digestsOfText({blake3}, "").find(blake3));
}

TEST(BLAKE3, CompressionGivesAllSixteenWords) {
  constexpr std::array<std::uint32_t, 8> iv{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                            0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  constexpr std::uint32_t chunkStartAndEndAndRoot = 1 | 2 | 8;
  std::array<std::uint32_t, 16> message{0x00636261};
  std::array<std::uint32_t, 16> output{};
  tf_b3_compress(iv.data(), message.data(), 0, 3, chunkStartAndEndAndRoot, output.data());

  std::vector<std::byte> bytes;
  for (const std::uint32_t word : output) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::byte>(word >> shift));
  }
  const TemporaryFolder folder;
  const std::string expected = outputOf({"b3sum", "--no-names", "--length", "64", folder.file("abc", "abc")});
  EXPECT_EQ(HexEncoder::string(bytes) + "\n", expected);
}

}  // namespace

}  // namespace tallyfold::test
