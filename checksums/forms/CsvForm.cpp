#include <algorithm>
#include <vector>

#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// The fields of a record (RFC 4180) that is on one line, at most `most`; none for anything else. Quotes stand around
/// whole fields only.
std::optional<std::vector<std::string>> fieldsOf(std::string_view line, char separator, std::size_t most) {
  std::vector<std::string> fields;
  for (std::size_t i = 0;; ++i) {  // At the start of a field.
    if (fields.size() == most) return std::nullopt;
    std::string& field = fields.emplace_back();
    if (line.substr(i).starts_with('"')) {
      for (++i;; ++i) {
        if (i >= line.size()) return std::nullopt;
        if (line[i] == '"' && !line.substr(++i).starts_with('"')) break;
        field += line[i];
      }
    } else {
      const std::size_t end = std::min(line.find(separator, i), line.size());
      field = line.substr(i, end - i);
      if (field.find('"') != field.npos) return std::nullopt;
      i = end;
    }
    if (i >= line.size()) return fields;
    if (line[i] != separator) return std::nullopt;
  }
}

/// A header that names the columns, and a record for each digest: the CSV report of Files mode, and what
/// `Get-FileHash | Export-Csv` writes, in any order of the columns. Records on several lines, of names with line
/// breaks, are not read, nor is a line of theirs taken for a record.
class CsvForm : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    if (columns_ == 0) return takeHeader(line.text);
    const bool wasWithinField = isWithinField_;
    if (std::ranges::count(line.text, '"') % 2 != 0) isWithinField_ = !isWithinField_;
    return wasWithinField || isWithinField_ ? Taking::no : takeRecord(line, entries);
  }

 private:
  Taking takeHeader(std::string_view line) {
    constexpr std::size_t longest = 1000;  // What is longer is no header, and not worth being taken apart.
    if (line.size() > longest) return Taking::no;
    for (const char separator : {',', ';'}) {  // What Export-Csv -UseCulture writes in half of Europe.
      const auto names = fieldsOf(line, separator, longest);
      if (!names) continue;
      const auto placeOf = [&](std::initializer_list<std::string_view> wanted) {
        const auto isWanted = [&](const std::string& name) {
          return std::ranges::find(wanted, lowerCased(trimmed(name))) != wanted.end();
        };
        return static_cast<std::size_t>(std::ranges::find_if(*names, isWanted) - names->begin());
      };
      name_ = placeOf({"file", "path", "filename"});
      algorithm_ = placeOf({"algorithm"});
      digest_ = placeOf({"hash", "checksum"});
      if (std::max({name_, algorithm_, digest_}) >= names->size()) continue;
      columns_ = names->size();
      separator_ = separator;
      return Taking::begun;
    }
    return Taking::no;
  }

  Taking takeRecord(const UnreadLine& line, FormEntries& entries) {
    const auto fields = fieldsOf(line.text, separator_, columns_);
    if (!fields || fields->size() != columns_ || (*fields)[name_].empty()) return Taking::no;
    const auto algorithm = HashAlgorithm::manifestName((*fields)[algorithm_]);
    if (!algorithm || !isDigestOf(*algorithm, (*fields)[digest_])) return Taking::no;
    entries.add(line, (*fields)[name_], *algorithm, (*fields)[digest_]);
    return Taking::yes;
  }

  std::size_t columns_ = 0;     ///< 0 until the header was seen.
  bool isWithinField_ = false;  ///< A field in quotes goes on behind the line.
  char separator_ = ',';
  std::size_t name_ = 0;
  std::size_t algorithm_ = 0;
  std::size_t digest_ = 0;
};

}  // namespace

std::unique_ptr<Form> csvForm(const std::filesystem::path& /*list*/) { return std::make_unique<CsvForm>(); }

}  // namespace tallyfold::ChecksumManifestService
