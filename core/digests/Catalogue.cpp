#include "core/digests/Catalogue.h"

#include <algorithm>
#include <array>

#include "core/blake3/BLAKE3Stream.h"
#include "core/digests/CRC32.h"
#include "core/digests/PlatformDigest.h"
#include "core/digests/SHA224.h"

namespace tallyfold {

namespace {

using Case = HashAlgorithm::Case;

constexpr std::array<CatalogueRow, HashAlgorithm::count> kCatalogue{{
    {Case::md5, "MD5", "Integrity only", 32, {"MD5"}, kCompatibility, newHasher<PlatformDigest>},
    {Case::sha1, "SHA-1", "Legacy", 40, {"SHA1"}, kCompatibility, newHasher<PlatformDigest>},
    {Case::sha224, "SHA-224", "Secure", 56, {"SHA224"}, kNoPreset, newHasher<SHA224>},
    {Case::sha256, "SHA-256", "Recommended", 64, {"SHA256"}, kRecommended | kCompatibility, newHasher<PlatformDigest>},
    {Case::sha384, "SHA-384", "Recommended", 96, {"SHA384"}, kNoPreset, newHasher<PlatformDigest>},
    {Case::sha512, "SHA-512", "Recommended", 128, {"SHA512"}, kNoPreset, newHasher<PlatformDigest>},
    {Case::blake3, "BLAKE3", "Modern", 64, {"BLAKE3", "B3"}, kRecommended, newHasher<BLAKE3Stream>},
    {Case::crc32, "CRC-32", "Checksum only", 8, {"CRC32"}, kNoPreset, newHasher<CRC32>},
}};

constexpr bool isInOrder() {
  for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
    if (kCatalogue[algorithm].algorithm != algorithm) return false;
  }
  return true;
}
static_assert(isInOrder(), "The rows stand in the order of the cases, and none is missing.");

constexpr bool isFilled(const CatalogueRow& row) {
  return !row.rawValue.empty() && !row.classification.empty() && row.hexLength > 0 && row.hexLength % 2 == 0 &&
         !row.listNames.usual.empty();
}
static_assert(std::all_of(kCatalogue.begin(), kCatalogue.end(), isFilled), "No cell is empty.");

constexpr bool isComparable(std::string_view name) {
  return name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789") == std::string_view::npos;
}
constexpr bool hasComparableNames(const CatalogueRow& row) {
  return isComparable(row.listNames.usual) && isComparable(row.listNames.other);
}
static_assert(std::all_of(kCatalogue.begin(), kCatalogue.end(), hasComparableNames),
              "Labels of lists are compared in upper case and without hyphens.");

constexpr HashAlgorithmSet presetOf(Presets preset) {
  HashAlgorithmSet algorithms;
  for (const CatalogueRow& row : kCatalogue) {
    if ((row.presets & preset) != 0) algorithms.insert(row.algorithm);
  }
  return algorithms;
}

}  // namespace

constinit const HashAlgorithmSet HashAlgorithm::recommended = presetOf(kRecommended);
constinit const HashAlgorithmSet HashAlgorithm::compatibility = presetOf(kCompatibility);

const CatalogueRow& catalogueRow(HashAlgorithm algorithm) { return kCatalogue[algorithm]; }

}  // namespace tallyfold
