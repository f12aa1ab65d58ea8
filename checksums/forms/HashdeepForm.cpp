#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>
#include <vector>

#include "checksums/forms/Form.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// What `hashdeep` writes: a header that names the columns, then a line for each file, the name last.
class HashdeepForm : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    constexpr std::string_view mark = "%%%% ";
    if (!line.text.starts_with(mark)) return columns_.empty() ? Taking::no : takeFile(line, entries);
    const std::string_view header = line.text.substr(mark.size());
    if (header.starts_with("HASHDEEP-1.")) return Taking::begun;
    return takeColumns(header) ? Taking::begun : Taking::no;
  }

 private:
  /// "size,md5,sha256,filename". Algorithms that are not known have their column all the same.
  bool takeColumns(std::string_view header) {
    constexpr std::string_view first = "size,";
    constexpr std::string_view last = ",filename";
    columns_.clear();
    if (!header.starts_with(first) || !header.ends_with(last) || header.size() < first.size() + last.size())
      return false;
    header = header.substr(first.size(), header.size() - first.size() - last.size());
    if (std::cmp_greater_equal(std::ranges::count(header, ','), maximumDigestsOfLine)) return false;
    while (!header.empty()) columns_.push_back(HashAlgorithm::manifestName(takeField(header)));
    if (std::ranges::all_of(columns_, [](const auto& algorithm) { return !algorithm; })) columns_.clear();
    return !columns_.empty();
  }

  Taking takeFile(const UnreadLine& line, FormEntries& entries) const {
    std::string_view rest = line.text;
    const std::string_view size = takeField(rest);
    if (size.empty() || size.find_first_not_of("0123456789") != size.npos) return Taking::no;
    std::int64_t bytes = 0;
    const bool isSize = std::from_chars(size.data(), size.data() + size.size(), bytes).ec == std::errc();
    std::vector<std::string_view> digests;
    for (const auto& algorithm : columns_) {
      digests.push_back(takeField(rest));
      if (algorithm && !isDigestOf(*algorithm, digests.back())) return Taking::no;
    }
    if (rest.empty()) return Taking::no;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!columns_[i]) continue;
      entries.add(line, std::string(rest), *columns_[i], digests[i]);
      if (isSize) entries.noteSize(bytes);
    }
    return Taking::yes;
  }

  /// Takes what is before the first comma, and the comma; everything when there is none.
  static std::string_view takeField(std::string_view& text) {
    const std::string_view field = text.substr(0, text.find(','));
    text.remove_prefix(std::min(field.size() + 1, text.size()));
    return field;
  }

  std::vector<std::optional<HashAlgorithm>> columns_;  ///< Between size and name; empty until the header was seen.
};

}  // namespace

std::unique_ptr<Form> hashdeepForm(const std::filesystem::path& /*list*/) { return std::make_unique<HashdeepForm>(); }

}  // namespace tallyfold::ChecksumManifestService
