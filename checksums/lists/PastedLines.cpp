#include "checksums/lists/PastedLines.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "checksums/lists/ListReading.h"
#include "checksums/lists/SecondReading.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

std::string lastComponent(std::string_view name) {
  return std::string(name.substr(name.find_last_of("/\\") + 1));  // npos + 1 is 0.
}

/// The entry in a usual form. `isAmbiguous`: its algorithm is only one of those that it may be of.
std::string lineOf(const ChecksumManifestEntry& entry, bool isAmbiguous) {
  if (isAmbiguous) return entry.expectedHash + "  " + entry.relativePath;
  return std::string(entry.algorithm.rawValue()) + " (" + entry.relativePath + ") = " + entry.expectedHash;
}

FileChecksum checksumOf(const ChecksumManifestEntry& entry, bool isAmbiguous) {
  return {entry.lineNumber, lastComponent(entry.relativePath), lineOf(entry, isAmbiguous)};
}

/// The algorithm by which the entries of ambiguous lines are found: any of those that share a length will do.
std::optional<HashAlgorithm> anyOfAmbiguous() {
  const auto groups = HashAlgorithm::withSameHexLength();
  return groups.empty() ? std::nullopt : std::optional(*groups.front().begin());
}

}  // namespace

std::vector<FileChecksum> pastedLines(std::string_view text) {
  std::vector<FileChecksum> found;
  if (text.size() > maximumSingleChecksumSize || !isValidUTF8(text)) return found;
  SecondReading reading({}, {});
  ParseResult result;
  std::int64_t number = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + (text.substr(end, 2) == "\r\n" ? 2 : 1), text.size()));
    const std::size_t before = result.entries.size();
    const std::int64_t bareDigests = reading.bareDigestCount();
    reading.processLine(line, ++number, anyOfAmbiguous(), result);
    if (result.entries.size() == before) continue;
    const ChecksumManifestEntry& entry = result.entries[before];
    const bool isAmbiguous =
        reading.bareDigestCount() > bareDigests && !extractSingleChecksum(entry.expectedHash, std::nullopt);
    FileChecksum& checksum = found.emplace_back(checksumOf(entry, isAmbiguous));
    const bool isUsual = extractSingleChecksum(line, entry.algorithm).has_value();
    if (isUsual) checksum.text = line;
  }
  return found;
}

std::vector<FileChecksum> linesFor(std::string_view fileName, const std::filesystem::path& list,
                                   const std::stop_token& cancellation) {
  ListReading reading = readList(list, {}, cancellation);
  const bool isAmbiguous = reading.result.entries.empty() && reading.ambiguousLineCount > 0;
  if (isAmbiguous) reading = readList(list, {anyOfAmbiguous(), false}, cancellation);
  std::vector<ChecksumManifestEntry>& own = reading.result.entries;
  std::erase_if(own, [&](const auto& entry) { return lastComponent(entry.relativePath) != fileName; });
  // What is for the list's own folder says more than what is for another.
  const auto isBesideList = [&](const auto& entry) {
    return entry.relativePath == fileName || entry.relativePath == std::string("./").append(fileName);
  };
  if (std::ranges::any_of(own, isBesideList)) std::erase_if(own, std::not_fn(isBesideList));
  const auto length = [](const ChecksumManifestEntry& entry) { return entry.algorithm.hexLength(); };
  std::ranges::stable_sort(own, std::ranges::greater(), length);
  std::vector<ChecksumManifestEntry> firsts;  // Of each algorithm, the strongest first.
  for (const ChecksumManifestEntry& entry : own) {
    const auto first = std::ranges::find(firsts, entry.algorithm, &ChecksumManifestEntry::algorithm);
    const bool isFirst = first == firsts.end();
    if (isFirst ? !firsts.empty() && entry.relativePath != firsts.front().relativePath
                : entry.expectedHash != first->expectedHash) {
      return {checksumOf(isFirst ? firsts.front() : *first, isAmbiguous), checksumOf(entry, isAmbiguous)};
    }
    if (isFirst) firsts.push_back(entry);
  }
  if (firsts.empty()) return {};
  return {checksumOf(firsts.front(), isAmbiguous)};
}

// Lists of the strongest algorithm first: the first that has a line for the file is offered.
std::vector<std::filesystem::path> usualListsOf(const std::filesystem::path& file) {
  std::vector<std::filesystem::path> lists;
  const auto add = [&](const std::string& name) { lists.push_back(file.parent_path() / name); };
  const std::string name = file.filename().native();
  const auto addThoseOf = [&](const std::string& tag) {
    add(std::string(name).append(".").append(tag));
    add(std::string(name).append(".").append(tag).append("sum"));
    add(upperCased(tag) + "SUMS");
    add(upperCased(tag) + "SUMS.txt");
  };
  auto algorithms = HashAlgorithm::allCases();
  const auto length = [](HashAlgorithm algorithm) { return algorithm.hexLength(); };
  std::ranges::stable_sort(algorithms, std::ranges::greater(), length);
  constexpr std::size_t lengthOfSHA1 = 40;
  bool areUnnamedAdded = false;
  for (const HashAlgorithm algorithm : algorithms) {
    // Lists that do not tell their algorithm are mostly of SHA-256.
    if (algorithm.hexLength() <= lengthOfSHA1 && !std::exchange(areUnnamedAdded, true)) {
      for (const char* const usual : {"SHASUMS256.txt", "CHECKSUM", "CHECKSUMS", "checksums.txt"}) add(usual);
    }
    std::string tag = lowerCased(algorithm.rawValue());
    std::erase(tag, '-');
    addThoseOf(tag);
    if (algorithm == HashAlgorithm::blake3) addThoseOf("b3");
  }
  add(file.stem().native() + ".sfv");
  return lists;
}

}  // namespace tallyfold::ChecksumManifestService
