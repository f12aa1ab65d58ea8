#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// The table that `Get-FileHash` shows: names of columns, dashes, and a line for each file. What it cut off to fit the
/// window, a digest or a name, is not read.
class FileHashTableForm : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    std::string_view rest = trimmedAtEnd(line.text);
    const std::string_view first = takeWord(rest);
    const std::string_view second = takeWord(rest);
    const bool isRule = first == "---------" && second == "----" && rest == "----";
    if (isRule || (first == "Algorithm" && second == "Hash" && rest == "Path")) {
      isWithin_ = true;
      return Taking::begun;
    }
    const auto algorithm = isWithin_ ? HashAlgorithm::manifestName(first) : std::nullopt;
    const bool isCut = rest.ends_with("...") || rest.ends_with("\u2026");
    if (!algorithm || !isDigestOf(*algorithm, second) || rest.empty() || isCut) return Taking::no;
    entries.add(line, std::string(rest), *algorithm, second);
    return Taking::yes;
  }

 private:
  bool isWithin_ = false;  ///< The names of the columns were seen.
};

}  // namespace

std::unique_ptr<Form> fileHashTableForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<FileHashTableForm>();
}

}  // namespace tallyfold::ChecksumManifestService
