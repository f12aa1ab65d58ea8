#include "checksums/lists/SecondReading.h"

#include <algorithm>
#include <array>
#include <utility>

#include "checksums/paths/ManifestPaths.h"
#include "core/base/Uuid.h"
#include "core/text/UnicodeText.h"

namespace tallyfold::ChecksumManifestService {

namespace {

/// The forms in the order in which they are tried, behind those of `processLine`: the more a line has to say to be of a
/// form, the earlier.
constexpr std::array kForms{
    signedMessageForm, escapedTagForm,   opensslForm,  textReportForm, jsonReportForm, csvForm,        hashdeepForm,
    fileHashTableForm, fileHashListForm, certutilForm, oneBlankForm,   nameFirstForm,  loneDigestForm,
};

/// What separates the components of names that start like this at the root of a file system; empty for other names.
std::string_view separatorsOf(std::string_view name) {
  if (name.starts_with('/')) return "/";
  return isWindowsAbsoluteDrivePath(name) || name.starts_with(R"(\\)") ? R"(\/)" : "";
}

/// Whether the line of an entry begins with its digest: it is of the GNU form, then.
bool startsWithDigest(std::string_view line, const ChecksumManifestEntry& entry) {
  if (line.starts_with('\\')) line.remove_prefix(1);
  if (line.starts_with("0x") || line.starts_with("0X")) line.remove_prefix(2);
  if (line.starts_with(entry.expectedHash)) return true;  // As nearly all lists have it, and much faster.
  const auto lower = [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return std::ranges::equal(line.substr(0, entry.expectedHash.size()), entry.expectedHash, {}, lower);
}

bool climbs(std::string_view name, std::string_view separators) {
  for (std::size_t start = 0; start < name.size();) {
    const std::size_t end = std::min(name.find_first_of(separators, start), name.size());
    if (name.substr(start, end - start) == "..") return true;
    start = end + 1;
  }
  return false;
}

}  // namespace

SecondReading::SecondReading(const std::filesystem::path& list, ReadingChoice choice) : list_(list), choice_(choice) {
  for (const auto make : kForms) candidates_.push_back({make(list)});
  reading_.otherAlgorithm = otherAlgorithmIn(list.filename().native());
  reading_.isOtherAlgorithmInName = !reading_.otherAlgorithm.empty();
}

SecondReading::~SecondReading() = default;

void SecondReading::processLine(std::string_view line, std::int64_t number, std::optional<HashAlgorithm> preferred,
                                ParseResult& result) {
  result_ = &result;
  const std::int64_t ignored = result.ignoredLineCount;
  const std::int64_t unsupported = result.unsupportedLineCount;
  ChecksumManifestService::processLine(line, number, preferred, result);
  if (result.ignoredLineCount != ignored) return lookForOtherAlgorithm(line);
  constexpr std::string_view byteOrderMark = "\uFEFF";
  if (number == 1 && line.starts_with(byteOrderMark)) line.remove_prefix(byteOrderMark.size());
  if (result.unsupportedLineCount == unsupported) {
    if (startsWithDigest(line, result.entries.back())) ++reading_.bareDigestCount;
    return;
  }
  std::string warning = std::move(result.warnings.back());
  result.warnings.clear();  // They are gathered here, so that there is one for each of the first that are left.
  if (line.ends_with('\r')) line.remove_suffix(1);
  offer({line, number, preferred}, std::move(warning));
}

void SecondReading::lookForOtherAlgorithm(std::string_view comment) {
  constexpr int mostComments = 100;  // Names stand in the head of a list.
  constexpr std::size_t longest = 200;
  if (comment.empty() || !reading_.otherAlgorithm.empty() || searchedCommentCount_ == mostComments) return;
  ++searchedCommentCount_;
  reading_.otherAlgorithm = otherAlgorithmIn(comment.substr(0, longest));
}

void SecondReading::offer(const UnreadLine& line, std::string warning) {
  ambiguity_ = {};
  for (Candidate& candidate : candidates_) {
    switch (candidate.form->take(line, *this)) {
      case Taking::no:
        break;
      case Taking::yes:
        result_->unsupportedLineCount -= 1 + candidate.begunLineCount;
        candidate.begun.clear();
        candidate.begunLineCount = 0;
        return;
      case Taking::begun:
        ++candidate.begunLineCount;
        if (candidate.begun.size() < maximumWarnings) candidate.begun.push_back({line.number, std::move(warning)});
        return;
      case Taking::givenUp:
        release(candidate);
        break;
    }
  }
  if (ambiguity_.empty() && !line.preferred) {
    for (const HashAlgorithmSet& candidates : HashAlgorithm::withSameHexLength()) {
      if (parseGNUStyleLine(line.text, line.number, *candidates.begin())) ambiguity_ = candidates;
    }
  }
  if (!ambiguity_.empty()) {
    ++reading_.ambiguousLineCount;
    reading_.candidates = ambiguity_;
  }
  warn({line.number, std::move(warning)});
}

void SecondReading::release(Candidate& candidate) {
  for (UnsupportedLine& line : candidate.begun) warn(std::move(line));
  candidate.begun.clear();
  candidate.begunLineCount = 0;
}

void SecondReading::warn(UnsupportedLine line) {
  const auto place = std::ranges::upper_bound(warnings_, line.number, {}, &UnsupportedLine::number);
  if (place == warnings_.end() && warnings_.size() == maximumWarnings) return;
  warnings_.insert(place, std::move(line));
  if (warnings_.size() > maximumWarnings) warnings_.pop_back();
}

void SecondReading::add(const UnreadLine& line, std::string name, HashAlgorithm algorithm, std::string_view digits) {
  if (!separatorsOf(name).empty()) fullNames_.push_back(result_->entries.size());
  result_->entries.push_back({Uuid::random(), line.number, std::move(name), algorithm, lowerCased(digits)});
}

void SecondReading::noteSize(std::int64_t bytes) {
  reading_.sizes.resize(result_->entries.size(), -1);
  reading_.sizes.back() = bytes;
}

ListReading SecondReading::finish(ParseResult result) {
  result_ = &result;
  for (Candidate& candidate : candidates_) {
    if (candidate.begunLineCount == 0) continue;
    const bool isAlone = result.entries.empty() && result.unsupportedLineCount == candidate.begunLineCount;
    if (candidate.form->finish(isAlone, *this)) {
      result.unsupportedLineCount -= candidate.begunLineCount;
    } else {
      release(candidate);
    }
  }
  for (UnsupportedLine& line : warnings_) result.warnings.push_back(std::move(line.warning));
  makeNamesRelative();
  for (ChecksumManifestEntry& entry : result.entries) {
    if (!isQuotedName(entry.relativePath)) continue;
    ++reading_.quotedNameCount;
    if (choice_.withoutQuotes) entry.relativePath = entry.relativePath.substr(1, entry.relativePath.size() - 2);
  }
  const bool isFitting = std::ranges::all_of(result.entries, [&](const ChecksumManifestEntry& entry) {
    return hasDigestsOfLength(reading_.otherAlgorithm, entry.expectedHash.size());
  });
  if (!isFitting) reading_.otherAlgorithm = {};
  reading_.isOtherAlgorithmInName &= isFitting;
  HashAlgorithmSet algorithms;
  for (const ChecksumManifestEntry& entry : result.entries) algorithms.insert(entry.algorithm);
  reading_.isAlgorithmInName = !reading_.isOtherAlgorithmInName && !algorithms.empty();
  for (const HashAlgorithm algorithm : algorithms) reading_.isAlgorithmInName &= isNamedIn(list_, algorithm);
  reading_.result = std::move(result);
  return std::move(reading_);
}

// Names of two systems, or names that climb, share no folder: they stay what they are, and are refused for it.
void SecondReading::makeNamesRelative() {
  if (fullNames_.empty()) return;
  const auto nameOf = [&](std::size_t index) -> std::string& { return result_->entries[index].relativePath; };
  const std::string_view separators = separatorsOf(nameOf(fullNames_.front()));
  // Of a name that ends with a separator its last component must be left, too.
  const auto bare = [&](std::string_view name) { return name.substr(0, name.find_last_not_of(separators) + 1); };
  std::string_view folder = bare(nameOf(fullNames_.front()));
  for (const std::size_t index : fullNames_) {
    const std::string_view name = bare(nameOf(index));
    if (separatorsOf(name) != separators || climbs(name, separators)) return;
    const auto shared = std::ranges::mismatch(folder, name).in1 - folder.begin();
    folder = folder.substr(0, static_cast<std::size_t>(shared));
    folder = folder.substr(0, folder.find_last_of(separators) + 1);
  }
  if (folder.empty()) return;
  reading_.commonFolder = folder;
  for (const std::size_t index : fullNames_) nameOf(index).erase(0, reading_.commonFolder.size());
}

}  // namespace tallyfold::ChecksumManifestService
