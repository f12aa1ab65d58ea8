// One line of a checksum list, and one pasted value: what is understood is well-formed, is counted once, and is
// understood as the same again when it is written down in the forms that other programs write.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "fuzz/Fuzz.h"
#include "tests/support/PlainListReader.h"

namespace {

using namespace tallyfold;
using namespace tallyfold::ChecksumManifestService;

void requireDigest(const std::string& hash, HashAlgorithm algorithm) {
  fuzz::require(hash.size() == algorithm.hexLength());
  fuzz::require(hash.find_first_not_of("0123456789abcdef") == std::string::npos);
}

std::string escaped(std::string_view name) {
  std::string text;
  for (const char c : name) text += c == '\\' ? "\\\\" : c == '\n' ? "\\n" : c == '\r' ? "\\r" : std::string(1, c);
  return text;
}

void requireSame(const std::optional<ChecksumManifestEntry>& again, ChecksumManifestEntry entry) {
  fuzz::require(again.has_value());
  entry.id = again->id;  // Each has its own.
  fuzz::require(*again == entry);
}

void checkLine(const std::string& line, std::optional<HashAlgorithm> hint) {
  constexpr std::int64_t number = 7;
  ParseResult result;
  processLine(line, number, hint, result);
  fuzz::require(std::ssize(result.entries) + result.ignoredLineCount + result.unsupportedLineCount == 1);
  fuzz::require(std::ssize(result.warnings) == result.unsupportedLineCount);
  ParseResult withReturn;
  processLine(line + "\r", number, hint, withReturn);
  fuzz::require(withReturn.entries.size() == result.entries.size() || line.ends_with('\r'));
  if (result.entries.empty()) return;

  const ChecksumManifestEntry& entry = result.entries.front();
  fuzz::require(entry.lineNumber == number);
  requireDigest(entry.expectedHash, entry.algorithm);
  fuzz::require(test::isWellFormed(entry.relativePath));
  if (!entry.relativePath.empty()) {
    requireSame(
        parseGNUStyleLine("\\" + entry.expectedHash + "  " + escaped(entry.relativePath), number, entry.algorithm),
        entry);
  }
  requireSame(
      parseBSDLine(std::string(entry.algorithm.rawValue()) + " (" + entry.relativePath + ") = " + entry.expectedHash,
                   number),
      entry);
}

void checkPasted(const std::string& text, std::optional<HashAlgorithm> preferred) {
  const auto alone = extractSingleChecksum(text, std::nullopt);
  if (alone) {
    requireDigest(alone->expectedHash, alone->algorithm);
    fuzz::require(extractSingleChecksum(alone->expectedHash, alone->algorithm) == alone);
  }
  if (const auto chosen = extractSingleChecksum(text, preferred)) {
    requireDigest(chosen->expectedHash, chosen->algorithm);
  }
}

}  // namespace

// The last byte says which algorithm is preferred, if any.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size - 1);
  if (!test::isWellFormed(text)) return 0;
  const std::size_t choice = data[size - 1] % (HashAlgorithm::count + 1);
  const auto preferred =
      choice < HashAlgorithm::count ? std::optional(HashAlgorithm::allCases()[choice]) : std::nullopt;
  checkLine(text, preferred);
  checkPasted(text, preferred);
  return 0;
}
