// A checksum list of any bytes, read in pieces of any length, next to a reader that has all of it in memory.

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <string_view>
#include <vector>

#include "checksums/ChecksumReading.h"
#include "core/files/FileHandle.h"
#include "core/files/SystemCalls.h"
#include "fuzz/Fuzz.h"

namespace {

using namespace tallyfold;
using namespace tallyfold::ChecksumManifestService;

/// No read gives more than so many bytes.
class ShortReads : public SystemCalls {
 public:
  ShortReads() { replace(this); }
  ssize_t read(int descriptor, void* bytes, std::size_t count) override {
    return SystemCalls::read(descriptor, bytes, std::min(count, longest));
  }

  std::size_t longest = 1;
};

std::int64_t plausibility(std::u16string_view units) {
  std::int64_t score = 0;
  const auto isHigh = [](char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  const auto isLow = [](char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  const auto isControl = [](char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F); };
  const auto isPlain = [](char16_t unit) { return unit >= 0x20 && unit <= 0x7E; };
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char16_t unit = units[i];
    if (unit == 9 || unit == 10 || unit == 13) {
      score += 4;
    } else if (unit == 0) {
      score -= 8;
    } else if (isPlain(unit)) {
      score += 5;
    } else if (isControl(unit)) {
      score -= 6;
    } else if (isLow(unit)) {
      score += i > 0 && isHigh(units[i - 1]) ? 2 : -6;
    } else if (isHigh(unit)) {
      const bool isEnd = i + 1 == units.size();
      const char16_t next = isEnd ? u'\0' : units[i + 1];
      const bool isOther = !isEnd && !isLow(next) && !isPlain(next) && !isControl(next);
      score += isEnd || isOther ? -5 : 1;
    } else {
      score += 1;
    }
  }
  return score;
}

std::u16string unitsOf(std::string_view bytes, std::endian order) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<std::uint8_t>(bytes[i]);
    const auto second = static_cast<std::uint8_t>(bytes[i + 1]);
    units += static_cast<char16_t>(order == std::endian::little ? first | second << 8 : first << 8 | second);
  }
  return units;
}

std::optional<std::endian> orderOf(std::string_view bytes) {
  if (bytes.size() < 2) return std::nullopt;
  if (bytes.starts_with("\xFF\xFE")) return std::endian::little;
  if (bytes.starts_with("\xFE\xFF")) return std::endian::big;
  if (bytes.find('\0') == std::string_view::npos) return std::nullopt;
  const std::int64_t little = plausibility(unitsOf(bytes, std::endian::little));
  const std::int64_t big = plausibility(unitsOf(bytes, std::endian::big));
  if (little >= big + 4) return std::endian::little;
  if (big >= little + 4) return std::endian::big;
  if ((bytes[0] == 0) == (bytes[1] == 0)) return std::nullopt;
  return bytes[0] == 0 ? std::endian::big : std::endian::little;
}

/// The lines of a text, without their breaks. What follows the last break is a line only when there is something.
template <typename Text>
std::vector<Text> linesOf(Text text) {
  std::vector<Text> lines;
  Text line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != 10 && text[i] != 13) {
      line += text[i];
      continue;
    }
    lines.push_back(std::move(line));
    line.clear();
    if (text[i] == 13 && i + 1 < text.size() && text[i + 1] == 10) ++i;
  }
  if (!line.empty()) lines.push_back(std::move(line));
  return lines;
}

/// None when the bytes are not a text.
std::optional<ParseResult> expectedOf(std::string_view bytes, std::optional<HashAlgorithm> hint) {
  ParseResult result;
  std::int64_t number = 0;
  if (const auto order = orderOf(bytes)) {
    if (bytes.size() % 2 != 0) return std::nullopt;
    std::u16string units = unitsOf(bytes, *order);
    if (units.starts_with(u'\uFEFF')) units.erase(0, 1);
    for (const std::u16string& line : linesOf(units)) {
      const auto text = fuzz::utf8FromUTF16(line);
      if (!text) return std::nullopt;
      processLine(*text, ++number, hint, result);
    }
    return result;
  }
  for (const std::string& line : linesOf(std::string(bytes))) {
    if (!fuzz::isWellFormed(line)) return std::nullopt;
    processLine(line, ++number, hint, result);
  }
  return result;
}

void requireEqual(const ParseResult& actual, const ParseResult& expected) {
  fuzz::require(actual.ignoredLineCount == expected.ignoredLineCount);
  fuzz::require(actual.unsupportedLineCount == expected.unsupportedLineCount);
  fuzz::require(actual.warnings == expected.warnings);
  fuzz::require(actual.entries.size() == expected.entries.size());
  for (std::size_t i = 0; i < actual.entries.size(); ++i) {
    ChecksumManifestEntry entry = expected.entries[i];
    entry.id = actual.entries[i].id;  // Each has its own.
    fuzz::require(actual.entries[i] == entry);
  }
}

}  // namespace

// The last two bytes say how the others are read, so that a list that another program wrote is an input as it stands.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder;
  static ShortReads reads;
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size - 2);
  const std::array names{"list", "MD5SUMS", "SHA256SUMS", "B3SUMS"};
  const std::filesystem::path list = folder.file(names.at(data[size - 1] % names.size()), bytes);
  reads.longest = std::size_t{1} + data[size - 2];

  const auto expected = expectedOf(bytes, algorithmHint(list));
  try {
    const ParseResult actual = load(list, {});
    fuzz::require(expected.has_value());
    requireEqual(actual, *expected);
  } catch (const ManifestReadError& error) {
    fuzz::require(error.value() == ManifestReadError::Case::unsupportedEncoding && !expected);
  }
  return 0;
}
