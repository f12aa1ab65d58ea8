#include "checksums/ListReading.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// How an algorithm that is not in the catalogue is written: letters and digits only, in upper case, at the start of a
/// word.
struct OtherAlgorithm {
  std::string_view written;
  std::string_view name;
};

/// Those that programs write lists of, with digests as long as some of ours. The longer of two that begin alike first.
constexpr std::array kOtherAlgorithms{
    OtherAlgorithm{"B2SUM", "BLAKE2b"},
    OtherAlgorithm{"BLAKE2S", "BLAKE2s"},
    OtherAlgorithm{"BLAKE2", "BLAKE2b"},
    OtherAlgorithm{"SHA3", "SHA-3"},
    OtherAlgorithm{"SHA512256", "SHA-512/256"},
    OtherAlgorithm{"SHA512224", "SHA-512/224"},
    OtherAlgorithm{"SHA2512256", "SHA-512/256"},
    OtherAlgorithm{"SHA2512224", "SHA-512/224"},
    OtherAlgorithm{"KECCAK", "Keccak"},
    OtherAlgorithm{"RIPEMD", "RIPEMD-160"},
    OtherAlgorithm{"RMD160", "RIPEMD-160"},
    OtherAlgorithm{"WHIRLPOOL", "Whirlpool"},
    OtherAlgorithm{"TIGER", "Tiger"},
    OtherAlgorithm{"STREEBOG", "Streebog"},
    OtherAlgorithm{"GOST", "GOST"},
    OtherAlgorithm{"SM3", "SM3"},
    OtherAlgorithm{"SKEIN", "Skein"},
    OtherAlgorithm{"MD4", "MD4"},
    OtherAlgorithm{"XXH", "xxHash"},
    OtherAlgorithm{"CRC32C", "CRC-32C"},
    OtherAlgorithm{"ADLER32", "Adler-32"},
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

}  // namespace

bool isQuotedName(std::string_view name) { return name.size() > 2 && name.front() == '"' && name.back() == '"'; }

std::string_view otherAlgorithmIn(std::string_view text) {
  const std::string upper = upperCased(text);
  for (std::size_t i = 0; i < upper.size(); ++i) {
    if (!isLetterOrDigit(upper[i]) || (i > 0 && isLetterOrDigit(upper[i - 1]))) continue;
    const std::string word = written(std::string_view(upper).substr(i));
    const auto found = std::ranges::find_if(
        kOtherAlgorithms, [&](const OtherAlgorithm& other) { return word.starts_with(other.written); });
    if (found != kOtherAlgorithms.end()) return found->name;
  }
  return {};
}

std::optional<HashAlgorithm> proposedAlgorithm(const std::filesystem::path& url) {
  const std::string name = upperCased(url.filename().native());
  const auto speaksOf = [&](std::string_view part) { return name.find(part) != name.npos; };
  if (speaksOf("B3") || speaksOf("BLAKE3")) return HashAlgorithm::blake3;
  return speaksOf("256") ? std::optional(HashAlgorithm(HashAlgorithm::sha256)) : std::nullopt;
}

}  // namespace tallyfold::ChecksumManifestService
