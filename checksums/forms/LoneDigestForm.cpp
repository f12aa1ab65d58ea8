#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// Nothing but a digest, in a list that is named after its file: "x.iso.sha256".
class LoneDigestForm : public Form {
 public:
  explicit LoneDigestForm(const std::filesystem::path& list) : name_(list.stem().native()) {
    const std::string extension = list.extension().native();
    if (!extension.empty()) algorithm_ = HashAlgorithm::manifestName(std::string_view(extension).substr(1));
    if (!isValidUTF8(name_)) algorithm_.reset();
  }

  Taking take(const UnreadLine& line, FormEntries& /*entries*/) override {
    const std::string_view digits = trimmed(line.text);
    if (!algorithm_ || number_ != 0 || !isDigestOf(*algorithm_, digits)) return Taking::no;
    number_ = line.number;
    digits_ = digits;
    return Taking::begun;
  }

  bool finish(bool isAlone, FormEntries& entries) override {
    if (!isAlone || number_ == 0) return false;
    entries.add({digits_, number_, algorithm_}, name_, *algorithm_, digits_);
    return true;
  }

 private:
  std::string name_;
  std::optional<HashAlgorithm> algorithm_;  ///< That the extension of the list names.
  std::int64_t number_ = 0;                 ///< Of the line; 0 until it was seen.
  std::string digits_;
};

}  // namespace

std::unique_ptr<Form> loneDigestForm(const std::filesystem::path& list) {
  return std::make_unique<LoneDigestForm>(list);
}

}  // namespace tallyfold::ChecksumManifestService
