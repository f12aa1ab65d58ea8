#include "app/manifest/ManifestFlow.h"

#include <algorithm>
#include <utility>

#include <QPointer>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/tasks/FreeMemory.h"
#include "checksums/ChecksumReading.h"
#include "core/base/Errors.h"

namespace tallyfold {

/// A list that was read, ready to be shown in one change.
struct ManifestFlow::PreparedManifestLoad {
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

ManifestFlow::ManifestFlow(FlowContext& context) : Flow(context) {
  for (const auto change : {&ManifestFlow::isLoadingManifestChanged, &ManifestFlow::isManifestVerifyingChanged}) {
    connect(this, change, this, &ManifestFlow::manifestStatusChanged);
    connect(this, change, this, &Flow::isBusyChanged);
  }
  for (const auto change : {&ManifestFlow::manifestURLsChanged, &ManifestFlow::manifestLinesChanged}) {
    connect(this, change, this, &ManifestFlow::manifestStatusChanged);
  }
  connect(&jobs_, &ManifestJobListModel::countsChanged, this, &ManifestFlow::manifestStatusChanged);
  connect(this, &ManifestFlow::manifestStatusChanged, this, &ManifestFlow::manifestShownChanged);
  connect(&jobs_, &ManifestJobListModel::countChanged, this, &ManifestFlow::manifestShownChanged);
  connect(&jobs_, &ManifestJobListModel::searchChanged, this, [this] { setShowsWarnings(false); });
}

FileCard ManifestFlow::manifestFile() const { return fileCard(url_, size_.text()); }

FileCard ManifestFlow::manifestRoot() const { return fileCard(rootURL_); }

std::optional<std::filesystem::path> ManifestFlow::proposedManifestRoot() const {
  if (!url_ || url_->parent_path() == rootURL_) return std::nullopt;
  return url_->parent_path();
}

ProposedFolder ManifestFlow::proposedManifestRootForScreen() const {
  const auto proposal = proposedManifestRoot();
  if (!proposal) return {};
  return {.isPresent = true,
          .name = displayText(proposal->has_filename() ? proposal->filename() : *proposal),
          .path = displayText(*proposal)};
}

QString ManifestFlow::manifestLines() const {
  if (!entries_) return {};
  const QLocale locale = userLocale();
  const QString entries = jobs_.total() == 1 ? tr("1 entry") : tr("%1 entries").arg(locale.toString(jobs_.total()));
  return unsupportedLineCount_ == 0 ? entries
                                    : tr("%1 · %2 unsupported").arg(entries, locale.toString(unsupportedLineCount_));
}

QString ManifestFlow::manifestUnsupportedFigure() const { return userLocale().toString(unsupportedLineCount_); }

void ManifestFlow::setShowsWarnings(bool showsWarnings) {
  if (std::exchange(showsWarnings_, showsWarnings) != showsWarnings) emit manifestShownChanged();
}

QString ManifestFlow::manifestEmptySentence() const {
  if (!url_) return tr("Drop a checksum list and the folder that it describes.");
  if (showsWarnings_) return tr("Every line of the list is understood.");
  if (jobs_.total() == 0) return tr("There are no entries to show.");
  return jobs_.search().isEmpty() ? tr("No entry is in this state.")
                                  : tr("No entry that is shown has this in its path.");
}

QString ManifestFlow::copyManifestRefusal() const {
  if (showsWarnings_) return warnings_.isEmpty() ? tr("There are no warnings to copy.") : QString();
  return jobs_.count() == 0 ? tr("There are no rows to copy.") : QString();
}

QString ManifestFlow::manifestWarningsSummary() const {
  const QLocale locale = userLocale();
  QString summary = tr("Lines that are not understood and cannot be checked: %1. Blank lines and comments: %2.")
                        .arg(locale.toString(unsupportedLineCount_), locale.toString(ignoredLineCount_));
  if (unsupportedLineCount_ > warnings_.size()) {
    summary += tr(" The first %1 are listed here.").arg(locale.toString(warnings_.size()));
  }
  return summary;
}

void ManifestFlow::setManifestFile(const QList<QUrl>& urls) {
  const auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (isLoading_ || isVerifying_ || loadTask_.isRunning() || !location) return;
  discardManifest();
  context().setErrorMessage(QString());
  url_ = location;
  size_.ask(location);
  setLoading(true);
  emit manifestURLsChanged();
  loadTask_.start(
      BackgroundTask::Priority::userInitiated,
      [url = *location](const FlowTask<ManifestFlow>::Context& task) {
        auto load = std::make_shared<PreparedManifestLoad>(ChecksumManifestService::load(url, task.cancellation()));
        task.post([load](ManifestFlow& flow) { flow.publishManifest(std::move(*load)); });
      },
      [](ManifestFlow& flow, const std::exception_ptr& failure) {
        if (failure) {
          flow.readError_ = QString::fromStdString(errorDescription(failure));
          flow.context().setErrorMessage(flow.readError_);
          emit flow.ended(Outcome::SomeFailed);
        }
        flow.setLoading(false);
      });
}

void ManifestFlow::chooseManifestFile() {
  if (isLoading_ || isVerifying_ || loadTask_.isRunning()) return;
  context().desktop().chooseSingleFile([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setManifestFile({url});
  });
}

void ManifestFlow::publishManifest(PreparedManifestLoad load) {
  entries_ = std::move(load.entries);
  BackgroundTask::dispose(jobs_.replaceAll(std::move(load.jobs)));
  warnings_ = std::move(load.warnings);
  ignoredLineCount_ = load.ignoredLineCount;
  unsupportedLineCount_ = load.unsupportedLineCount;
  emit manifestLinesChanged();
}

void ManifestFlow::setManifestRoot(const QList<QUrl>& urls) {
  auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (!location) return;
  if (isDirectoryPath(*location) && location->has_parent_path() && location->has_relative_path()) {
    location = location->parent_path();
  }
  cancelManifestVerification();
  resetManifestCounters();
  rootURL_ = location;
  emit manifestURLsChanged();
}

void ManifestFlow::chooseManifestRoot() {
  context().desktop().chooseFolder([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setManifestRoot({url});
  });
}

void ManifestFlow::useProposedManifestRoot() {
  if (const auto proposal = proposedManifestRoot()) setManifestRoot({fileUrl(*proposal)});
}

void ManifestFlow::dropManifest(const QList<QUrl>& urls) {
  if (isLoading_ || isVerifying_) return;
  const auto isFolder = [](const QUrl& url) { return isDirectoryPath(url); };
  const auto file = std::ranges::find_if_not(urls, isFolder);
  const auto folder = std::ranges::find_if(urls, isFolder);
  if (file != urls.end()) setManifestFile({*file});
  if (folder != urls.end()) setManifestRoot({*folder});
}

QString ManifestFlow::manifestRefusal() const {
  if (!url_) return tr("Choose a checksum list first.");
  if (isLoading_) return tr("The checksum list is being read.");
  if (jobs_.total() == 0) return tr("The list has no entries to verify.");
  if (!rootURL_) return tr("Choose the root folder first.");
  return {};
}

QString ManifestFlow::manifestFileRefusal() const {
  return isLoading_ ? tr("The checksum list is being read.") : manifestRootRefusal();
}

QString ManifestFlow::manifestRootRefusal() const {
  return isVerifying_ ? tr("A verification is under way.") : QString();
}

QString ManifestFlow::clearManifestRefusal() const { return url_ || rootURL_ ? QString() : tr("Nothing is chosen."); }

void ManifestFlow::verifyManifestOrChoose() {
  if (isBusy()) return;
  if (!url_) {
    chooseManifestFile();
  } else if (!rootURL_) {
    chooseManifestRoot();
  } else {
    verifyManifest();
  }
}

void ManifestFlow::verifyManifest() {
  if (isVerifying_ || !rootURL_ || jobs_.total() == 0) return;
  resetManifestCounters();
  context().setErrorMessage(QString());
  setVerifying(true);
  setStage(ManifestTally::Stage::running);
  auto run = std::make_shared<ManifestRun>();
  run->entries = entries_;
  run->root = *rootURL_;
  verifyTask_.start(
      BackgroundTask::Priority::userInitiated,
      [run](const ManifestRun::Context& task) {
        run->work(task, [](ManifestFlow& flow, ManifestRun::Report report) { flow.applyReport(std::move(report)); });
      },
      [](ManifestFlow& flow, const std::exception_ptr& failure) {
        if (failure) flow.context().setErrorMessage(failure);
        flow.setStage(failure ? ManifestTally::Stage::stoppedByError : ManifestTally::Stage::ended);
        flow.setVerifying(false);
        const bool isGood = flow.manifestVerdict().tone == Tone::Good;
        emit flow.ended(isGood ? Outcome::AllWell : Outcome::SomeFailed);
      });
}

void ManifestFlow::applyReport(ManifestRun::Report report) {
  {
    const ManifestJobListModel::Batch batch(jobs_);
    for (ManifestRun::Finding& finding : report.findings) jobs_.setState(finding.job, std::move(finding.state));
    for (const std::size_t job : report.verifying) jobs_.setState(job, ManifestJob::Verifying{});
  }
  setProgress(report.groupsDone, report.groups);
}

void ManifestFlow::cancelManifestVerification() {
  if (!isVerifying_ && !verifyTask_.isRunning()) return;
  verifyTask_.abandon();
  {
    const ManifestJobListModel::Batch batch(jobs_);
    for (std::size_t job = 0; job < jobs_.jobs().size(); ++job) {
      if (std::holds_alternative<ManifestJob::Verifying>(jobs_.jobs()[job].state)) {
        jobs_.setState(job, ManifestJob::Queued{});
      }
    }
  }
  setStage(ManifestTally::Stage::cancelled);
  setVerifying(false);
}

void ManifestFlow::cancelManifest() {
  cancelManifestVerification();
  if (!isLoading_) return;
  loadTask_.abandon();
  url_.reset();
  setShowsWarnings(false);
  setLoading(false);
  emit manifestURLsChanged();
}

void ManifestFlow::clearManifest() {
  cancelManifest();
  discardManifest();
  url_.reset();
  rootURL_.reset();
  emit manifestURLsChanged();
}

// The list is gone; what it was read from and the root stay.
void ManifestFlow::discardManifest() {
  cancelManifestVerification();
  BackgroundTask::dispose(jobs_.replaceAll({}), std::exchange(entries_, nullptr));
  resetManifestCounters();
  setShowsWarnings(false);
  readError_.clear();
  warnings_.clear();
  ignoredLineCount_ = 0;
  unsupportedLineCount_ = 0;
  emit manifestLinesChanged();
}

// The counters follow the states of the jobs.
void ManifestFlow::resetManifestCounters() {
  jobs_.requeueAll();
  setProgress(0, 0);
  setStage(ManifestTally::Stage::none);
}

void ManifestFlow::copyManifestRow(int row) { copyManifestJobs(jobs_.shownJobs(row, 1)); }

void ManifestFlow::copyManifestShown() {
  if (!copyManifestRefusal().isEmpty()) return;
  if (showsWarnings_) return context().copy(warnings_.join(u'\n').toUtf8());
  copyManifestJobs(jobs_.shownJobs(0, jobs_.count()));
}

void ManifestFlow::copyManifestJobs(std::vector<ManifestJob> jobs) {
  if (jobs.empty()) return;
  context().copyLater([jobs = std::move(jobs)](const std::stop_token& cancellation) {
    return ManifestJobListModel::text(jobs, cancellation);
  });
}

QString ManifestFlow::manifestProgressFigure() const {
  if (groups_ == 0) return {};
  const QLocale locale = userLocale();
  return tr("%1 of %2 files").arg(locale.toString(qulonglong{groupsDone_}), locale.toString(qulonglong{groups_}));
}

ManifestVerdict ManifestFlow::manifestVerdict() const {
  return tallyfold::manifestVerdict({.stage = isLoading_ ? ManifestTally::Stage::reading : stage_,
                                     .readError = readError_,
                                     .hasRoot = rootURL_.has_value(),
                                     .matched = manifestMatchedCount(),
                                     .mismatched = manifestMismatchCount(),
                                     .failed = manifestErrorCount(),
                                     .waiting = jobs_.count(ManifestJobListModel::Waiting),
                                     .ignoredLines = ignoredLineCount_,
                                     .unsupportedLines = unsupportedLineCount_});
}

double ManifestFlow::manifestProgress() const {
  return groups_ == 0 ? 0 : static_cast<double>(groupsDone_) / static_cast<double>(groups_);
}

void ManifestFlow::setStage(ManifestTally::Stage stage) {
  if (std::exchange(stage_, stage) != stage) emit manifestStatusChanged();
}

void ManifestFlow::setProgress(std::size_t groupsDone, std::size_t groups) {
  groupsDone_ = groupsDone;
  groups_ = groups;
  emit manifestProgressChanged();
}

void ManifestFlow::setLoading(bool isLoading) {
  if (std::exchange(isLoading_, isLoading) == isLoading) return;
  emit isLoadingManifestChanged();
  emit manifestLinesChanged();
}

void ManifestFlow::setVerifying(bool isVerifying) {
  if (std::exchange(isVerifying_, isVerifying) != isVerifying) emit isManifestVerifyingChanged();
}

}  // namespace tallyfold
