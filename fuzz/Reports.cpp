// Reports of files of any names, read back by parsers that know nothing of the writer.

#include <cctype>
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "export/ManifestService.h"
#include "fuzz/Fuzz.h"

namespace {

using namespace tallyfold;
namespace fs = std::filesystem;

struct JsonValue;
using JsonObject = std::map<std::string, JsonValue>;

/// Numbers are kept as they are written.
struct JsonValue {
  std::variant<std::string, JsonObject, std::vector<JsonValue>> content;

  [[nodiscard]] const std::string& text() const { return std::get<std::string>(content); }
  [[nodiscard]] const JsonObject& object() const { return std::get<JsonObject>(content); }
  [[nodiscard]] const std::vector<JsonValue>& array() const { return std::get<std::vector<JsonValue>>(content); }
};

/// RFC 8259, but for true, false, null and fractions, which no report has.
class JsonParser {
 public:
  explicit JsonParser(std::string_view text) : text_(text) {}

  JsonValue document() {
    JsonValue value = this->value();
    skipSpace();
    fuzz::require(at_ == text_.size());
    return value;
  }

 private:
  char peek() {
    fuzz::require(at_ < text_.size());
    return text_[at_];
  }
  char take() {
    const char c = peek();
    ++at_;
    return c;
  }
  void skipSpace() {
    while (at_ < text_.size() && std::string_view(" \t\r\n").find(text_[at_]) != std::string_view::npos) ++at_;
  }
  void expect(char c) {
    skipSpace();
    fuzz::require(take() == c);
  }
  bool takeIf(char c) {
    skipSpace();
    if (peek() != c) return false;
    ++at_;
    return true;
  }

  JsonValue value() {
    skipSpace();
    switch (peek()) {
      case '{':
        return {object()};
      case '[':
        return {array()};
      case '"':
        return {string()};
      default:
        return {number()};
    }
  }

  JsonObject object() {
    JsonObject object;
    expect('{');
    if (takeIf('}')) return object;
    do {
      skipSpace();
      std::string key = string();
      expect(':');
      fuzz::require(object.emplace(std::move(key), value()).second);
    } while (takeIf(','));
    expect('}');
    return object;
  }

  std::vector<JsonValue> array() {
    std::vector<JsonValue> array;
    expect('[');
    if (takeIf(']')) return array;
    do {
      array.push_back(value());
    } while (takeIf(','));
    expect(']');
    return array;
  }

  std::string number() {
    std::string digits;
    while (std::isdigit(static_cast<unsigned char>(peek())) != 0) digits += take();
    fuzz::require(!digits.empty() && (digits == "0" || digits.front() != '0'));
    return digits;
  }

  std::string string() {
    std::string text;
    expect('"');
    for (char c = take(); c != '"'; c = take()) {
      fuzz::require(static_cast<unsigned char>(c) >= 0x20);
      if (c == '\\') {
        escape(text);
      } else {
        text += c;
      }
    }
    return text;
  }

  void escape(std::string& text) {
    static const std::map<char, char> simple = {{'"', '"'},  {'\\', '\\'}, {'/', '/'},  {'b', '\b'},
                                                {'f', '\f'}, {'n', '\n'},  {'r', '\r'}, {'t', '\t'}};
    const char c = take();
    if (c != 'u') {
      text += simple.at(c);
      return;
    }
    std::string digits;
    for (int i = 0; i < 4; ++i) digits += take();
    fuzz::appendUTF8(text, static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16)));
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

/// RFC 4180, but for the line breaks, which are line feeds.
std::vector<std::vector<std::string>> csvRows(std::string_view text) {
  std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(1));
  bool isQuoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string& field = rows.back().back();
    if (isQuoted && text[i] == '"' && i + 1 < text.size() && text[i + 1] == '"') {
      field += text[i++];
    } else if (text[i] == '"') {
      isQuoted = !isQuoted;
    } else if (!isQuoted && text[i] == ',') {
      rows.back().emplace_back();
    } else if (!isQuoted && text[i] == '\n') {
      rows.emplace_back(1);
    } else {
      field += text[i];
    }
  }
  fuzz::require(!isQuoted);
  return rows;
}

std::string written(const FileHashResults& results, ManifestService::Format format, const fs::path& file) {
  ManifestService::writeContents(results, format, FileHandle::open(file, O_WRONLY | O_CREAT | O_TRUNC, 0600), {});
  std::string text = test::contentOf(file);
  fuzz::require(fuzz::isWellFormed(text));
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder;
  FuzzedDataProvider provider(data, size);
  FileHashResults results;
  std::vector<std::vector<std::string>> rows = {{"file", "algorithm", "hash", "size_bytes"}};
  while (provider.remaining_bytes() > 0 && results.size() < 20) {
    FileHashResult result;
    result.fileSize = provider.ConsumeIntegralInRange<std::int64_t>(0, INT64_MAX);
    result.modifiedAt = {provider.ConsumeIntegral<std::int64_t>(), 0};
    for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
      if (provider.ConsumeBool()) result.hashes.insert(algorithm, std::string(algorithm.hexLength(), 'a'));
    }
    result.url = "/" + provider.ConsumeRandomLengthString(100);
    for (const HashAlgorithm algorithm : result.hashes.algorithms()) {
      rows.push_back({fuzz::repaired(result.url.native()), std::string(algorithm.rawValue()),
                      std::string(result.hashes.find(algorithm).value()), std::to_string(result.fileSize)});
    }
    results.push_back(std::make_shared<const FileHashResult>(std::move(result)));
  }

  const fs::path file = folder.path() / "report";
  fuzz::require(csvRows(written(results, ManifestService::Format::csv, file)) == rows);

  const JsonValue document = JsonParser(written(results, ManifestService::Format::json, file)).document();
  fuzz::require(document.array().size() == results.size());
  for (std::size_t i = 0; i < results.size(); ++i) {
    const JsonObject& record = document.array()[i].object();
    fuzz::require(record.at("file").text() == fuzz::repaired(results[i]->url.native()));
    fuzz::require(record.at("sizeBytes").text() == std::to_string(results[i]->fileSize));
    const JsonObject& hashes = record.at("hashes").object();
    fuzz::require(hashes.size() == results[i]->hashes.algorithms().size());
    for (const HashAlgorithm algorithm : results[i]->hashes.algorithms()) {
      fuzz::require(hashes.at(std::string(algorithm.rawValue())).text() == results[i]->hashes.find(algorithm));
    }
    fuzz::require(record.size() == (record.contains("modifiedAt") ? 4U : 3U));
  }
  return 0;
}
