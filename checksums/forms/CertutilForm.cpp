#include <utility>

#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// What `certutil -hashfile` writes: "SHA256 hash of name:", the digest, in older versions with a blank between its
/// bytes, and a line that says that it went well.
class CertutilForm : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    const std::string_view text = trimmedAtEnd(line.text);
    if (name_.empty()) {
      if (isBehindDigest_ && text.starts_with("CertUtil: ")) {
        isBehindDigest_ = false;
        return Taking::yes;
      }
      isBehindDigest_ = false;
      return takeTitle(text) ? Taking::begun : Taking::no;
    }
    const std::string name = std::exchange(name_, {});
    const std::string digits = withoutWhiteSpace(text);
    if (!isDigestOf(algorithm_, digits)) return Taking::givenUp;
    entries.add(line, name, algorithm_, digits);
    isBehindDigest_ = true;
    return Taking::yes;
  }

 private:
  bool takeTitle(std::string_view text) {
    const std::string_view tag = takeWord(text);
    const auto algorithm = HashAlgorithm::manifestName(tag);
    // The longer one first: the shorter one begins it.
    for (const std::string_view words : {"hash of file ", "hash of "}) {
      if (!algorithm || !text.starts_with(words) || !text.ends_with(':')) continue;
      algorithm_ = *algorithm;
      name_ = text.substr(words.size(), text.size() - words.size() - 1);
      return !name_.empty();
    }
    return false;
  }

  HashAlgorithm algorithm_ = HashAlgorithm::end;
  std::string name_;             ///< Of the file whose digest comes next; empty otherwise.
  bool isBehindDigest_ = false;  ///< The line before was a digest.
};

}  // namespace

std::unique_ptr<Form> certutilForm(const std::filesystem::path& /*list*/) { return std::make_unique<CertutilForm>(); }

}  // namespace tallyfold::ChecksumManifestService
