#include <utility>
#include <vector>

#include "checksums/forms/Form.h"
#include "core/text/HexText.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// "name digest ...", with one digest or several of any algorithms, as `rhash` writes it. What has a label instead,
/// which may be of an algorithm that is not known, is not read: "BLAKE2b (name) = digest", "SHA3-256(name)= digest",
/// "SHA256: digest".
bool readNameFirst(const UnreadLine& line, FormEntries& entries) {
  std::vector<std::pair<HashAlgorithm, std::string_view>> digests;  // The last first.
  std::string_view name = trimmedAtEnd(line.text);
  for (;;) {
    const std::size_t start = findBehindLastWhiteSpace(name);
    const std::string_view digits = name.substr(start);
    if (start == 0 || trimmedAtEnd(name.substr(0, start)).empty()) break;  // What is left is the name.
    if (HashAlgorithm::withHexLength(digits.size()).empty() || !isASCIIHex(digits)) break;
    name = trimmedAtEnd(name.substr(0, start));
    const bool isLabelled = name.ends_with('=') || name.ends_with(':');
    const auto algorithm = isLabelled ? std::nullopt : algorithmOfDigits(line, digits, entries);
    if (!algorithm || digests.size() == maximumDigestsOfLine) return false;
    digests.emplace_back(*algorithm, digits);
  }
  for (auto digest = digests.rbegin(); digest != digests.rend(); ++digest) {
    entries.add(line, std::string(name), digest->first, digest->second);
    entries.noteBareDigest();
  }
  return !digests.empty();
}

}  // namespace

std::unique_ptr<Form> nameFirstForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<FormOfLines<readNameFirst>>();
}

}  // namespace tallyfold::ChecksumManifestService
