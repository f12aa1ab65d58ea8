#include "checksums/lists/ListReading.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "checksums/lists/ChecksumReading.h"
#include "checksums/lists/SecondReading.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// An algorithm that is not in the catalogue.
struct OtherAlgorithm {
  std::string_view written;  ///< Letters and digits only, in upper case, at the start of a word.
  std::string_view name;
  std::array<std::size_t, 6> lengths;  ///< Of its digests, in digits, as far as some of ours have them; then 0.
};

/// Those that programs write lists of, with digests as long as some of ours. The longer of two that begin alike first.
constexpr std::array kOtherAlgorithms{
    OtherAlgorithm{"B2SUM", "BLAKE2b", {32, 40, 56, 64, 96, 128}},
    OtherAlgorithm{"BLAKE2S", "BLAKE2s", {32, 40, 56, 64}},
    OtherAlgorithm{"BLAKE2", "BLAKE2b", {32, 40, 56, 64, 96, 128}},
    OtherAlgorithm{"SHA3", "SHA-3", {56, 64, 96, 128}},
    OtherAlgorithm{"SHA512256", "SHA-512/256", {64}},
    OtherAlgorithm{"SHA512224", "SHA-512/224", {56}},
    OtherAlgorithm{"SHA2512256", "SHA-512/256", {64}},
    OtherAlgorithm{"SHA2512224", "SHA-512/224", {56}},
    OtherAlgorithm{"KECCAK", "Keccak", {56, 64, 96, 128}},
    OtherAlgorithm{"RIPEMD", "RIPEMD-160", {40}},
    OtherAlgorithm{"RMD160", "RIPEMD-160", {40}},
    OtherAlgorithm{"WHIRLPOOL", "Whirlpool", {128}},
    OtherAlgorithm{"TIGER", "Tiger", {32, 40}},
    OtherAlgorithm{"STREEBOG", "Streebog", {64, 128}},
    OtherAlgorithm{"GOST", "GOST", {64}},
    OtherAlgorithm{"SM3", "SM3", {64}},
    OtherAlgorithm{"SKEIN", "Skein", {32, 40, 56, 64, 96, 128}},
    OtherAlgorithm{"MD4", "MD4", {32}},
    OtherAlgorithm{"XXH", "xxHash", {8, 32}},
    OtherAlgorithm{"CRC32C", "CRC-32C", {8}},
    OtherAlgorithm{"ADLER32", "Adler-32", {8}},
};

bool isLetterOrDigit(char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

/// The letters and digits of a text from the start of a word on: as many as the longest name has.
std::string written(std::string_view text) {
  constexpr std::size_t longest = 10;
  std::string result;
  for (const char c : text) {
    if (isLetterOrDigit(c)) result += c;
    if (result.size() == longest || c == ' ') break;
  }
  return result;
}

/// Whether `isWanted` is true of what is written from the start of a word on, for any word of `text`.
template <typename Predicate>
bool findWord(std::string_view text, Predicate isWanted) {
  const std::string upper = upperCased(text);
  for (std::size_t i = 0; i < upper.size(); ++i) {
    if (!isLetterOrDigit(upper[i]) || (i > 0 && isLetterOrDigit(upper[i - 1]))) continue;
    if (isWanted(written(std::string_view(upper).substr(i)))) return true;
  }
  return false;
}

}  // namespace

bool isReadBack(std::string_view line, std::string_view path, HashAlgorithm algorithm) {
  if (line.size() > maximumLineSize || line.find_first_of("\r\n") != line.npos || !isValidUTF8(line)) return false;
  ParseResult result;
  processLine(line, 1, algorithm, result);
  if (result.entries.empty()) {
    SecondReading reading({}, {algorithm, false});
    result = {};
    reading.processLine(line, 1, algorithm, result);
    result = reading.finish(std::move(result)).result;
  }
  if (result.entries.size() != 1) return false;
  const ChecksumManifestEntry& entry = result.entries.front();
  const std::string_view read = entry.relativePath;
  return (read == path || (read.starts_with("./") && read.substr(2) == path)) && entry.algorithm == algorithm;
}

bool isQuotedName(std::string_view name) { return name.size() > 2 && name.front() == '"' && name.back() == '"'; }

std::string_view otherAlgorithmIn(std::string_view text) {
  std::string_view name;
  findWord(text, [&](std::string_view word) {
    const auto found = std::ranges::find_if(
        kOtherAlgorithms, [&](const OtherAlgorithm& other) { return word.starts_with(other.written); });
    if (found != kOtherAlgorithms.end()) name = found->name;
    return !name.empty();
  });
  return name;
}

bool isNamedIn(const std::filesystem::path& list, HashAlgorithm algorithm) {
  const std::string name = written(upperCased(algorithm.rawValue()));
  return algorithmHint(list) == algorithm ||
         findWord(list.filename().native(), [&](std::string_view word) { return word.starts_with(name); });
}

bool hasDigestsOfLength(std::string_view otherAlgorithm, std::size_t digits) {
  return std::ranges::any_of(kOtherAlgorithms, [&](const OtherAlgorithm& other) {
    return other.name == otherAlgorithm && std::ranges::find(other.lengths, digits) != other.lengths.end();
  });
}

std::optional<HashAlgorithm> proposedAlgorithm(const std::filesystem::path& url) {
  const std::string name = upperCased(url.filename().native());
  const auto speaksOf = [&](std::string_view part) { return name.find(part) != name.npos; };
  if (speaksOf("B3") || speaksOf("BLAKE3")) return HashAlgorithm::blake3;
  return speaksOf("256") ? std::optional(HashAlgorithm(HashAlgorithm::sha256)) : std::nullopt;
}

}  // namespace tallyfold::ChecksumManifestService
