#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// The algorithm that `openssl dgst` means: by the names of OpenSSL 3, "SHA2-256", and by those of older ones.
std::optional<HashAlgorithm> algorithmNamed(std::string_view tag) {
  constexpr std::string_view family = "SHA2-";
  if (!tag.starts_with(family)) return HashAlgorithm::manifestName(tag);
  // The part after the family alone: not "SHA2-SHA1", nor "SHA2-1".
  const std::string_view bits = tag.substr(family.size());
  if (bits.size() != 3) return std::nullopt;
  return HashAlgorithm::manifestName("SHA" + std::string(bits));
}

/// "SHA2-256(name)= digest", as `openssl dgst` writes it.
bool readOpenssl(const UnreadLine& line, FormEntries& entries) {
  constexpr std::string_view separator = ")= ";
  const std::size_t open = line.text.find('(');
  const std::size_t close = line.text.rfind(separator);
  if (open == line.text.npos || close == line.text.npos || close <= open + 1) return false;
  const auto algorithm = algorithmNamed(line.text.substr(0, open));
  const std::string_view digits = trimmedAtEnd(line.text.substr(close + separator.size()));
  if (!algorithm || !isDigestOf(*algorithm, digits)) return false;
  entries.add(line, std::string(line.text.substr(open + 1, close - open - 1)), *algorithm, digits);
  return true;
}

}  // namespace

std::unique_ptr<Form> opensslForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<FormOfLines<readOpenssl>>();
}

}  // namespace tallyfold::ChecksumManifestService
