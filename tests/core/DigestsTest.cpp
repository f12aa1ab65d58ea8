// What each algorithm makes of its input. KernelTest has every length and every way of cutting it.

#include <cstdint>
#include <memory>

#include "core/HashPipeline.h"
#include "core/HexEncoder.h"
#include "core/SHA224.h"
#include "core/blake3/Blake3.h"
#include "tests/core/CoreTest.h"
#include "tests/support/Process.h"

namespace tallyfold::test {

namespace {

using enum HashAlgorithm::Case;

DigestMap digestsOf(HashAlgorithmSet algorithms, std::string_view text) {
  HashPipeline pipeline(algorithms);
  pipeline.update(bytesOf(text));
  return pipeline.finalize();
}

// FIPS 180-4 (NIST, "Example Values"), RFC 1321, RFC 3874, the check value of CRC-32/ISO-HDLC, and the first 32 bytes
// of "hash" in test_vectors.json of the BLAKE3 team's repository.
TEST(Digests, PublishedVectors) {
  const std::string million(1'000'000, 'a');
  struct {
    HashAlgorithm algorithm;
    std::string input;
    std::string digest;
  } const vectors[]{
      {md5, "", "d41d8cd98f00b204e9800998ecf8427e"},
      {sha1, "", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
      {sha224, "", "d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f"},
      {sha224, "abc", "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
      {sha224, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525"},
      {sha224, million, "20794655980c91d8bbb4c1ea97618a4bf03f42581948b2ee4ee7ad67"},
      {sha256, "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {sha384, "", "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b"},
      {sha512, "",
       "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
       "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"},
      {crc32, "", "00000000"},
      {crc32, "123456789", "cbf43926"},
      {blake3, "", "af1349b9f5f9a1a6a0404dea36dcc9499bcb25c9adc112b7cc9a93cae41f3262"},
      {blake3, period251(1), "2d3adedff11b61f14c886e35afa036736dcd87a74d27b5c1510225d0f592e213"},
      {blake3, period251(1024), "42214739f095a406f3fc83deb889744ac00df831c10daa55189b5d121c855af7"},
      {blake3, period251(1025), "d00278ae47eb27b34faecf67b4fe263f82d5412916c1ffd97c8cb7fb814b8444"},
      {blake3, period251(2048), "e776b6028c7cd22a4d0ba182a8bf62205d2ef576467e838ed6f2529b85fba24a"},
      {blake3, period251(102400), "bc3e3d41a1146b069abffad3c0d44860cf664390afce4d9661f7902e7943e085"},
  };
  for (const auto& [algorithm, input, digest] : vectors) {
    EXPECT_EQ(digestsOf({algorithm}, input).find(algorithm), digest) << algorithm.rawValue() << ", " << input.size();
  }
  EXPECT_EQ(HashPipeline(HashAlgorithmSet::all()).finalize(), digestsOf(HashAlgorithmSet::all(), "")) << "never fed";
}

TEST(Digests, EverySelectionGivesExactlyItsDigests) {
  const DigestMap complete = digestsOf(HashAlgorithmSet::all(), "123456789");
  for (unsigned bits = 1; bits < 256; ++bits) {
    HashAlgorithmSet selection;
    for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
      if ((bits >> algorithm & 1U) != 0) selection.insert(algorithm);
    }
    const DigestMap digests = digestsOf(selection, "123456789");
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
  const std::string input = period251(5000);
  const Context context(tf_blake3_create(), tf_blake3_destroy);
  SHA224 hash;
  std::size_t absorbed = 0;
  for (const std::size_t length : {0U, 1U, 63U, 64U, 65U, 1023U, 1024U, 1025U, 2048U, 2049U, 3072U, 4096U, 5000U}) {
    const auto next = bytesOf(input).subspan(absorbed, length - absorbed);
    tf_blake3_update(context.get(), next.data(), next.size());
    hash.update(next);
    absorbed = length;
    const DigestMap expected = digestsOf({blake3, sha224}, std::string_view(input).substr(0, length));
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
  EXPECT_EQ(digestOf(context), digestsOf({blake3}, "").find(blake3));
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
