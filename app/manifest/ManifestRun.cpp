#include "app/manifest/ManifestRun.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "checksums/ListReading.h"
#include "checksums/ManifestVerification.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

ManifestJob::State stateOf(const ChecksumManifestEntry& entry, const ManifestGroupOutcome& outcome) {
  if (const auto* failure = std::get_if<ManifestGroupFailure>(&outcome)) return ManifestJob::Failed{failure->sentence};
  const std::string_view actual = std::get<DigestMap>(outcome).find(entry.algorithm).value();
  if (actual == entry.expectedHash) return ManifestJob::Match{};
  return ManifestJob::Mismatch{std::string(actual)};
}

void count(const ManifestFileGroup& group, const ManifestGroupOutcome& outcome, ManifestRun::Causes& causes) {
  const auto* const failure = std::get_if<ManifestGroupFailure>(&outcome);
  if (failure == nullptr) return;
  const std::size_t entries = group.entries.size();
  switch (failure->cause) {
    case ManifestFailureCause::missing:
      causes.missing += entries;
      if (ChecksumManifestService::isQuotedName(group.relativePath)) causes.missingQuoted += entries;
      break;
    case ManifestFailureCause::absolutePath:
      causes.absolutePath += entries;
      break;
    case ManifestFailureCause::rootChanged:
      causes.rootChanged += entries;
      break;
    case ManifestFailureCause::other:
      break;
  }
}

}  // namespace

void ManifestRun::work(const Context& context, const Taker& take) const {
  const std::stop_token& cancellation = context.cancellation();
  const PreparedManifestVerification prepared{ChecksumManifestService::groupEntries(*entries, cancellation),
                                              ChecksumManifestService::captureRootIdentity(root, cancellation)};
  ManifestVerification verification(root, prepared.rootIdentity);
  // The groups are views of the list: an entry's place in it is that of its job.
  const auto indexOf = [&](const ChecksumManifestEntry& entry) {
    return static_cast<std::size_t>(&entry - entries->data());
  };

  const auto reports = std::make_shared<GatheredNews<Report>>();
  std::size_t groupsDone = 0;
  Causes causes;
  std::vector<std::size_t> jobs;
  std::vector<Finding> findings;
  for (const ManifestFileGroup& group : prepared.groups) {
    HashService::checkCancellation(cancellation);
    const auto report = [&](std::vector<std::size_t> verifying) {
      const auto add = [&](Report& waiting) {
        waiting.verifying = std::move(verifying);
        std::ranges::move(findings, std::back_inserter(waiting.findings));
        waiting.causes = causes;
        waiting.groupsDone = groupsDone;
        waiting.groups = prepared.groups.size();
      };
      context.gather(reports, add, take);
      findings.clear();
    };
    jobs.clear();
    for (const ChecksumManifestEntry& entry : group.entries) jobs.push_back(indexOf(entry));
    report(jobs);
    const ManifestGroupOutcome outcome = verification.verify(group, cancellation);
    count(group, outcome, causes);
    for (std::size_t i = 0; i < jobs.size(); ++i) findings.push_back({jobs[i], stateOf(group.entries[i], outcome)});
    ++groupsDone;
    report({});
  }
}

}  // namespace tallyfold
