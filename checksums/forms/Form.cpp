#include "checksums/forms/Form.h"

#include <algorithm>

#include "core/text/HexText.h"

namespace tallyfold::ChecksumManifestService {

bool isDigestOf(HashAlgorithm algorithm, std::string_view digits) {
  return digits.size() == algorithm.hexLength() && isASCIIHex(digits);
}

std::optional<HashAlgorithm> algorithmOfDigits(const UnreadLine& line, std::string_view digits, FormEntries& entries) {
  const HashAlgorithmSet candidates = HashAlgorithm::withHexLength(digits.size());
  if (candidates.empty() || !isASCIIHex(digits)) return std::nullopt;
  const bool isChosen = line.preferred && candidates.contains(*line.preferred);
  if (candidates.size() == 1 || isChosen) return isChosen ? line.preferred : *candidates.begin();
  if (!line.preferred) entries.noteAmbiguity(candidates);
  return std::nullopt;
}

std::string_view takeWord(std::string_view& text) {
  constexpr std::string_view blanks = " \t";
  const std::string_view word = text.substr(0, text.find_first_of(blanks));
  text.remove_prefix(std::min(text.find_first_not_of(blanks, word.size()), text.size()));
  return word;
}

}  // namespace tallyfold::ChecksumManifestService
