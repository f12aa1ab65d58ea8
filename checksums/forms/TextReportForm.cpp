#include "checksums/forms/Form.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// "SHA-256  digest  path", as the plain text report of Files mode has it.
bool readTextReport(const UnreadLine& line, FormEntries& entries) {
  constexpr std::string_view separator = "  ";
  const std::size_t endOfTag = line.text.find(separator);
  if (endOfTag == line.text.npos) return false;
  const auto algorithm = HashAlgorithm::init(line.text.substr(0, endOfTag));
  if (!algorithm) return false;
  const std::string_view rest = line.text.substr(endOfTag + separator.size());
  const std::string_view digits = rest.substr(0, algorithm->hexLength());
  if (!isDigestOf(*algorithm, digits) || !rest.substr(digits.size()).starts_with(separator)) return false;
  const std::string_view path = rest.substr(digits.size() + separator.size());
  if (path.empty()) return false;
  entries.add(line, std::string(path), *algorithm, digits);
  return true;
}

}  // namespace

std::unique_ptr<Form> textReportForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<FormOfLines<readTextReport>>();
}

}  // namespace tallyfold::ChecksumManifestService
