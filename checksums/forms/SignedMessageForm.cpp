#include <algorithm>

#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// The armour of a cleartext signature (RFC 9580, section 7) around a list. The list's own lines are not touched.
class SignedMessageForm : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    const std::string_view text = trimmedAtEnd(line.text);
    if (part_ == Part::signature) return takeOfSignature(text, entries);
    if (text == "-----BEGIN PGP SIGNED MESSAGE-----" && part_ == Part::none) {
      part_ = Part::message;
      headerEnd_ = line.number + 1;
      return Taking::begun;
    }
    if (part_ == Part::none) return Taking::no;
    if (text == "-----BEGIN PGP SIGNATURE-----") {
      part_ = Part::signature;
      return Taking::begun;
    }
    if (line.number != headerEnd_ || !text.starts_with("Hash: ")) return Taking::no;
    ++headerEnd_;
    return Taking::begun;
  }

 private:
  enum class Part { none, message, signature };

  Taking takeOfSignature(std::string_view text, FormEntries& entries) {
    if (text == "-----END PGP SIGNATURE-----") {
      part_ = Part::none;
      entries.noteSignature();
      return Taking::yes;
    }
    if (isBase64(text) || isHeader(text)) return Taking::begun;
    part_ = Part::none;
    return Taking::givenUp;
  }

  static bool isBase64(std::string_view text) {
    return text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=") == text.npos;
  }

  /// "Version: ...", "Comment: ..."
  static bool isHeader(std::string_view text) {
    return std::ranges::any_of(std::initializer_list<std::string_view>{"Version: ", "Comment: ", "Hash: ", "Charset: "},
                               [&](std::string_view key) { return text.starts_with(key); });
  }

  Part part_ = Part::none;
  std::int64_t headerEnd_ = 0;  ///< The number of the first line that is no header, as far as is known.
};

}  // namespace

std::unique_ptr<Form> signedMessageForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<SignedMessageForm>();
}

}  // namespace tallyfold::ChecksumManifestService
