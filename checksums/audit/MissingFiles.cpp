#include "checksums/audit/MissingFiles.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

#include "core/base/KeyedHash.h"
#include "core/digests/HashPipeline.h"
#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"

namespace tallyfold {

using namespace ChecksumManifestService;

/// Something that is told apart by the keyed hash of what it is to have in common with another.
struct MissingFiles::Hashed {
  std::size_t hash;
  std::size_t index;
};

struct MissingFiles::Choice {
  std::optional<std::size_t> file;
  LikelyFile::Name name = LikelyFile::Name::otherwise;
  LikelyFile::Bytes bytes = LikelyFile::Bytes::unknown;
  bool isShared = false;  // Another missing file is as likely that one.
};

namespace {

constexpr std::size_t kBetweenChecks = 256;

std::string_view baseName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);  // All of it where there is no slash.
}

/// The path as the entry means it.
std::string meantPath(const ManifestFileGroup& group) { return manifestGroupingKey(group.relativePath).path; }

std::size_t hashOf(const std::string& text) { return KeyedHash()(text); }

std::size_t together(std::size_t hash, std::string_view text) {
  std::string both(text);
  both.append(reinterpret_cast<const char*>(&hash), sizeof hash);
  return hashOf(both);
}

/// Nothing where two digests of one algorithm contradict each other.
std::optional<DigestMap> digestsOf(const ManifestFileGroup& group) {
  DigestMap digests;
  for (const ChecksumManifestEntry& entry : group.entries) {
    const auto known = digests.find(entry.algorithm);
    if (known && *known != entry.expectedHash) return std::nullopt;
    if (!known) digests.insert(entry.algorithm, entry.expectedHash);
  }
  return digests;
}

std::size_t keyOf(const DigestMap& digests, HashAlgorithmSet algorithms) {
  std::string text;
  for (const HashAlgorithm algorithm : algorithms) {
    text += algorithm.rawValue();
    text += *digests.find(algorithm);
  }
  return hashOf(text);
}

/// Calls `take(group, file)` for those that have the same hash: the first with the first, the second with the second,
/// as long as there are both.
template <typename Hashed, typename Take>
void pairUp(std::vector<Hashed> groups, std::vector<Hashed> files, Take take) {
  const auto place = [](const Hashed& each) { return std::pair(each.hash, each.index); };
  std::ranges::sort(groups, {}, place);
  std::ranges::sort(files, {}, place);
  auto file = files.begin();
  for (const auto& group : groups) {
    while (file != files.end() && file->hash < group.hash) ++file;
    if (file != files.end() && file->hash == group.hash) take(group.index, (file++)->index);
  }
}

}  // namespace

MissingFiles::MissingFiles(const std::vector<ChecksumManifestEntry>& entries, const std::vector<std::uint32_t>& missing,
                           const std::vector<std::string>& unlisted, const std::stop_token& cancellation)
    : entries_(entries), unlisted_(unlisted), isKnown_(unlisted.size()), isForgotten_(unlisted.size()) {
  std::vector<std::reference_wrapper<const ChecksumManifestEntry>> wanted;
  wanted.reserve(missing.size());
  for (const std::uint32_t index : missing) wanted.emplace_back(entries[index]);
  groups_ = groupEntries(wanted, cancellation);
  keys_.reserve(groups_.size());
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    if (i % kBetweenChecks == 0) HashService::checkCancellation(cancellation);
    const auto digests = digestsOf(groups_[i]);
    keys_.emplace_back();
    if (!digests) continue;
    const HashAlgorithmSet algorithms = digests->algorithms();
    if (std::ranges::find(algorithmSets_, algorithms) == algorithmSets_.end()) algorithmSets_.push_back(algorithms);
    for (const HashAlgorithm algorithm : algorithms) algorithms_.insert(algorithm);
    const std::size_t key = keyOf(*digests, algorithms);
    const std::size_t first = groupsByKey_.emplace(key, i).first->second;
    if (hasDigestsOf(groups_[first], *digests)) keys_.back() = key;
  }
}

bool MissingFiles::hasDigestsOf(const ManifestFileGroup& group, const DigestMap& digests) const {
  return std::ranges::all_of(group.entries, [&](const ChecksumManifestEntry& entry) {
    return digests.find(entry.algorithm) == std::string_view(entry.expectedHash);
  });
}

void MissingFiles::add(std::size_t file, const DigestMap& digests) {
  isKnown_[file] = true;
  for (const HashAlgorithmSet algorithms : algorithmSets_) {
    const std::size_t key = keyOf(digests, algorithms);
    const auto found = groupsByKey_.find(key);
    if (found != groupsByKey_.end() && hasDigestsOf(groups_[found->second], digests)) matches_.emplace_back(key, file);
  }
}

void MissingFiles::forget(std::size_t file) {
  isKnown_[file] = false;
  isForgotten_[file] = true;
}

void MissingFiles::chooseByName(std::vector<Choice>& choices, const std::stop_token& cancellation) const {
  using Name = LikelyFile::Name;
  const std::pair<Name, std::string (*)(std::string_view path)> ways[]{
      {Name::inForm, [](auto path) { return decomposed(path); }},
      {Name::inCase, [](auto path) { return caseFolded(path); }},
      {Name::inCaseAndForm, [](auto path) { return decomposed(caseFolded(decomposed(path))); }},
  };
  for (const auto& way : ways) {
    const auto& common = way.second;
    std::vector<Hashed> groups;
    std::vector<Hashed> files;
    for (std::size_t i = 0; i < groups_.size(); ++i) {
      if (i % kBetweenChecks == 0) HashService::checkCancellation(cancellation);
      if (!choices[i].file) groups.push_back({hashOf(common(meantPath(groups_[i]))), i});
    }
    for (std::size_t i = 0; i < unlisted_.size(); ++i) {
      if (i % kBetweenChecks == 0) HashService::checkCancellation(cancellation);
      if (!isForgotten_[i]) files.push_back({hashOf(common(unlisted_[i])), i});
    }
    pairUp(std::move(groups), std::move(files), [&](std::size_t group, std::size_t file) {
      if (common(meantPath(groups_[group])) != common(unlisted_[file])) return;
      choices[group] = {.file = file, .name = way.first};
    });
  }
}

void MissingFiles::chooseByBytes(std::vector<Choice>& choices, const std::stop_token& cancellation) const {
  using Bytes = LikelyFile::Bytes;
  if (algorithms_.empty()) return;
  const DigestMap ofNothing = HashPipeline(algorithms_).finalize();
  auto matches = matches_;
  std::erase_if(matches, [&](const auto& match) { return !isKnown_[match.second]; });
  std::ranges::sort(matches);
  std::vector<bool> isTaken(unlisted_.size());
  const auto choose = [&](std::size_t group, std::size_t file) {
    Choice& choice = choices[group];
    if (choice.file != file) choice.name = LikelyFile::Name::otherwise;
    choice.file = file;
    choice.isShared = isTaken[file];
    if (hasDigestsOf(groups_[group], ofNothing)) {
      choice.bytes = Bytes::none;
    } else {
      const bool isByCRC32 = groups_[group].algorithms() == HashAlgorithmSet{HashAlgorithm::crc32};
      choice.bytes = isByCRC32 ? Bytes::sameCRC32 : Bytes::same;
    }
    isTaken[file] = true;
  };
  const auto isOpen = [&](std::size_t group) { return keys_[group] && choices[group].bytes == Bytes::unknown; };
  using NameOf = std::function<std::string_view(std::size_t index)>;
  const auto chooseFree = [&](const NameOf& nameOfGroup, const NameOf& nameOfFile) {
    HashService::checkCancellation(cancellation);
    std::vector<Hashed> groups;
    std::vector<Hashed> files;
    for (std::size_t i = 0; i < groups_.size(); ++i) {
      if (isOpen(i)) groups.push_back({together(*keys_[i], nameOfGroup(i)), i});
    }
    for (const auto& [key, file] : matches) {
      if (!isTaken[file]) files.push_back({together(key, nameOfFile(file)), file});
    }
    pairUp(std::move(groups), std::move(files), [&](std::size_t group, std::size_t file) {
      if (!isTaken[file] && std::ranges::binary_search(matches, std::pair(*keys_[group], file))) choose(group, file);
    });
  };
  // The one that has likely been renamed, then one that was moved, then any.
  chooseFree(
      [&](std::size_t group) { return choices[group].file ? std::string_view(unlisted_[*choices[group].file]) : ""; },
      [&](std::size_t file) { return std::string_view(unlisted_[file]); });
  chooseFree([&](std::size_t group) { return baseName(groups_[group].relativePath); },
             [&](std::size_t file) { return baseName(unlisted_[file]); });
  chooseFree([](std::size_t) { return ""; }, [](std::size_t) { return ""; });
  // There are fewer files than were missing.
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    if (!isOpen(i) || choices[i].file) continue;
    const auto first = std::ranges::lower_bound(matches, std::pair(*keys_[i], std::size_t{0}));
    if (first != matches.end() && first->first == *keys_[i]) choose(i, first->second);
  }
}

// What has the name of a missing file, and other bytes.
void MissingFiles::chooseOthers(std::vector<Choice>& choices, const std::stop_token& cancellation) const {
  using Bytes = LikelyFile::Bytes;
  HashService::checkCancellation(cancellation);
  std::vector<bool> isLikely(unlisted_.size());
  for (std::size_t i = 0; i < choices.size(); ++i) {
    if (!choices[i].file) continue;
    isLikely[*choices[i].file] = true;
    if (keys_[i] && choices[i].bytes == Bytes::unknown && isKnown_[*choices[i].file]) choices[i].bytes = Bytes::other;
  }
  std::vector<Hashed> groups;
  std::vector<Hashed> files;
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    if (keys_[i] && !choices[i].file) groups.push_back({together(0, baseName(groups_[i].relativePath)), i});
  }
  for (std::size_t i = 0; i < unlisted_.size(); ++i) {
    if (isKnown_[i] && !isLikely[i]) files.push_back({together(0, baseName(unlisted_[i])), i});
  }
  pairUp(std::move(groups), std::move(files), [&](std::size_t group, std::size_t file) {
    if (baseName(groups_[group].relativePath) != baseName(unlisted_[file])) return;
    choices[group].file = file;
    choices[group].bytes = Bytes::other;
  });
}

// Of the known files that have the bytes of a key, and of those that have a certain name, too.
MissingFiles::Counts MissingFiles::countFiles() const {
  Counts counts;
  for (const auto& [key, file] : matches_) {
    if (!isKnown_[file]) continue;
    ++counts[key];
    ++counts[together(key, baseName(unlisted_[file]))];
  }
  return counts;
}

std::uint32_t MissingFiles::copiesOf(std::size_t group, std::size_t file, const Counts& counts) const {
  const std::string_view name = baseName(unlisted_[file]);
  const bool isTold = name == baseName(groups_[group].relativePath) && counts.at(together(*keys_[group], name)) == 1;
  return isTold ? 0 : counts.at(*keys_[group]) - 1;
}

// Behind those that are chosen: all that have the bytes of a missing file.
void MissingFiles::addCopies(std::vector<LikelyFile>& ofFiles) const {
  Counts groups;
  for (const auto& key : keys_) {
    if (key) ++groups[*key];
  }
  const DigestMap ofNothing = algorithms_.empty() ? DigestMap() : HashPipeline(algorithms_).finalize();
  for (const auto& [key, file] : matches_) {
    const ManifestFileGroup& group = groups_[groupsByKey_.at(key)];
    if (!isKnown_[file] || hasDigestsOf(group, ofNothing)) continue;
    const ChecksumManifestEntry& entry = group.entries.front();
    const bool isByCRC32 = group.algorithms() == HashAlgorithmSet{HashAlgorithm::crc32};
    ofFiles.push_back({.entry = static_cast<std::size_t>(&entry - entries_.data()),
                       .file = file,
                       .bytes = isByCRC32 ? LikelyFile::Bytes::sameCRC32 : LikelyFile::Bytes::same,
                       .others = groups[key] - 1,
                       .copies = 1});
  }
}

LikelyFiles MissingFiles::find(const std::stop_token& cancellation) const {
  using Bytes = LikelyFile::Bytes;
  std::vector<Choice> choices(groups_.size());
  chooseByName(choices, cancellation);
  chooseByBytes(choices, cancellation);
  chooseOthers(choices, cancellation);
  const auto hasBytes = [](const Choice& choice) {
    return choice.bytes == Bytes::same || choice.bytes == Bytes::sameCRC32;
  };
  std::vector<std::uint32_t> counts(unlisted_.size());  // Of those that have the bytes of each file.
  for (const Choice& choice : choices) {
    if (choice.file && hasBytes(choice)) ++counts[*choice.file];
  }
  HashService::checkCancellation(cancellation);
  const Counts files = countFiles();
  LikelyFiles found;
  const DigestMap ofNothing = algorithms_.empty() ? DigestMap() : HashPipeline(algorithms_).finalize();
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    const bool isEmpty = keys_[i] && hasDigestsOf(groups_[i], ofNothing);
    ++(!keys_[i] ? found.contradictoryCount : isEmpty ? found.emptyCount : found.missingCount);
  }
  found.algorithms = algorithms_;
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    const Choice& choice = choices[i];
    if (!choice.file) continue;
    if (!choice.isShared && hasBytes(choice)) ++found.foundCount;
    for (const ChecksumManifestEntry& entry : groups_[i].entries) {
      found.ofEntries.push_back({.entry = static_cast<std::size_t>(&entry - entries_.data()),
                                 .file = *choice.file,
                                 .name = choice.name,
                                 .bytes = choice.bytes,
                                 .others = hasBytes(choice) ? counts[*choice.file] - 1 : 0,
                                 .copies = hasBytes(choice) ? copiesOf(i, *choice.file, files) : 0});
    }
  }
  HashService::checkCancellation(cancellation);
  std::ranges::sort(found.ofEntries, {}, &LikelyFile::entry);
  found.ofFiles = found.ofEntries;
  addCopies(found.ofFiles);
  HashService::checkCancellation(cancellation);
  const auto place = [](const LikelyFile& likely) {
    const bool isByBytes = likely.bytes != Bytes::unknown && likely.bytes != Bytes::other;
    return std::pair(likely.file, !isByBytes);
  };
  std::ranges::stable_sort(found.ofFiles, {}, place);
  const auto areOfOneFile = [](const LikelyFile& a, const LikelyFile& b) { return a.file == b.file; };
  found.ofFiles.erase(std::unique(found.ofFiles.begin(), found.ofFiles.end(), areOfOneFile), found.ofFiles.end());
  return found;
}

}  // namespace tallyfold
