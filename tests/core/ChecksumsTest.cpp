#include <gtest/gtest.h>
#include <numeric>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/CRC32.h"
#include "core/HexEncoder.h"
#include "core/SHA224.h"
#include "tests/core/Oracles.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold {
namespace {

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

std::string sha224Of(std::string_view text) {
  SHA224 hash;
  hash.update(bytesOf(text));
  return hash.finalize();
}

std::string crc32Of(std::string_view text) {
  CRC32 checksum;
  checksum.update(bytesOf(text));
  return HexEncoder::string(checksum.value());
}

// The examples of FIPS 180-4 (NIST, "SHA-224" in Cryptographic Standards and Guidelines, Example Values) and RFC 3874.
TEST(SHA224, PublishedVectors) {
  EXPECT_EQ(sha224Of(""), "d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f");
  EXPECT_EQ(sha224Of("abc"), "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7");
  EXPECT_EQ(sha224Of("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525");
  EXPECT_EQ(sha224Of(std::string(1'000'000, 'a')), "20794655980c91d8bbb4c1ea97618a4bf03f42581948b2ee4ee7ad67");
}

TEST(SHA224, EveryLengthAndEveryCutAsSha224sumHasIt) {
  std::vector<std::size_t> lengths(131);
  std::iota(lengths.begin(), lengths.end(), std::size_t{0});
  const std::vector<std::string> expected = test::digestsByOthers(HashAlgorithm::sha224, lengths);
  ASSERT_EQ(expected.size(), lengths.size());
  for (const std::size_t length : lengths) {
    const std::string input = test::period251(length);
    SHA224 byteByByte;
    for (const std::byte& byte : bytesOf(input)) byteByByte.update({&byte, 1});
    EXPECT_EQ(byteByByte.finalize(), expected[length]) << length << " bytes, one by one";
    for (std::size_t cut = 0; cut <= length; ++cut) {
      SHA224 hash;
      hash.update(bytesOf(input).first(cut));
      const std::string early = hash.finalize();
      EXPECT_EQ(early, expected[cut]) << "finalized early, after " << cut;
      hash.update(bytesOf(input).subspan(cut));
      EXPECT_EQ(hash.finalize(), expected[length]) << length << " bytes, cut at " << cut;
    }
  }
}

TEST(CRC32, KnownChecksums) {
  EXPECT_EQ(crc32Of(""), "00000000");
  EXPECT_EQ(crc32Of("123456789"), "cbf43926");
}

TEST(CRC32, EveryLengthAndEveryCutAsCrc32HasIt) {
  const std::vector<std::size_t> lengths{1, 2, 3, 4, 7, 8, 9, 255, 256, 257, 1000, 65537};
  const std::vector<std::string> expected = test::digestsByOthers(HashAlgorithm::crc32, lengths);
  ASSERT_EQ(expected.size(), lengths.size());
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    const std::string input = test::period251(lengths[i]);
    EXPECT_EQ(crc32Of(input), expected[i]) << lengths[i];
    CRC32 inThree;
    inThree.update(bytesOf(input).first(1));
    inThree.update({});
    inThree.update(bytesOf(input).subspan(1));
    EXPECT_EQ(HexEncoder::string(inThree.value()), expected[i]) << lengths[i];
  }
}

}  // namespace
}  // namespace tallyfold
