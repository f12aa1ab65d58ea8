#include <algorithm>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <utility>
#include <variant>
#include <vector>

#include <QPointer>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/tasks/FreeMemory.h"
#include "checksums/ManifestVerification.h"
#include "core/base/Errors.h"

namespace tallyfold {

/// A list that was read, ready to be shown in one change.
struct AppViewModel::PreparedManifestLoad {
  std::shared_ptr<const ManifestEntries> entries;
  std::vector<ManifestJob> jobs;  // Of the entries, in their order.
  QStringList warnings;
  qint64 ignoredLineCount = 0;
  qint64 unsupportedLineCount = 0;

  explicit PreparedManifestLoad(ChecksumManifestService::ParseResult parsed)
      : entries(new ManifestEntries(std::move(parsed.entries)), destroy),
        ignoredLineCount(parsed.ignoredLineCount),
        unsupportedLineCount(parsed.unsupportedLineCount) {
    jobs.reserve(entries->size());
    for (const ChecksumManifestEntry& entry : *entries) {
      jobs.push_back({Uuid::random(), {entries, &entry}, ManifestJob::Queued{}});
    }
    for (const std::string& warning : parsed.warnings) warnings.append(QString::fromStdString(warning));
  }

  // A run that is still on its way out may be the last to let go of them.
  static void destroy(const ManifestEntries* entries) {
    delete entries;
    returnFreeMemory();
  }
};

/// One verification: what it is about, and what the worker has found and the interface thread has not applied yet.
struct AppViewModel::ManifestRun {
  struct Outcome {
    std::size_t job;
    ManifestJob::State state;
  };

  std::shared_ptr<const ManifestEntries> entries;
  std::filesystem::path root;

  std::mutex mutex;
  // Guarded by the mutex.
  std::vector<std::size_t> verifying;  // Jobs of the group under way, until they are shown as such.
  std::vector<Outcome> outcomes;
  std::size_t groupsDone = 0;
  std::size_t groups = 0;
  bool isPosted = false;  // The interface thread will come by.

  // On the worker thread. However many groups are done until the interface thread comes by, it comes once.
  template <typename Change>
  void report(const BackgroundTask::Context& context, const std::shared_ptr<ManifestRun>& self, Change change) {
    bool wasPosted = false;
    {
      const std::lock_guard lock(mutex);
      change();
      wasPosted = std::exchange(isPosted, true);
    }
    if (!wasPosted) context.post([self](AppViewModel& model) { model.applyReports(*self); });
  }

  static ManifestJob::State stateOf(const ChecksumManifestEntry& entry, const ManifestGroupOutcome& outcome) {
    if (const auto* message = std::get_if<std::string>(&outcome)) return ManifestJob::Failed{*message};
    const std::string_view actual = std::get<DigestMap>(outcome).find(entry.algorithm).value();
    if (actual == entry.expectedHash) return ManifestJob::Match{};
    return ManifestJob::Mismatch{std::string(actual)};
  }

  void work(const BackgroundTask::Context& context, const std::shared_ptr<ManifestRun>& self) {
    const std::stop_token& cancellation = context.cancellation();
    const PreparedManifestVerification prepared{ChecksumManifestService::groupEntries(*entries, cancellation),
                                                ChecksumManifestService::captureRootIdentity(root, cancellation)};
    ManifestVerification verification(root, prepared.rootIdentity);
    // The groups are views of the list: an entry's place in it is that of its job.
    const auto indexOf = [&](const ChecksumManifestEntry& entry) {
      return static_cast<std::size_t>(&entry - entries->data());
    };

    std::vector<std::size_t> jobs;
    std::vector<Outcome> found;
    for (const ManifestFileGroup& group : prepared.groups) {
      HashService::checkCancellation(cancellation);
      jobs.clear();
      for (const ChecksumManifestEntry& entry : group.entries) jobs.push_back(indexOf(entry));
      report(context, self, [&] {
        verifying = jobs;
        groups = prepared.groups.size();
      });
      const ManifestGroupOutcome outcome = verification.verify(group, cancellation);
      found.clear();
      for (std::size_t i = 0; i < jobs.size(); ++i) found.push_back({jobs[i], stateOf(group.entries[i], outcome)});
      report(context, self, [&] {
        verifying.clear();
        std::ranges::move(found, std::back_inserter(outcomes));
        ++groupsDone;
      });
    }
  }
};

QVariantMap AppViewModel::manifestFile() const { return fileCard(manifest_.url, manifestSize_.text()); }

QVariantMap AppViewModel::manifestRoot() const { return fileCard(manifest_.rootURL); }

std::optional<std::filesystem::path> AppViewModel::proposedManifestRoot() const {
  if (!manifest_.url || manifest_.url->parent_path() == manifest_.rootURL) return std::nullopt;
  return manifest_.url->parent_path();
}

QVariantMap AppViewModel::proposedManifestRootForScreen() const {
  const auto proposal = proposedManifestRoot();
  if (!proposal) return {};
  return {{QStringLiteral("name"), displayText(proposal->has_filename() ? proposal->filename() : *proposal)},
          {QStringLiteral("path"), displayText(*proposal)}};
}

QString AppViewModel::manifestLines() const {
  if (!manifest_.entries) return {};
  const QLocale locale = userLocale();
  const QString entries =
      manifestJobs_.total() == 1 ? tr("1 entry") : tr("%1 entries").arg(locale.toString(manifestJobs_.total()));
  return manifest_.unsupportedLineCount == 0
             ? entries
             : tr("%1 · %2 unsupported").arg(entries, locale.toString(manifest_.unsupportedLineCount));
}

QString AppViewModel::manifestWarningsSummary() const {
  const QLocale locale = userLocale();
  QString summary =
      tr("Lines that are not understood and cannot be checked: %1. Blank lines and comments: %2.")
          .arg(locale.toString(manifest_.unsupportedLineCount), locale.toString(manifest_.ignoredLineCount));
  if (manifest_.unsupportedLineCount > manifest_.warnings.size()) {
    summary += tr(" The first %1 are listed here.").arg(locale.toString(manifest_.warnings.size()));
  }
  return summary;
}

void AppViewModel::setManifestFile(const QList<QUrl>& urls) {
  const auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (manifest_.isLoading || manifest_.isVerifying || manifestLoadTask_.isRunning() || !location) return;
  discardManifest();
  setErrorMessage({});
  manifest_.url = location;
  manifestSize_.ask(location);
  setLoadingManifest(true);
  emit manifestURLsChanged();
  manifestLoadTask_.start(
      BackgroundTask::Priority::userInitiated,
      [url = *location](const BackgroundTask::Context& context) {
        auto load = std::make_shared<PreparedManifestLoad>(ChecksumManifestService::load(url, context.cancellation()));
        context.post([load](AppViewModel& model) { model.publishManifest(std::move(*load)); });
      },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (failure) {
          model.manifest_.readError = QString::fromStdString(errorDescription(failure));
          model.setErrorMessage(model.manifest_.readError);
          model.setUnseenOutcome(AppMode::Manifest, SomeFailed);
        }
        model.setLoadingManifest(false);
      });
}

void AppViewModel::chooseManifestFile() {
  if (manifest_.isLoading || manifest_.isVerifying || manifestLoadTask_.isRunning()) return;
  desktop_.chooseSingleFile([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setManifestFile({url});
  });
}

void AppViewModel::publishManifest(PreparedManifestLoad load) {
  manifest_.entries = std::move(load.entries);
  BackgroundTask::dispose(manifestJobs_.replaceAll(std::move(load.jobs)));
  manifest_.warnings = std::move(load.warnings);
  manifest_.ignoredLineCount = load.ignoredLineCount;
  manifest_.unsupportedLineCount = load.unsupportedLineCount;
  emit manifestLinesChanged();
}

void AppViewModel::setManifestRoot(const QList<QUrl>& urls) {
  auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (!location) return;
  if (isDirectoryPath(*location) && location->has_parent_path() && location->has_relative_path()) {
    location = location->parent_path();
  }
  cancelManifestVerification();
  resetManifestCounters();
  manifest_.rootURL = location;
  emit manifestURLsChanged();
}

void AppViewModel::chooseManifestRoot() {
  desktop_.chooseFolder([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setManifestRoot({url});
  });
}

void AppViewModel::useProposedManifestRoot() {
  if (const auto proposal = proposedManifestRoot()) setManifestRoot({fileUrl(*proposal)});
}

void AppViewModel::dropManifest(const QList<QUrl>& urls) {
  if (manifest_.isLoading || manifest_.isVerifying) return;
  const auto isFolder = [](const QUrl& url) { return isDirectoryPath(url); };
  const auto file = std::ranges::find_if_not(urls, isFolder);
  const auto folder = std::ranges::find_if(urls, isFolder);
  if (file != urls.end()) setManifestFile({*file});
  if (folder != urls.end()) setManifestRoot({*folder});
}

QString AppViewModel::manifestRefusal() const {
  if (!manifest_.url) return tr("Choose a checksum list first.");
  if (manifest_.isLoading) return tr("The checksum list is being read.");
  if (manifestJobs_.total() == 0) return tr("The list has no entries to verify.");
  if (!manifest_.rootURL) return tr("Choose the root folder first.");
  return {};
}

void AppViewModel::verifyManifest() {
  if (manifest_.isVerifying || !manifest_.rootURL || manifestJobs_.total() == 0) return;
  resetManifestCounters();
  setErrorMessage({});
  setManifestVerifying(true);
  setManifestRun(ManifestTally::Run::running);
  auto run = std::make_shared<ManifestRun>();
  run->entries = manifest_.entries;
  run->root = *manifest_.rootURL;
  manifestTask_.start(
      BackgroundTask::Priority::userInitiated,
      [run](const BackgroundTask::Context& context) { run->work(context, run); },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (failure) model.setErrorMessage(QString::fromStdString(errorDescription(failure)));
        model.setManifestRun(failure ? ManifestTally::Run::stoppedByError : ManifestTally::Run::ended);
        model.setManifestVerifying(false);
        model.setUnseenOutcome(AppMode::Manifest,
                               model.manifestVerdict().tone == ManifestVerdict::Tone::good ? AllWell : SomeFailed);
      });
}

void AppViewModel::applyReports(ManifestRun& run) {
  std::vector<std::size_t> verifying;
  std::vector<ManifestRun::Outcome> outcomes;
  std::size_t groupsDone = 0;
  std::size_t groups = 0;
  {
    const std::lock_guard lock(run.mutex);
    verifying.swap(run.verifying);
    outcomes.swap(run.outcomes);
    groupsDone = run.groupsDone;
    groups = run.groups;
    run.isPosted = false;
  }
  {
    const ManifestJobListModel::Batch batch(manifestJobs_);
    for (ManifestRun::Outcome& outcome : outcomes) manifestJobs_.setState(outcome.job, std::move(outcome.state));
    for (const std::size_t job : verifying) manifestJobs_.setState(job, ManifestJob::Verifying{});
  }
  setManifestProgress(groupsDone, groups);
}

void AppViewModel::cancelManifestVerification() {
  if (!manifest_.isVerifying && !manifestTask_.isRunning()) return;
  manifestTask_.abandon();
  {
    const ManifestJobListModel::Batch batch(manifestJobs_);
    for (std::size_t job = 0; job < manifestJobs_.jobs().size(); ++job) {
      if (std::holds_alternative<ManifestJob::Verifying>(manifestJobs_.jobs()[job].state)) {
        manifestJobs_.setState(job, ManifestJob::Queued{});
      }
    }
  }
  setManifestRun(ManifestTally::Run::cancelled);
  setManifestVerifying(false);
}

void AppViewModel::cancelManifest() {
  cancelManifestVerification();
  if (!manifest_.isLoading) return;
  manifestLoadTask_.abandon();
  manifest_.url.reset();
  setLoadingManifest(false);
  emit manifestURLsChanged();
}

void AppViewModel::clearManifest() {
  cancelManifest();
  discardManifest();
  manifest_.url.reset();
  manifest_.rootURL.reset();
  emit manifestURLsChanged();
}

// The list is gone; what it was read from and the root stay.
void AppViewModel::discardManifest() {
  cancelManifestVerification();
  BackgroundTask::dispose(manifestJobs_.replaceAll({}), std::exchange(manifest_.entries, nullptr));
  resetManifestCounters();
  manifest_.readError.clear();
  manifest_.warnings.clear();
  manifest_.ignoredLineCount = 0;
  manifest_.unsupportedLineCount = 0;
  emit manifestLinesChanged();
}

// The counters follow the states of the jobs.
void AppViewModel::resetManifestCounters() {
  manifestJobs_.requeueAll();
  setManifestProgress(0, 0);
  setManifestRun(ManifestTally::Run::none);
}

void AppViewModel::copyManifestRow(int row) { copyManifestJobs(manifestJobs_.shownJobs(row, 1)); }

void AppViewModel::copyManifestRows() { copyManifestJobs(manifestJobs_.shownJobs(0, manifestJobs_.count())); }

void AppViewModel::copyManifestJobs(std::vector<ManifestJob> jobs) {
  if (jobs.empty()) return;
  copyTask_.abandon();
  copyTask_.start(
      BackgroundTask::Priority::userInitiated,
      [jobs = std::move(jobs)](const BackgroundTask::Context& context) {
        const QByteArray text = ManifestJobListModel::text(jobs, context.cancellation());
        context.post([text](AppViewModel& model) { model.setPasteboard(text); });
      },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (failure) model.setErrorMessage(QString::fromStdString(errorDescription(failure)));
      });
}

void AppViewModel::copyManifestWarnings() {
  if (!manifest_.warnings.isEmpty()) setPasteboard(manifest_.warnings.join(u'\n').toUtf8());
}

QString AppViewModel::manifestProgressFigure() const {
  if (manifest_.groups == 0) return {};
  const QLocale locale = userLocale();
  return tr("%1 of %2 files")
      .arg(locale.toString(qulonglong{manifest_.groupsDone}), locale.toString(qulonglong{manifest_.groups}));
}

ManifestVerdict AppViewModel::manifestVerdict() const {
  const QList<int> counts = manifestJobs_.counts();
  return tallyfold::manifestVerdict({.run = manifest_.isLoading ? ManifestTally::Run::reading : manifest_.run,
                                     .readError = manifest_.readError,
                                     .hasRoot = manifest_.rootURL.has_value(),
                                     .matched = counts[ManifestJobListModel::Matches],
                                     .mismatched = counts[ManifestJobListModel::Mismatches],
                                     .failed = counts[ManifestJobListModel::Failures],
                                     .waiting = counts[ManifestJobListModel::Waiting],
                                     .ignoredLines = manifest_.ignoredLineCount,
                                     .unsupportedLines = manifest_.unsupportedLineCount});
}

QVariantMap AppViewModel::manifestVerdictForScreen() const {
  const ManifestVerdict verdict = manifestVerdict();
  const Outcome outcome = verdict.tone == ManifestVerdict::Tone::good  ? AllWell
                          : verdict.tone == ManifestVerdict::Tone::bad ? SomeFailed
                                                                       : NoOutcome;
  return {{QStringLiteral("icon"), verdict.icon},
          {QStringLiteral("outcome"), outcome},
          {QStringLiteral("isPending"), verdict.tone == ManifestVerdict::Tone::pending},
          {QStringLiteral("title"), verdict.title},
          {QStringLiteral("details"), verdict.details}};
}

void AppViewModel::setManifestRun(ManifestTally::Run run) {
  if (std::exchange(manifest_.run, run) != run) emit manifestStatusChanged();
}

void AppViewModel::setManifestProgress(std::size_t groups, std::size_t total) {
  manifest_.groupsDone = groups;
  manifest_.groups = total;
  manifest_.progress = total == 0 ? 0 : static_cast<double>(groups) / static_cast<double>(total);
  emit manifestProgressChanged();
}

void AppViewModel::setLoadingManifest(bool isLoading) {
  if (std::exchange(manifest_.isLoading, isLoading) == isLoading) return;
  emit isLoadingManifestChanged();
  emit manifestLinesChanged();
}

void AppViewModel::setManifestVerifying(bool isVerifying) {
  if (std::exchange(manifest_.isVerifying, isVerifying) != isVerifying) emit isManifestVerifyingChanged();
}

}  // namespace tallyfold
