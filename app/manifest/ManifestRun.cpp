#include "app/manifest/ManifestRun.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "app/tasks/ReadAhead.h"
#include "checksums/lists/ListReading.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/verification/ManifestVerification.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

ManifestJob::State stateOf(const ChecksumManifestEntry& entry, const ManifestGroupOutcome& outcome,
                           std::int64_t fileSize) {
  if (const auto* failure = std::get_if<ManifestGroupFailure>(&outcome)) {
    return ManifestJob::Failed{failure->sentence, failure->cause == ManifestFailureCause::missing};
  }
  const std::string_view actual = std::get<DigestMap>(outcome).find(entry.algorithm).value();
  if (actual == entry.expectedHash) return ManifestJob::Match{};
  return ManifestJob::Mismatch{std::string(actual), fileSize};
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

/// Goes only through the open root, as the verification does.
ReadAhead readAhead(const std::shared_ptr<const ManifestRun>& run, const ManifestRun::Prepared& prepared,
                    const std::stop_token& cancellation) try {
  const auto files = std::make_shared<const FolderFiles>(prepared->rootIdentity);
  const auto fetch = [run, prepared, files](std::size_t group) {
    return files->fetchBeginning(prepared->groups[group].relativePath);
  };
  return {prepared->groups.size(), fetch, cancellation};
} catch (const std::exception&) {
  return {0, {}, cancellation};
}

}  // namespace

void ManifestRun::work(const Context& context, const Taker& take, const GroupsTaker& takeGroups) const {
  const std::stop_token& cancellation = context.cancellation();
  const auto prepared = std::make_shared<const PreparedManifestVerification>(
      PreparedManifestVerification{ChecksumManifestService::groupEntries(*entries, cancellation),
                                   ChecksumManifestService::captureRootIdentity(root, cancellation)});
  context.post([=](ManifestFlow& flow) { takeGroups(flow, prepared); });
  ManifestVerification verification(root, prepared->rootIdentity);
  ReadAhead ahead = readAhead(shared_from_this(), prepared, cancellation);
  // The groups are views of the list: an entry's place in it is that of its job.
  const auto indexOf = [&](const ChecksumManifestEntry& entry) {
    return static_cast<std::size_t>(&entry - entries->data());
  };

  const auto reports = std::make_shared<GatheredNews<Report>>();
  Report now;
  now.groups = prepared->groups.size();
  const auto tellPlace = [&](Report& waiting) {
    waiting.causes = now.causes;
    waiting.groupsDone = now.groupsDone;
    waiting.groups = now.groups;
    waiting.running = now.running;
    waiting.fraction = now.fraction;
    waiting.counted = now.counted;
  };
  const auto read = [&](std::int64_t bytes, std::int64_t size) {
    now.fraction = size == 0 ? 0 : static_cast<double>(bytes) / static_cast<double>(size);
    if (bytes > 0 && bytes < size) context.gather(reports, tellPlace, take);
  };
  std::vector<std::size_t> jobs;
  std::vector<Finding> findings;
  std::vector<Checked> checked;
  auto earlier = kept.checked.begin();
  for (const ManifestFileGroup& group : prepared->groups) {
    HashService::checkCancellation(cancellation);
    ahead.reached(now.groupsDone);
    const auto report = [&](std::vector<std::size_t> verifying) {
      const auto add = [&](Report& waiting) {
        waiting.verifying = std::move(verifying);
        std::ranges::move(findings, std::back_inserter(waiting.findings));
        std::ranges::move(checked, std::back_inserter(waiting.checked));
        tellPlace(waiting);
      };
      context.gather(reports, add, take);
      findings.clear();
      checked.clear();
    };
    jobs.clear();
    for (const ChecksumManifestEntry& entry : group.entries) jobs.push_back(indexOf(entry));
    now.running = jobs.front();
    report(jobs);
    while (earlier != kept.checked.end() && earlier->job < jobs.front()) ++earlier;
    const bool wasChecked = earlier != kept.checked.end() && earlier->job == jobs.front();
    if (wasChecked && verification.isStill(earlier->version, group, cancellation)) {
      for (const std::size_t job : jobs) findings.push_back({job, kept.states[job]});
      checked.push_back(*earlier);
    } else {
      const ManifestGroupOutcome outcome = verification.verify(group, cancellation, read, counter.get());
      count(group, outcome, now.causes);
      const auto& version = verification.lastVersion();
      const std::int64_t size = version ? version->fileSize : 0;
      for (std::size_t i = 0; i < jobs.size(); ++i) {
        findings.push_back({jobs[i], stateOf(group.entries[i], outcome, size)});
      }
      if (version) checked.push_back({jobs.front(), *version});
    }
    ++now.groupsDone;
    now.fraction = 0;
    now.counted = *counter;
    report({});
  }
}

}  // namespace tallyfold
