// Reports of files of any names, next to a writer that is as plain as can be.

#include <ctime>
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "export/ManifestService.h"
#include "fuzz/Fuzz.h"

namespace {

using namespace tallyfold;

/// In the quotes of CSV (RFC 4180).
std::string csvField(std::string_view text) {
  std::string field = "\"";
  for (const char c : text) field += c == '"' ? std::string("\"\"") : std::string(1, c);
  return field + '"';
}

/// In the quotes of JSON (RFC 8259).
std::string jsonString(std::string_view text) {
  static const std::map<char, std::string_view> shortForms = {
      {'"', "\\\""}, {'\\', "\\\\"}, {'\b', "\\b"}, {'\f', "\\f"}, {'\n', "\\n"}, {'\r', "\\r"}, {'\t', "\\t"}};
  std::string quotedText = "\"";
  for (const char c : text) {
    if (const auto found = shortForms.find(c); found != shortForms.end()) {
      quotedText += found->second;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      constexpr std::string_view digits = "0123456789abcdef";
      const auto code = static_cast<std::size_t>(c);
      quotedText.append("\\u00").append({digits[code / 16], digits[code % 16]});
    } else {
      quotedText += c;
    }
  }
  return quotedText + '"';
}

/// RFC 3339; empty for a year that has not four digits.
std::string timeOf(const Timestamp& time) {
  const std::time_t seconds = time.seconds;
  std::tm parts{};
  if (gmtime_r(&seconds, &parts) == nullptr || parts.tm_year < -1900 || parts.tm_year > 9999 - 1900) return "";
  char text[32];
  std::strftime(text, sizeof text, "-%m-%dT%H:%M:%SZ", &parts);
  const std::string year = std::to_string(parts.tm_year + 1900);
  return std::string(4 - year.size(), '0') + year + text;
}

struct Reports {
  std::string text;
  std::string table = "file,algorithm,hash,size_bytes";
  std::string records = "[\n";

  void add(const FileHashResult& result, bool isFirst) {
    const std::string name = fuzz::repaired(result.url.native());
    const std::string size = std::to_string(result.fileSize);
    std::map<std::string, std::string> sorted;
    for (const HashAlgorithm algorithm : result.hashes.algorithms()) {
      const std::string label(algorithm.rawValue());
      const std::string digest(result.hashes.find(algorithm).value());
      text.append(label).append("  ").append(digest).append("  ").append(name).append("\n");
      table.append("\n").append(csvField(name)).append(",").append(csvField(label));
      table.append(",").append(digest).append(",").append(size);
      sorted[label] = digest;
    }
    std::string hashes;
    for (const auto& [label, digest] : sorted) {
      hashes.append(hashes.empty() ? "" : ",\n").append("      ").append(jsonString(label)).append(" : ");
      hashes.append(jsonString(digest));
    }
    const std::string time = timeOf(result.modifiedAt);
    records.append(isFirst ? "" : ",\n").append("  {\n    \"file\" : ").append(jsonString(name));
    records.append(",\n    \"hashes\" : {\n").append(hashes.empty() ? "  " : hashes).append("\n    },\n");
    if (!time.empty()) records.append("    \"modifiedAt\" : ").append(jsonString(time)).append(",\n");
    records.append("    \"sizeBytes\" : ").append(size).append("\n  }");
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder;
  FuzzedDataProvider provider(data, size);
  FileHashResults results;
  Reports expected;
  while (provider.remaining_bytes() > 0 && results.size() < 20) {
    FileHashResult result;
    result.fileSize = provider.ConsumeIntegralInRange<std::int64_t>(0, INT64_MAX);
    // Of the years 0000 to 9999, and a little more.
    result.modifiedAt = {provider.ConsumeIntegralInRange<std::int64_t>(-62'200'000'000, 253'500'000'000), 0};
    for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
      if (provider.ConsumeBool()) result.hashes.insert(algorithm, std::string(algorithm.hexLength(), 'a'));
    }
    result.url = "/" + provider.ConsumeRandomLengthString(100);
    expected.add(result, results.empty());
    results.push_back(std::make_shared<const FileHashResult>(std::move(result)));
  }
  const auto requireWritten = [&](ManifestService::Format format, const std::string& report) {
    const std::filesystem::path file = folder.path() / "report";
    ManifestService::writeContents(results, format, FileHandle::open(file, O_WRONLY | O_CREAT | O_TRUNC, 0600), {});
    fuzz::require(test::contentOf(file) == report);
  };
  requireWritten(ManifestService::Format::plainText, expected.text);
  requireWritten(ManifestService::Format::csv, expected.table);
  requireWritten(ManifestService::Format::json, expected.records + "\n]");
  return 0;
}
