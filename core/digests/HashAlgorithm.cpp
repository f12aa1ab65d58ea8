#include "core/digests/HashAlgorithm.h"

#include <set>

#include "core/digests/Catalogue.h"
#include "core/text/HexText.h"
#include "core/text/UnicodeText.h"

namespace tallyfold {

std::string_view HashAlgorithm::rawValue() const { return catalogueRow(*this).rawValue; }

std::string_view HashAlgorithm::listName() const { return catalogueRow(*this).listNames.usual; }

std::string HashAlgorithm::listFileName() const {
  const ListNames& names = catalogueRow(*this).listNames;
  return std::string(names.other.empty() ? names.usual : names.other) + "SUMS";
}

std::string_view HashAlgorithm::classification() const { return catalogueRow(*this).classification; }

std::size_t HashAlgorithm::hexLength() const { return catalogueRow(*this).hexLength; }

HashAlgorithmSet HashAlgorithm::withHexLength(std::size_t hexLength) {
  HashAlgorithmSet algorithms;
  for (const HashAlgorithm algorithm : allCases()) {
    if (catalogueRow(algorithm).hexLength == hexLength) algorithms.insert(algorithm);
  }
  return algorithms;
}

std::vector<HashAlgorithmSet> HashAlgorithm::withSameHexLength() {
  std::set<std::size_t> lengths;
  for (const HashAlgorithm algorithm : allCases()) lengths.insert(algorithm.hexLength());
  std::vector<HashAlgorithmSet> sets;
  for (const std::size_t length : lengths) {
    const HashAlgorithmSet algorithms = withHexLength(length);
    if (algorithms.size() > 1) sets.push_back(algorithms);
  }
  return sets;
}

std::optional<HashAlgorithm> HashAlgorithm::init(std::string_view rawValue) {
  for (const HashAlgorithm algorithm : allCases()) {
    if (algorithm.rawValue() == rawValue) return algorithm;
  }
  return std::nullopt;
}

std::optional<HashAlgorithm> HashAlgorithm::manifestName(std::string_view label) {
  std::string key = upperCased(label);
  std::erase(key, '-');
  if (key.empty()) return std::nullopt;
  for (const HashAlgorithm algorithm : allCases()) {
    const ListNames& names = catalogueRow(algorithm).listNames;
    if (key == names.usual || key == names.other) return algorithm;
  }
  return std::nullopt;
}

std::vector<HashAlgorithm> HashAlgorithm::detect(std::string_view text) {
  const std::string digest = normalizedHex(text);
  if (!isASCIIHex(digest)) return {};
  const HashAlgorithmSet matches = withHexLength(digest.size());
  return {matches.begin(), matches.end()};
}

std::string namesOf(HashAlgorithmSet algorithms, std::string_view conjunction) {
  std::string names;
  std::size_t following = algorithms.size();
  for (const HashAlgorithm algorithm : algorithms) {
    names += algorithm.rawValue();
    if (--following > 1) names += ", ";
    if (following == 1) names.append(" ").append(conjunction).append(" ");
  }
  return names;
}

}  // namespace tallyfold
