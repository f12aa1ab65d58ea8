#include <utility>

#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// What `Get-FileHash | Format-List` writes: three lines for each file, "Algorithm : SHA256", "Hash : digest" and
/// "Path : name".
class FileHashListForm : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    constexpr std::string_view separator = ": ";
    const std::size_t end = line.text.find(separator);
    const std::string_view key = trimmedAtEnd(line.text.substr(0, end));
    const std::string_view value = end == line.text.npos ? "" : trimmedAtEnd(line.text.substr(end + separator.size()));
    if (!algorithm_) {
      if (key == "Algorithm") algorithm_ = HashAlgorithm::manifestName(value);
      digits_.clear();
      return algorithm_ ? Taking::begun : Taking::no;
    }
    if (key == "Hash" && digits_.empty() && isDigestOf(*algorithm_, value)) {
      digits_ = value;
      return Taking::begun;
    }
    const HashAlgorithm algorithm = *std::exchange(algorithm_, std::nullopt);
    if (key != "Path" || value.empty() || digits_.empty()) return Taking::givenUp;
    entries.add(line, std::string(value), algorithm, digits_);
    return Taking::yes;
  }

 private:
  std::optional<HashAlgorithm> algorithm_;  ///< Of the record that was begun.
  std::string digits_;                      ///< Its digest, once that was seen.
};

}  // namespace

std::unique_ptr<Form> fileHashListForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<FileHashListForm>();
}

}  // namespace tallyfold::ChecksumManifestService
