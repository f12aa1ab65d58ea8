#include "checksums/forms/Form.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// "\SHA256 (a\nb) = digest", as coreutils write names with line breaks or backslashes after --tag.
bool readEscapedTag(const UnreadLine& line, FormEntries& entries) {
  if (!line.text.starts_with('\\')) return false;
  const auto entry = parseBSDLine(line.text.substr(1), line.number);
  if (!entry || entry->relativePath.empty()) return false;
  entries.add(line, unescapeCoreutilsFilename(entry->relativePath), entry->algorithm, entry->expectedHash);
  return true;
}

}  // namespace

std::unique_ptr<Form> escapedTagForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<FormOfLines<readEscapedTag>>();
}

}  // namespace tallyfold::ChecksumManifestService
