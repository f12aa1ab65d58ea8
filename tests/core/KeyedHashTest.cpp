#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <numeric>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "core/KeyedHash.h"
#include "tests/support/CollidingNames.h"
#include "tests/support/Process.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold::test {

namespace {

using Key = std::array<std::uint64_t, 2>;

/// By OpenSSL.
std::uint64_t sipHashByOthers(Key key, const std::string& bytes) {
  EVP_MAC* const method = EVP_MAC_fetch(nullptr, "SIPHASH", nullptr);
  EVP_MAC_CTX* const context = EVP_MAC_CTX_new(method);
  std::size_t size = sizeof(std::uint64_t);
  const std::array parameters{OSSL_PARAM_construct_size_t(OSSL_MAC_PARAM_SIZE, &size), OSSL_PARAM_construct_end()};
  std::uint64_t hash = 0;
  const bool isDone =
      EVP_MAC_init(context, reinterpret_cast<unsigned char*>(key.data()), sizeof key, parameters.data()) == 1 &&
      EVP_MAC_update(context, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()) == 1 &&
      EVP_MAC_final(context, reinterpret_cast<unsigned char*>(&hash), &size, sizeof hash) == 1;
  EXPECT_TRUE(isDone);
  EVP_MAC_CTX_free(context);
  EVP_MAC_free(method);
  return hash;
}

TEST(SipHash, IsThatOfThePaperAndOfOpenSSL) {
  if constexpr (std::endian::native != std::endian::little) GTEST_SKIP() << "the oracle's words are this machine's";
  std::string bytes(15, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  const Key keyOfThePaper{0x0706'0504'0302'0100, 0x0F0E'0D0C'0B0A'0908};
  EXPECT_EQ(sipHash(keyOfThePaper, std::as_bytes(std::span(bytes))), 0xA129'CA61'49BE'45E5);  // Its Appendix A.

  std::mt19937_64 random(seedOfThisRun());
  for (std::size_t size = 0; size < 300; ++size) {
    const Key key{random(), random()};
    bytes = randomBytes(size, static_cast<unsigned>(random()));
    EXPECT_EQ(sipHash(key, std::as_bytes(std::span(bytes))), sipHashByOthers(key, bytes)) << size;
  }
}

TEST(KeyedHash, NamesThatMeetInTheLibraryDoNot) {
  const std::vector<std::string> names = collidingNames("", 12);
  std::set<std::size_t> library;
  std::set<std::size_t> keyed;
  for (const std::string& name : names) {
    library.insert(std::hash<std::string>()(name));
    keyed.insert(KeyedHash()(name));
  }
  EXPECT_EQ(library.size(), 1U);
  EXPECT_EQ(keyed.size(), 4096U);
}

TEST(KeyedHash, IsOfTheProcess) {
  constexpr auto isOther = "TALLYFOLD_TEST_IS_OTHER_PROCESS";
  const std::string hash = "hash " + std::to_string(KeyedHash()("name"));
  if (std::getenv(isOther) != nullptr) {
    std::cout << hash << '\n';
    return;
  }
  setenv(isOther, "", 1);
  const auto self = std::filesystem::read_symlink("/proc/self/exe").native();
  const std::string output = outputOf({self, "--gtest_filter=KeyedHash.IsOfTheProcess"});
  unsetenv(isOther);
  EXPECT_THAT(output, testing::HasSubstr("hash "));
  EXPECT_THAT(output, testing::Not(testing::HasSubstr(hash)));
}

}  // namespace

}  // namespace tallyfold::test
