#include <algorithm>

#include "checksums/forms/Form.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// "digest name", as BSD's `md5 -r` writes it. Eight digits and a name are rather a date or a size than a CRC-32.
bool readOneBlank(const UnreadLine& line, FormEntries& entries) {
  const std::string_view digits = line.text.substr(0, line.text.find(' '));
  const std::string_view name = line.text.substr(std::min(digits.size() + 1, line.text.size()));
  if (name.empty() || name.starts_with(' ') || name.starts_with('*')) return false;
  const auto algorithm = algorithmOfDigits(line, digits, entries);
  if (!algorithm || *algorithm == HashAlgorithm::crc32) return false;
  entries.add(line, std::string(name), *algorithm, digits);
  entries.noteBareDigest();
  return true;
}

}  // namespace

std::unique_ptr<Form> oneBlankForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<FormOfLines<readOneBlank>>();
}

}  // namespace tallyfold::ChecksumManifestService
