#include <array>
#include <charconv>

#include "checksums/forms/Form.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// The four hexadecimal digits of an escaped UTF-16 unit.
std::optional<char16_t> unitOf(std::string_view digits) {
  std::uint16_t unit = 0;
  const char* const end = digits.data() + digits.size();
  if (digits.size() != 4 || std::from_chars(digits.data(), end, unit, 16).ptr != end) return std::nullopt;
  return static_cast<char16_t>(unit);
}

/// Takes a JSON string (RFC 8259, section 7) off the start of `text`. None, also of half a surrogate pair.
std::optional<std::string> takeString(std::string_view& text) {
  constexpr std::string_view escapes = "\"\\/bfnrt";
  constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
  if (!text.starts_with('"')) return std::nullopt;
  std::string result;
  std::u16string units;  // Escaped ones that follow each other.
  std::string storage;
  for (std::size_t i = 1; i < text.size(); ++i) {
    const bool isUnit = text.substr(i).starts_with("\\u");
    if (isUnit) {
      const auto unit = unitOf(text.substr(i + 2, 4));
      if (!unit) return std::nullopt;
      units += *unit;
      i += 5;
      continue;
    }
    const std::string_view converted = utf8Of(units, storage);
    if (converted.find("\uFFFD") != converted.npos && units.find(u'\uFFFD') == units.npos) return std::nullopt;
    result += converted;
    units.clear();
    if (text[i] == '"') {
      text.remove_prefix(i + 1);
      return result;
    }
    if (text[i] == '\\') {
      const std::size_t escape = ++i < text.size() ? escapes.find(text[i]) : escapes.npos;
      if (escape == escapes.npos) return std::nullopt;
      result += meanings[escape];
    } else {
      result += text[i];
    }
  }
  return std::nullopt;
}

/// A line of the report: `"key" : value`, or only a value.
struct Member {
  std::string key;
  std::string text;        ///< The value, where it is a string.
  std::string_view other;  ///< The value, where it is not.
};

std::optional<Member> memberOf(std::string_view line) {
  Member member;
  line = trimmed(line);
  if (line.ends_with(',')) line.remove_suffix(1);
  auto text = takeString(line);
  if (text) {
    constexpr std::string_view separator = " : ";
    if (!line.starts_with(separator)) return std::nullopt;
    line.remove_prefix(separator.size());
    member.key = *text;
    text = takeString(line);
  }
  if (text && !line.empty()) return std::nullopt;
  member.text = text.value_or("");
  member.other = line;
  return member;
}

/// The JSON report of Files mode, in the lines in which it is written.
class JsonReportForm : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    if (!isWithin_) {
      isWithin_ = trimmed(line.text) == "[";
      return isWithin_ ? Taking::begun : Taking::no;
    }
    const auto member = memberOf(line.text);
    if (!member) return giveUp();
    if (member->key.empty()) return takeBracket(member->other);
    if (member->key == "file") {
      if (!file_.empty() || member->text.empty()) return giveUp();  // The file before has no digest.
      file_ = member->text;
      return Taking::begun;
    }
    if (member->key == "hashes" && member->other == "{") return Taking::begun;
    if (member->key == "modifiedAt" || member->key == "sizeBytes") return Taking::begun;
    const auto algorithm = HashAlgorithm::init(member->key);
    if (!algorithm || !isDigestOf(*algorithm, member->text)) return Taking::no;
    if (!file_.empty()) hashed_ = std::exchange(file_, {});
    if (hashed_.empty()) return giveUp();
    entries.add(line, hashed_, *algorithm, member->text);
    return Taking::yes;
  }

 private:
  Taking takeBracket(std::string_view bracket) {
    if (bracket == "{") {
      hashed_.clear();
      return Taking::begun;
    }
    if (bracket == "}") return Taking::begun;
    if (bracket != "]" || !file_.empty()) return giveUp();
    isWithin_ = false;
    return Taking::yes;
  }

  Taking giveUp() {
    isWithin_ = false;
    file_.clear();
    hashed_.clear();
    return Taking::givenUp;
  }

  bool isWithin_ = false;
  std::string file_;    ///< Of this record, until its first digest.
  std::string hashed_;  ///< Of this record, from its first digest on.
};

}  // namespace

std::unique_ptr<Form> jsonReportForm(const std::filesystem::path& /*list*/) {
  return std::make_unique<JsonReportForm>();
}

}  // namespace tallyfold::ChecksumManifestService
