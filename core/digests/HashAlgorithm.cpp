#include "core/digests/HashAlgorithm.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/text/HexText.h"
#include "core/text/UnicodeText.h"

namespace tallyfold {

namespace {

struct Description {
  std::string_view rawValue;
  std::string_view classification;
  std::size_t hexLength;
};

constexpr std::array<Description, HashAlgorithm::count> kDescriptions{{
    {"MD5", "Integrity only", 32},
    {"SHA-1", "Legacy", 40},
    {"SHA-224", "Secure", 56},
    {"SHA-256", "Recommended", 64},
    {"SHA-384", "Recommended", 96},
    {"SHA-512", "Recommended", 128},
    {"BLAKE3", "Modern", 64},
    {"CRC-32", "Checksum only", 8},
}};

constexpr std::array<std::pair<std::string_view, HashAlgorithm::Case>, 9> kManifestNames{{
    {"MD5", HashAlgorithm::md5},
    {"SHA1", HashAlgorithm::sha1},
    {"SHA224", HashAlgorithm::sha224},
    {"SHA256", HashAlgorithm::sha256},
    {"SHA384", HashAlgorithm::sha384},
    {"SHA512", HashAlgorithm::sha512},
    {"BLAKE3", HashAlgorithm::blake3},
    {"B3", HashAlgorithm::blake3},
    {"CRC32", HashAlgorithm::crc32},
}};

}  // namespace

std::string_view HashAlgorithm::rawValue() const { return kDescriptions[value_].rawValue; }

std::string_view HashAlgorithm::classification() const { return kDescriptions[value_].classification; }

std::size_t HashAlgorithm::hexLength() const { return kDescriptions[value_].hexLength; }

std::optional<HashAlgorithm> HashAlgorithm::init(std::string_view rawValue) {
  for (const HashAlgorithm algorithm : allCases()) {
    if (algorithm.rawValue() == rawValue) return algorithm;
  }
  return std::nullopt;
}

std::optional<HashAlgorithm> HashAlgorithm::manifestName(std::string_view label) {
  std::string key = upperCased(label);
  std::erase(key, '-');
  for (const auto& [name, algorithm] : kManifestNames) {
    if (name == key) return algorithm;
  }
  return std::nullopt;
}

std::vector<HashAlgorithm> HashAlgorithm::detect(std::string_view text) {
  const std::string digest = normalizedHex(text);
  std::vector<HashAlgorithm> matches;
  if (!isASCIIHex(digest)) return matches;
  std::ranges::copy_if(allCases(), std::back_inserter(matches),
                       [&](HashAlgorithm algorithm) { return algorithm.hexLength() == digest.size(); });
  return matches;
}

}  // namespace tallyfold
