#include <gtest/gtest.h>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "core/Errors.h"
#include "core/HashPipeline.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold {
namespace {

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

DigestMap digestsOf(HashAlgorithmSet algorithms, std::string_view text) {
  HashPipeline pipeline(algorithms);
  pipeline.update(bytesOf(text));
  return pipeline.finalize();
}

// FIPS 180-4, RFC 1321 and the BLAKE3 vectors.
const std::map<HashAlgorithm::Case, std::string> digestsOfNothing{
    {HashAlgorithm::md5, "d41d8cd98f00b204e9800998ecf8427e"},
    {HashAlgorithm::sha1, "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
    {HashAlgorithm::sha224, "d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f"},
    {HashAlgorithm::sha256, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {HashAlgorithm::sha384,
     "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b"},
    {HashAlgorithm::sha512,
     "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a"
     "538"
     "327af927da3e"},
    {HashAlgorithm::blake3, "af1349b9f5f9a1a6a0404dea36dcc9499bcb25c9adc112b7cc9a93cae41f3262"},
    {HashAlgorithm::crc32, "00000000"},
};

TEST(HashPipeline, NothingAtAllGivesTheDigestsOfNothing) {
  const DigestMap neverFed = HashPipeline(HashAlgorithmSet::all()).finalize();
  for (const auto& [algorithm, digest] : digestsOfNothing) EXPECT_EQ(neverFed.find(algorithm), digest);
  EXPECT_EQ(digestsOf(HashAlgorithmSet::all(), ""), neverFed);
}

TEST(HashPipeline, OneChunkOrManyGiveTheSameDigests) {
  const std::string input = test::period251(3000);
  HashPipeline pipeline(HashAlgorithmSet::all());
  for (std::size_t at = 0; at < input.size(); ++at) {
    pipeline.update(bytesOf(input).subspan(at, 1));
    pipeline.update({});
  }
  EXPECT_EQ(pipeline.finalize(), digestsOf(HashAlgorithmSet::all(), input));
}

TEST(HashPipeline, EverySelectionGivesExactlyItsDigests) {
  const DigestMap complete = digestsOf(HashAlgorithmSet::all(), "123456789");
  EXPECT_EQ(complete.find(HashAlgorithm::crc32), "cbf43926");
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

TEST(HashPipeline, EmptySelectionFails) {
  try {
    HashPipeline pipeline({});
    FAIL() << "constructed";
  } catch (const HashServiceError& error) {
    EXPECT_EQ(error.value(), HashServiceError::Case::noAlgorithms);
  }
}

}  // namespace
}  // namespace tallyfold
