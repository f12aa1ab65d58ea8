// What is taken away from the Manifest screen: copies of rows, and reports.

#include <string>
#include <utility>
#include <vector>

#include "app/manifest/ManifestFlow.h"

namespace tallyfold {

namespace {

/// The states of the entries at one moment.
struct Snapshot {
  std::shared_ptr<const ManifestEntries> entries;
  std::vector<ManifestJob::State> states;
  std::vector<std::int64_t> sizes;  // As the list says; empty where it says none.

  [[nodiscard]] VerificationReport::Entry at(std::size_t index) const;
};

VerificationReport::Entry Snapshot::at(std::size_t index) const {
  const ChecksumManifestEntry& entry = (*entries)[index];
  VerificationReport::Entry reported{.line = entry.lineNumber,
                                     .path = entry.relativePath,
                                     .algorithm = entry.algorithm,
                                     .expected = entry.expectedHash,
                                     .actual = {},
                                     .status = VerificationReport::Status::unchecked};
  const ManifestJob::State& state = states[index];
  if (const auto* failed = std::get_if<ManifestJob::Failed>(&state)) {
    reported.status = VerificationReport::Status::failed;
    reported.sentence = failed->message;
  } else if (const auto* mismatch = std::get_if<ManifestJob::Mismatch>(&state)) {
    reported.status = VerificationReport::Status::mismatch;
    reported.actual = mismatch->actual;
    if (index < sizes.size() && sizes[index] >= 0 && sizes[index] != mismatch->fileSize) {
      reported.sentence = "Bytes: " + std::to_string(sizes[index]) + " in the list, " +
                          std::to_string(mismatch->fileSize) + " in the file.";
    }
  } else if (std::holds_alternative<ManifestJob::Match>(state)) {
    reported.status = VerificationReport::Status::match;
    reported.actual = entry.expectedHash;
  }
  return reported;
}

}  // namespace

void ManifestFlow::copyManifestRow(int row) { copyManifestJobs(jobs_.shownJobs(row, 1)); }

void ManifestFlow::copyMarked() {
  std::vector<ManifestJob> marked;
  for (const std::uint32_t job : jobs_.markedJobs()) marked.push_back(jobs_.jobs()[job]);
  copyManifestJobs(std::move(marked));
}

void ManifestFlow::copyManifestShown() {
  if (!copyManifestRefusal().isEmpty()) return;
  if (showsWarnings_) return context().copy(list_.warnings.join(u'\n').toUtf8());
  copyManifestJobs(jobs_.shownJobs(0, jobs_.count()));
}

void ManifestFlow::copyManifestJobs(std::vector<ManifestJob> jobs) {
  if (jobs.empty()) return;
  context().copyLater([jobs = std::move(jobs)](const std::stop_token& cancellation) {
    return ManifestJobListModel::text(jobs, cancellation);
  });
}

std::shared_ptr<const VerificationReport> ManifestFlow::report() const {
  const auto snapshot = std::make_shared<Snapshot>();
  snapshot->entries = list_.entries;
  snapshot->sizes = jobs_.sizes();
  snapshot->states.reserve(jobs_.jobs().size());
  for (const ManifestJob& job : jobs_.jobs()) snapshot->states.push_back(job.state);
  const tallyfold::ManifestVerdict verdict = manifestVerdict();
  const auto report = std::make_shared<VerificationReport>();
  report->verdict = verdict.title.toStdString();
  report->details = verdict.details.toStdString();
  report->isAllMatch = verdict.kind == tallyfold::ManifestVerdict::AllMatch;
  report->list = *choice_.url;
  report->listDigests = list_.reading.digests;
  report->root = *rootURL_;
  report->start = run_.start;
  report->end = run_.end;
  report->counts = {.matched = manifestMatchedCount(),
                    .mismatched = manifestMismatchCount(),
                    .failed = manifestErrorCount(),
                    .unchecked = jobs_.count(ManifestJobListModel::Waiting),
                    .linesNotUnderstood = list_.unsupportedLineCount,
                    .linesIgnored = list_.ignoredLineCount};
  report->entryCount = snapshot->states.size();
  report->unlisted = unlistedReport_();
  report->entryAt = [snapshot, noteOf = report->unlisted.noteOfEntry](std::size_t index) {
    VerificationReport::Entry entry = snapshot->at(index);
    if (noteOf) entry.note = noteOf(index);
    return entry;
  };
  return report;
}

QString ManifestFlow::exportRefusal() const {
  if (isVerifying_) return tr("Reports can be saved when the verification has ended.");
  return run_.stage == ManifestTally::Stage::none ? tr("There is no verification to export yet.") : QString();
}

}  // namespace tallyfold
