#pragma once

#include "checksums/audit/MovedFiles.h"
#include "checksums/audit/UnlistedFiles.h"
#include "checksums/lists/ChecksumReading.h"
#include "checksums/lists/ListReading.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/verification/ManifestVerification.h"
#include "export/reports/VerificationReport.h"
#include "tests/export/ExportTest.h"

/// Whole operations of all floors below the model.
namespace tallyfold::test {

/// What came of an operation, a line for each of its parts that may fail by itself.
using Lines = std::vector<std::string>;

inline const testing::Matcher<std::string> kIsChanged = HasSubstr(" changed while it was being ");

inline std::string outcomeOfLoad(const fs::path& list, const std::stop_token& cancellation = {}) {
  return attempted([&] {
    const auto result = ChecksumManifestService::readList(list, {}, cancellation).result;
    std::string text = std::to_string(result.ignoredLineCount + result.unsupportedLineCount) + " other lines";
    for (const ChecksumManifestEntry& entry : result.entries) text += "\n" + entry.expectedHash + entry.relativePath;
    return text;
  });
}

/// What comes of the verification of these files, one after the other; of each once more unless it is the same still,
/// where that is asked for.
inline Lines outcomesOfVerification(const fs::path& root, const std::vector<std::string>& paths,
                                    const std::stop_token& cancellation = {}, bool looksAgain = false) {
  Lines lines;
  const std::string failure = attempted([&] {
    ManifestVerification verification(root, ChecksumManifestService::captureRootIdentity(root, {}));
    for (const std::string& path : paths) {
      const ChecksumManifestEntry entry{Uuid(), 1, path, HashAlgorithm::sha256, ""};
      const ManifestFileGroup group{entry.relativePath, {entry}};
      ManifestGroupOutcome outcome = verification.verify(group, cancellation);
      const auto version = verification.lastVersion();
      EXPECT_EQ(version.has_value(), std::holds_alternative<DigestMap>(outcome));
      if (looksAgain && version && !verification.isStill(*version, group, cancellation)) {
        outcome = verification.verify(group, cancellation);
      }
      const auto* const notHashed = std::get_if<ManifestGroupFailure>(&outcome);
      lines.push_back(notHashed != nullptr ? "error: " + notHashed->sentence
                                           : std::string(*std::get<DigestMap>(outcome).find(HashAlgorithm::sha256)));
    }
  });
  return failure.empty() ? lines : Lines{failure};
}

/// What a walk below `root` finds: each file with its digest, each folder that cannot be read, or why there is neither.
inline Lines outcomesOfWalk(const fs::path& root, const std::stop_token& cancellation = {}) {
  Lines lines;
  const std::string failure = attempted([&] {
    const FolderFiles files(ChecksumManifestService::captureRootIdentity(root, cancellation));
    Lines paths;
    const auto add = [&](std::string path) { return paths.push_back(std::move(path)), true; };
    const FolderWalk walk = files.walk(cancellation, add);
    for (const auto& [path, sentence] : walk.unreadFolders) lines.push_back((path + "/: error: ").append(sentence));
    std::ranges::sort(paths);
    for (const std::string& path : paths) {
      lines.push_back(path + ": " + attempted([&] {
                        const DigestMap digests =
                            files.hash(path, {HashAlgorithm::sha256}, cancellation, [](auto...) {});
                        return std::string(*digests.find(HashAlgorithm::sha256));
                      }));
      if (lines.back().ends_with("cancelled")) throw CancellationError();
    }
    lines.push_back(std::to_string(walk.linkCount) + " links, " + std::to_string(walk.otherCount) + " others");
  });
  return failure.empty() ? lines : Lines{failure};
}

/// What is said of a folder and of a list of these entries, those at `missing` of whose files were missing: each
/// unlisted file, each missing file that another one is, each that is there again, and whatever went wrong.
inline Lines outcomesOfAudit(const fs::path& root, const std::vector<ChecksumManifestEntry>& entries,
                             const std::vector<std::uint32_t>& missing, const std::stop_token& cancellation = {}) {
  Lines lines;
  const std::string failure = attempted([&] {
    const ManifestRootIdentity identity = ChecksumManifestService::captureRootIdentity(root, cancellation);
    const FolderFiles files(identity);
    const auto found = UnlistedFiles::find(files, identity, entries, root / "list", cancellation);
    for (const std::string& path : found.paths) lines.push_back("unlisted " + path);
    if (found.hasRefusedNames) lines.emplace_back("error: names");
    if (found.walk.unreadFolderCount + found.walk.changedFolderCount > 0) lines.emplace_back("error: folders");
    const MovedFiles moved = MovedFiles::search(
        files,
        {.root = root, .rootIdentity = identity, .entries = entries, .missing = missing, .unlisted = found.paths}, {},
        cancellation);
    for (const LikelyFile& likely : moved.likely.ofEntries) {
      const bool isIt = likely.bytes == LikelyFile::Bytes::same;
      lines.push_back(entries[likely.entry].relativePath + (isIt ? " is at " : " is not ") + found.paths[likely.file]);
    }
    for (const auto& [file, sentence] : moved.failures) lines.push_back(found.paths[file] + ": error: " + sentence);
    if (moved.likely.returnedCount > 0) lines.push_back(std::to_string(moved.likely.returnedCount) + " there again");
  });
  return failure.empty() ? lines : Lines{failure};
}

/// An operation that reads: of one file, or of two.
struct Reading {
  const char* name;
  std::string (*outcome)(const fs::path& a, const fs::path& b, const std::stop_token& cancellation);
  bool comesBack = false;  ///< Opens the files once more.
};

inline constexpr Reading kHash{
    "Hash", [](auto& a, auto&, auto& token) { return outcomeOf(a, {HashAlgorithm::sha256}, token); }};
inline constexpr HashAlgorithmSet kBLAKE3{HashAlgorithm::blake3};
/// Of a large file on several threads, each of which reads pieces of it.
inline constexpr Reading kHashInPieces{"HashInPieces", [](auto& a, auto&, auto& token) {
                                         pretendCores(3);
                                         const std::string outcome = outcomeOf(a, kBLAKE3, token);
                                         return pretendCores(0), outcome;
                                       }};
inline constexpr Reading kComparison{"Comparison",
                                     [](auto& a, auto& b, auto& token) { return outcomeOfComparison(a, b, token); }};
/// Of files of different sizes, and what goes on from there.
inline constexpr Reading kWholeComparison{
    "WholeComparison",
    [](auto& a, auto& b, auto& token) {
      return attempted([&] {
        const auto compared = HashService::compareFilesKeepingVersions(a, b, token, [](double) {});
        std::string outcome = outcomeOfCommonPart(a, b, compared.versions, token);
        if (outcome.starts_with("error")) return outcome;
        const std::string count = outcomeOfCount(a, b, compared.versions, 0, token);
        return count.starts_with("error") ? count : outcome + ", " + count;
      });
    },
    true};
inline constexpr Reading kListLoad{"ListLoad", [](auto& a, auto&, auto& token) { return outcomeOfLoad(a, token); }};
/// Below the folder around that of the file.
inline constexpr Reading kVerification{
    "Verification", [](auto& a, auto&, auto& token) {
      const fs::path root = a.parent_path().parent_path();
      return outcomesOfVerification(root, {a.lexically_relative(root)}, token).front();
    }};
/// Saves a report of a verification, in more than one write.
inline void writeVerification(const fs::path& destination, const std::stop_token& cancellation) {
  VerificationReport report;
  report.entryCount = 2'000;
  report.entryAt = [](std::size_t) -> VerificationReport::Entry {
    return {1, "a", HashAlgorithm::md5, "", "", VerificationReport::Status::match, "a sentence"};
  };
  report.write(ManifestService::Format::json, destination, cancellation);
}

}  // namespace tallyfold::test
