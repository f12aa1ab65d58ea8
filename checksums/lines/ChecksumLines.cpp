#include "checksums/lines/ChecksumLines.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "core/text/HexText.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

constexpr std::string_view byteOrderMark = "\uFEFF";

/// Hexadecimal digits come in any order: a branch for each would be guessed wrong half of the time.
constexpr std::array<bool, 256> kIsHexDigit = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("0123456789abcdefABCDEF")) table[static_cast<unsigned char>(c)] = true;
  return table;
}();

bool isHexDigit(char c) { return kIsHexDigit[static_cast<unsigned char>(c)]; }

/// `text` without a 0x at its start.
std::string_view withoutPrefix(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  return text;
}

/// A line of the GNU form, cut into its parts.
struct GNUStyleLine {
  std::string_view digits;  ///< Of a digest, in any case; not empty.
  std::string_view name;    ///< As written; may be empty.
  bool isEscaped = false;
};

std::optional<GNUStyleLine> splitGNUStyleLine(std::string_view line) {
  GNUStyleLine parts;
  parts.isEscaped = line.starts_with('\\');
  if (parts.isEscaped) line.remove_prefix(1);
  line = withoutPrefix(line);
  const auto end = static_cast<std::size_t>(std::ranges::find_if_not(line, isHexDigit) - line.begin());
  parts.digits = line.substr(0, end);
  if (parts.digits.empty()) return std::nullopt;
  for (const std::string_view separator : {"  ", " *", "\t*", "\t"}) {
    if (!line.substr(end).starts_with(separator)) continue;
    parts.name = line.substr(end + separator.size());
    return parts;
  }
  return std::nullopt;
}

/// The algorithm that a digest of so many digits is of; none when that cannot be known.
std::optional<HashAlgorithm> algorithmOf(std::size_t digits, std::optional<HashAlgorithm> preferred) {
  const HashAlgorithmSet candidates = HashAlgorithm::withHexLength(digits);
  if (candidates.size() == 1) return *candidates.begin();
  return preferred && candidates.contains(*preferred) ? preferred : std::nullopt;
}

/// The algorithms that the digest of a line of the GNU form, perhaps without a name, may be of; none for any other
/// line.
HashAlgorithmSet candidatesOfGNUStyleLine(std::string_view line) {
  const auto parts = splitGNUStyleLine(line);
  return parts ? HashAlgorithm::withHexLength(parts->digits.size()) : HashAlgorithmSet();
}

bool isAmbiguousGNUStyleLine(std::string_view line) { return candidatesOfGNUStyleLine(line).size() > 1; }

std::string warningAbout(std::string_view line, std::int64_t lineNumber, bool mayBeAmbiguous) {
  const std::string place = "Line " + std::to_string(lineNumber) + ": ";
  if (!mayBeAmbiguous || !isAmbiguousGNUStyleLine(line)) return place + "unsupported checksum format.";
  const HashAlgorithmSet candidates = candidatesOfGNUStyleLine(line);
  return place + "ambiguous " + std::to_string((*candidates.begin()).hexLength()) + "-character digest; " +
         namesOf(candidates, "and") + " cannot be distinguished from GNU format alone.";
}

/// "name digest", the digest being a CRC-32, as in SFV files.
std::optional<ChecksumManifestEntry> parseSFVLine(std::string_view line, std::int64_t lineNumber) {
  if (line.empty() || !isHexDigit(line.back())) return std::nullopt;
  const std::size_t start = findBehindLastWhiteSpace(line);
  const std::string_view digits = withoutPrefix(line.substr(start));
  const bool hasLength = digits.size() == HashAlgorithm(HashAlgorithm::crc32).hexLength();
  if (!hasLength || !std::ranges::all_of(digits, isHexDigit)) return std::nullopt;
  const std::string_view name = trimmedAtEnd(line.substr(0, start));
  if (name.empty()) return std::nullopt;
  return ChecksumManifestEntry{Uuid::random(), lineNumber, std::string(name), HashAlgorithm::crc32, lowerCased(digits)};
}

std::optional<ChecksumManifestEntry> parseLine(std::string_view line, std::int64_t lineNumber,
                                               std::optional<HashAlgorithm> preferredGNUAlgorithm) {
  auto entry = parseBSDLine(line, lineNumber);
  if (!entry) entry = parseGNUStyleLine(line, lineNumber, preferredGNUAlgorithm);
  if (!entry) entry = parseSFVLine(line, lineNumber);
  return entry;
}

}  // namespace

void processLine(std::string_view line, std::int64_t lineNumber, std::optional<HashAlgorithm> preferredGNUAlgorithm,
                 ParseResult& result) {
  if (lineNumber == 1 && line.starts_with(byteOrderMark)) line.remove_prefix(byteOrderMark.size());
  if (line.ends_with('\r')) line.remove_suffix(1);
  const std::string_view content = trimmed(line);
  const bool mayBeEntry = !content.empty() && !line.starts_with(';');
  if (auto entry = mayBeEntry ? parseLine(line, lineNumber, preferredGNUAlgorithm) : std::nullopt) {
    result.entries.push_back(std::move(*entry));
  } else if (content.empty() || content.starts_with('#') || content.starts_with(';')) {
    ++result.ignoredLineCount;
  } else {
    ++result.unsupportedLineCount;
    if (result.warnings.size() >= maximumWarnings) return;
    result.warnings.push_back(warningAbout(line, lineNumber, !preferredGNUAlgorithm));
  }
}

std::optional<ChecksumManifestEntry> parseBSDLine(std::string_view line, std::int64_t lineNumber) {
  constexpr std::string_view separator = ") = ";
  const std::size_t open = line.find('(');
  if (open == std::string_view::npos) return std::nullopt;
  const std::size_t close = line.rfind(separator);
  if (close == std::string_view::npos || close < open) return std::nullopt;
  const auto algorithm = HashAlgorithm::manifestName(trimmedOfBlanks(line.substr(0, open)));
  if (!algorithm) return std::nullopt;
  std::string digest = normalizedHex(line.substr(close + separator.size()));
  if (digest.size() != algorithm->hexLength() || !isASCIIHex(digest)) return std::nullopt;
  const std::string_view name = line.substr(open + 1, close - open - 1);
  return ChecksumManifestEntry{Uuid::random(), lineNumber, std::string(name), *algorithm, std::move(digest)};
}

std::optional<ChecksumManifestEntry> parseGNUStyleLine(std::string_view line, std::int64_t lineNumber,
                                                       std::optional<HashAlgorithm> preferredAlgorithm) {
  const auto parts = splitGNUStyleLine(line);
  if (!parts || parts->name.empty()) return std::nullopt;
  const auto algorithm = algorithmOf(parts->digits.size(), preferredAlgorithm);
  if (!algorithm) return std::nullopt;
  std::string name = parts->isEscaped ? unescapeCoreutilsFilename(parts->name) : std::string(parts->name);
  return ChecksumManifestEntry{Uuid::random(), lineNumber, std::move(name), *algorithm, lowerCased(parts->digits)};
}

std::string unescapeCoreutilsFilename(std::string_view name) {
  std::string result;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const std::string_view pair = name.substr(i, 2);
    const bool isLineFeed = pair == R"(\n)";
    const bool isCarriageReturn = pair == R"(\r)";
    if (isLineFeed || isCarriageReturn || pair == R"(\\)") ++i;
    result += isLineFeed ? '\n' : isCarriageReturn ? '\r' : name[i];
  }
  return result;
}

std::optional<SingleChecksum> extractSingleChecksum(std::string_view text,
                                                    std::optional<HashAlgorithm> preferredAlgorithm) {
  if (text.size() > maximumSingleChecksumSize) return std::nullopt;
  const std::string_view content = trimmed(text);
  if (!HashAlgorithm::detect(content).empty()) {
    std::string digest = normalizedHex(content);
    const auto algorithm = algorithmOf(digest.size(), preferredAlgorithm);
    return algorithm ? std::optional(SingleChecksum{*algorithm, std::move(digest)}) : std::nullopt;
  }
  auto entry = parseLine(content, 1, preferredAlgorithm);
  return entry ? std::optional(SingleChecksum{entry->algorithm, std::move(entry->expectedHash)}) : std::nullopt;
}

bool isAmbiguousSingleChecksum(std::string_view text) { return !ambiguousCandidates(text).empty(); }

HashAlgorithmSet ambiguousCandidates(std::string_view text) {
  if (text.size() > maximumSingleChecksumSize) return {};
  const std::string_view content = trimmed(text);
  const std::vector<HashAlgorithm> ofDigest = HashAlgorithm::detect(content);
  if (ofDigest.size() > 1) return HashAlgorithm::withHexLength(ofDigest.front().hexLength());
  return isAmbiguousGNUStyleLine(content) ? candidatesOfGNUStyleLine(content) : HashAlgorithmSet();
}

std::optional<HashAlgorithm> algorithmHint(const std::filesystem::path& url) {
  const std::string extension = url.extension().native();
  if (!extension.empty()) {
    if (const auto algorithm = HashAlgorithm::manifestName(std::string_view(extension).substr(1))) return algorithm;
  }
  const std::string name = lettersAndDigits(upperCased(url.stem().native()));
  if (const auto algorithm = HashAlgorithm::manifestName(name)) return algorithm;
  for (const std::string_view suffix : {"CHECKSUMS", "SUMS", "SUM"}) {
    if (name.ends_with(suffix)) return HashAlgorithm::manifestName(name.substr(0, name.size() - suffix.size()));
  }
  return std::nullopt;
}

bool isListName(const std::filesystem::path& url) {
  const auto withoutSum = [](std::string_view name) {
    for (const std::string_view suffix : {"SUMS", "SUM"}) {
      if (name.ends_with(suffix)) return name.substr(0, name.size() - suffix.size());
    }
    return name;
  };
  const std::string extension = upperCased(url.extension().native());
  if (extension == ".SFV") return true;
  if (extension.size() > 1 && HashAlgorithm::manifestName(withoutSum(extension).substr(1))) return true;
  if (!extension.empty() && extension != ".TXT") return false;
  if (!extension.empty() && url.stem().has_extension() && isListName(url.stem())) return true;
  const std::string name = lettersAndDigits(upperCased(url.stem().native()));
  for (std::size_t sum = name.find("SUM"); sum != name.npos; sum = name.find("SUM", sum + 1)) {
    std::string_view before = std::string_view(name).substr(0, sum);
    if (before.ends_with("CHECK") || before.ends_with("SHA")) return true;
    while (!before.empty() && !HashAlgorithm::manifestName(before)) before.remove_prefix(1);
    if (!before.empty()) return true;
  }
  return false;
}

}  // namespace tallyfold::ChecksumManifestService
