#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/HexEncoder.h"
#include "core/blake3/Blake3.h"
#include "tests/core/Oracles.h"
#include "tests/support/Process.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold {
namespace {

using Digest = std::array<std::uint8_t, 32>;
using Context = std::unique_ptr<tf_blake3, decltype(&tf_blake3_destroy)>;

Context newContext() { return {tf_blake3_create(), tf_blake3_destroy}; }

std::string digestOf(const Context& context) {
  Digest digest{};
  tf_blake3_finalize(context.get(), digest.data());
  return HexEncoder::string(std::as_bytes(std::span(digest)));
}

void update(const Context& context, std::string_view bytes) {
  tf_blake3_update(context.get(), bytes.data(), bytes.size());
}

std::string blake3Of(std::string_view bytes) {
  const Context context = newContext();
  update(context, bytes);
  return digestOf(context);
}

/// Around the edges of blocks, chunks and subtrees.
const std::vector<std::size_t> lengths{0,    1,    2,    3,    4,    5,    6,     7,     8,     63,
                                       64,   65,   127,  128,  129,  191,  192,   1023,  1024,  1025,
                                       1087, 1088, 1089, 2047, 2048, 2049, 3071,  3072,  3073,  4095,
                                       4096, 4097, 5120, 6145, 7168, 8192, 16384, 31744, 102400};

// The first 32 bytes of "hash" in test_vectors.json of the BLAKE3 team's repository.
const std::map<std::size_t, std::string> published{
    {0, "af1349b9f5f9a1a6a0404dea36dcc9499bcb25c9adc112b7cc9a93cae41f3262"},
    {1, "2d3adedff11b61f14c886e35afa036736dcd87a74d27b5c1510225d0f592e213"},
    {1024, "42214739f095a406f3fc83deb889744ac00df831c10daa55189b5d121c855af7"},
    {1025, "d00278ae47eb27b34faecf67b4fe263f82d5412916c1ffd97c8cb7fb814b8444"},
    {2048, "e776b6028c7cd22a4d0ba182a8bf62205d2ef576467e838ed6f2529b85fba24a"},
    {102400, "bc3e3d41a1146b069abffad3c0d44860cf664390afce4d9661f7902e7943e085"},
};

TEST(BLAKE3, PublishedVectors) {
  for (const auto& [length, digest] : published) EXPECT_EQ(blake3Of(test::period251(length)), digest) << length;
}

TEST(BLAKE3, EveryLengthAsB3sumHasIt) {
  const std::vector<std::string> expected = test::digestsByOthers(HashAlgorithm::blake3, lengths);
  ASSERT_EQ(expected.size(), lengths.size());
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    EXPECT_EQ(blake3Of(test::period251(lengths[i])), expected[i]) << lengths[i] << " bytes";
  }
}

TEST(BLAKE3, AnyWayOfCuttingTheInputGivesTheSameDigest) {
  const std::string input = test::period251(10 * 1024 + 1);
  std::mt19937 engine(test::seedOfThisRun());
  for (const std::size_t length : lengths) {
    if (length > input.size()) continue;
    const std::string_view bytes = std::string_view(input).substr(0, length);
    const std::string expected = blake3Of(bytes);

    const Context byteByByte = newContext();
    for (std::size_t i = 0; i < length; ++i) update(byteByByte, bytes.substr(i, 1));
    EXPECT_EQ(digestOf(byteByByte), expected) << length << " bytes, one by one";

    for (const std::size_t cut : lengths) {
      if (cut > length) break;
      const Context inTwo = newContext();
      update(inTwo, bytes.substr(0, cut));
      update(inTwo, bytes.substr(cut));
      EXPECT_EQ(digestOf(inTwo), expected) << length << " bytes, cut at " << cut;
    }

    const Context anyhow = newContext();
    for (std::size_t at = 0; at < length;) {
      const std::size_t taken = std::uniform_int_distribution<std::size_t>(0, 1500)(engine);
      update(anyhow, bytes.substr(at, taken));
      at += taken;
    }
    EXPECT_EQ(digestOf(anyhow), expected) << length << " bytes, cut at random";
  }
}

TEST(BLAKE3, FinalizeLeavesTheContextAsItWas) {
  const std::string input = test::period251(5000);
  const Context context = newContext();
  std::size_t absorbed = 0;
  for (const std::size_t length : lengths) {
    if (length > input.size()) break;
    update(context, std::string_view(input).substr(absorbed, length - absorbed));
    absorbed = length;
    const std::string expected = blake3Of(std::string_view(input).substr(0, length));
    EXPECT_EQ(digestOf(context), expected) << length;
    EXPECT_EQ(digestOf(context), expected) << length << ", again";
  }
}

TEST(BLAKE3, NullArgumentsAreTolerated) {
  Digest digest;
  digest.fill(0xAA);
  tf_blake3_finalize(nullptr, digest.data());
  EXPECT_EQ(digest, Digest{});
  tf_blake3_update(nullptr, "abc", 3);
  tf_blake3_destroy(nullptr);

  const Context context = newContext();
  tf_blake3_update(context.get(), nullptr, 3);
  tf_blake3_finalize(context.get(), nullptr);
  EXPECT_EQ(digestOf(context), published.at(0));
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
  const test::TemporaryFolder folder;
  const std::string expected = test::outputOf({"b3sum", "--no-names", "--length", "64", folder.file("abc", "abc")});
  EXPECT_EQ(HexEncoder::string(bytes) + "\n", expected);
}

}  // namespace
}  // namespace tallyfold
