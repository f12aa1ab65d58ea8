#include "app/manifest/ManifestFlow.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include <QPointer>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/shared/RunSizes.h"
#include "checksums/lists/ChecksumReading.h"
#include "checksums/verification/ManifestVerification.h"
#include "core/base/Errors.h"

namespace tallyfold {

/// A list that was read, ready to be shown in one change.
struct ManifestFlow::PreparedManifestLoad {
  ManifestList list;
  ManifestJobListModel::Rows rows;

  explicit PreparedManifestLoad(ChecksumManifestService::ListReading read) {
    ChecksumManifestService::ParseResult parsed = std::exchange(read.result, {});
    const std::shared_ptr<const ManifestEntries> entries(new ManifestEntries(std::move(parsed.entries)),
                                                         BackgroundTask::Dispose());
    rows.sizes = std::exchange(read.sizes, {});
    rows.jobs.reserve(entries->size());
    for (const ChecksumManifestEntry& entry : *entries) {
      rows.jobs.push_back({Uuid::random(), {entries, &entry}, ManifestJob::Queued{}});
    }
    for (const std::string& warning : parsed.warnings) list.warnings.append(QString::fromStdString(warning));
    list.entries = entries;
    list.ignoredLineCount = parsed.ignoredLineCount;
    list.unsupportedLineCount = parsed.unsupportedLineCount;
    list.reading = std::move(read);
  }
};

namespace {

/// The line that a list could not be read for; 0 when it was not for one line.
qint64 lineOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const ManifestReadError& error) {
    return error.lineNumber();
  } catch (...) {
    return 0;
  }
}

}  // namespace

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
  connect(this, &ManifestFlow::manifestStatusChanged, &export_, [this] { export_.setRefusal(exportRefusal()); });
  for (const auto change : {&ManifestFlow::manifestLinesChanged, &ManifestFlow::isManifestVerifyingChanged}) {
    connect(this, change, &export_, &ManifestExport::dismiss);
  }
  connect(&jobs_, &ManifestJobListModel::countChanged, this, &ManifestFlow::manifestShownChanged);
  connect(&jobs_, &ManifestJobListModel::searchChanged, this, [this] { setShowsWarnings(false); });
  export_.setRefusal(exportRefusal());
}

void ManifestFlow::setShowsWarnings(bool showsWarnings) {
  if (std::exchange(showsWarnings_, showsWarnings) != showsWarnings) emit manifestShownChanged();
}

void ManifestFlow::setManifestFile(const QList<QUrl>& urls) {
  const auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (!manifestFileRefusal().isEmpty() || loadTask_.isRunning() || !location) return;
  openManifest(*location, {});
  std::optional<std::filesystem::path> other;
  for (qsizetype next = 1; next < urls.size() && !other; ++next) other = fileLocation(urls[next]);
  if (!other) return;
  choice_.firstOther = displayText(other->filename());
  choice_.othersCount = urls.size() - 1;
  emit manifestStatusChanged();
}

void ManifestFlow::openManifest(const std::filesystem::path& list, std::optional<HashAlgorithm> algorithm,
                                bool isJustSaved) {
  if (isLoading_ || isVerifying_ || loadTask_.isRunning()) return;
  dismissCleared();
  choice_ = {};
  choice_.reading.algorithm = algorithm;
  isJustSaved_ = isJustSaved;
  choice_.url = list;
  size_.ask(choice_.url);
  readManifest();
  emit manifestURLsChanged();
}

void ManifestFlow::readManifestAs(const QString& algorithm) {
  const auto chosen = algorithmNamed(algorithm);
  if (!manifestFileRefusal().isEmpty() || loadTask_.isRunning() || !chosen || !choice_.candidates.contains(*chosen))
    return;
  choice_.reading.algorithm = chosen;
  readManifest();
}

void ManifestFlow::readManifestWithoutQuotes() {
  if (!manifestFileRefusal().isEmpty() || loadTask_.isRunning() || !choice_.url) return;
  choice_.reading.withoutQuotes = true;
  readManifest();
}

// Reads the list as the user has chosen to, in place of what was read before.
void ManifestFlow::readManifest() {
  discardManifest();
  context().setErrorMessage(QString());
  setLoading(true);
  loadTask_.start(
      BackgroundTask::Priority::userInitiated,
      [url = *choice_.url, choice = choice_.reading](const FlowTask<ManifestFlow>::Context& task) {
        auto load =
            std::make_shared<PreparedManifestLoad>(ChecksumManifestService::readList(url, choice, task.cancellation()));
        task.post([load](ManifestFlow& flow) { flow.publishManifest(std::move(*load)); });
      },
      [](ManifestFlow& flow, const std::exception_ptr& failure) {
        if (failure) {
          flow.list_.readError = QString::fromStdString(errorDescription(failure));
          flow.list_.unreadableLine = lineOf(failure);
          flow.context().setErrorMessage(flow.list_.readError);
        }
        flow.setLoading(false);
        if (std::exchange(flow.isJustSaved_, false)) flow.export_.announce(*flow.choice_.url);
        if (failure) emit flow.ended(Outcome::SomeFailed);
      });
}

void ManifestFlow::chooseManifestFile() {
  if (!manifestFileRefusal().isEmpty() || loadTask_.isRunning()) return;
  context().desktop().chooseSingleFile([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setManifestFile({url});
  });
}

void ManifestFlow::publishManifest(PreparedManifestLoad load) {
  list_ = std::move(load.list);
  BackgroundTask::dispose(jobs_.replaceAll(std::move(load.rows)));
  if (!list_.reading.candidates.empty()) choice_.candidates = list_.reading.candidates;
  emit manifestLinesChanged();
}

void ManifestFlow::dropManifest(const QList<QUrl>& urls) {
  if (!manifestFileRefusal().isEmpty()) return;
  QList<QUrl> files;
  QList<QUrl> folders;
  for (const QUrl& url : urls) (isDirectoryPath(url) ? folders : files).append(url);
  setManifestFile(files);
  if (!folders.isEmpty()) setManifestRoot(folders);
}

void ManifestFlow::verifyManifestOrChoose() {
  if (isBusy() || !folderRefusal_.isEmpty()) return;
  if (!choice_.url) {
    chooseManifestFile();
  } else if (!rootURL_) {
    chooseManifestRoot();
  } else {
    verifyManifest();
  }
}

void ManifestFlow::verifyManifest() {
  if (isVerifying_ || !rootURL_ || jobs_.total() == 0) return;
  verify({});
}

void ManifestFlow::verifyManifestRest() {
  if (manifestRestVerb().isEmpty()) return;
  verify({.checked = std::exchange(run_.checked, {}), .states = jobs_.takeStates()});
}

void ManifestFlow::verify(ManifestRun::Kept kept) {
  jobs_.showFailures();
  setShowsWarnings(false);
  const Timestamp start = kept.checked.empty() ? timeNow() : run_.start;
  resetManifestCounters();
  run_.start = start;
  context().setErrorMessage(QString());
  setVerifying(true);
  setStage(ManifestTally::Stage::running);
  auto run = std::make_shared<ManifestRun>();
  run->entries = list_.entries;
  run->root = *rootURL_;
  run->kept = std::move(kept);
  verifyTask_.start(
      BackgroundTask::Priority::userInitiated,
      [run](const ManifestRun::Context& task) {
        run->work(
            task, [](ManifestFlow& flow, ManifestRun::Report report) { flow.applyReport(std::move(report)); },
            [run](ManifestFlow& flow, const ManifestRun::Prepared& prepared) { flow.askSizes(run, prepared); });
      },
      [](ManifestFlow& flow, const std::exception_ptr& failure) { flow.endVerification(failure); });
}

void ManifestFlow::endVerification(const std::exception_ptr& failure) {
  if (failure) context().setErrorMessage(failure);
  sizesTask_.abandon();
  runStatus_.end();
  run_.end = timeNow();
  jobs_.leaveEmptyFilter();
  setStage(failure ? ManifestTally::Stage::stoppedByError : ManifestTally::Stage::ended);
  setVerifying(false);
  if (manifestRestVerb().isEmpty()) run_.checked = decltype(run_.checked)();
  if (isEveryFileMissing()) lookForRoot();
  emit ended(manifestVerdict().tone == Tone::Good ? Outcome::AllWell : Outcome::SomeFailed);
  if (!failure) emit verified();
}

void ManifestFlow::applyReport(ManifestRun::Report report) {
  {
    const ManifestJobListModel::Batch batch(jobs_);
    for (ManifestRun::Finding& finding : report.findings) jobs_.setState(finding.job, std::move(finding.state));
    for (const std::size_t job : report.verifying) jobs_.setState(job, ManifestJob::Verifying{});
  }
  run_.causes = report.causes;
  if (!report.checked.empty()) choice_.seenRoot = rootURL_;
  run_.checked.reserve(report.groups);
  std::ranges::copy(report.checked, std::back_inserter(run_.checked));
  setProgress(report.groupsDone, report.groups);
  runStatus_.advance({.filesDone = report.groupsDone,
                      .counted = report.counted,
                      .fraction = report.fraction,
                      .file = shownText((*list_.entries)[report.running].relativePath)});
}

void ManifestFlow::askSizes(const std::shared_ptr<const ManifestRun>& run, const ManifestRun::Prepared& prepared) {
  run_.rootIdentity = prepared->rootIdentity;
  runStatus_.start(prepared->groups.size(), run->counter);
  sizesTask_.start(
      BackgroundTask::Priority::utility,
      [prepared](const ManifestRun::Context& task) {
        tellSizes(task, prepared->groups, [&](const ManifestFileGroup& group) {
          return shownFileSize(group.relativePath, prepared->rootIdentity);
        });
      },
      [](ManifestFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
}

void ManifestFlow::cancelManifestVerification() {
  if (!isVerifying_ && !verifyTask_.isRunning()) return;
  verifyTask_.abandon();
  sizesTask_.abandon();
  runStatus_.end();
  {
    const ManifestJobListModel::Batch batch(jobs_);
    for (std::size_t job = 0; job < jobs_.jobs().size(); ++job) {
      if (std::holds_alternative<ManifestJob::Verifying>(jobs_.jobs()[job].state)) {
        jobs_.setState(job, ManifestJob::Queued{});
      }
    }
  }
  jobs_.leaveEmptyFilter();
  run_.end = timeNow();
  setStage(ManifestTally::Stage::cancelled);
  setVerifying(false);
}

void ManifestFlow::cancelManifest() {
  cancelManifestVerification();
  if (!isLoading_) return;
  loadTask_.abandon();
  choice_ = {};
  discardManifest();
  setLoading(false);
  emit manifestURLsChanged();
}

// The list is gone; what it was read from and the root stay.
void ManifestFlow::discardManifest() {
  cancelManifestVerification();
  BackgroundTask::dispose(jobs_.replaceAll({}), std::exchange(list_, {}));
  resetManifestCounters();
  setShowsWarnings(false);
  emit manifestLinesChanged();
}

// The counters follow the states of the jobs.
void ManifestFlow::resetManifestCounters() {
  jobs_.requeueAll();
  rootTask_.abandon();
  run_ = {};
  emit manifestProgressChanged();
  emit manifestStatusChanged();
  emit forgotten();
  setFolderSentence({});
}

void ManifestFlow::setStage(ManifestTally::Stage stage) {
  if (std::exchange(run_.stage, stage) != stage) emit manifestStatusChanged();
}

void ManifestFlow::setProgress(std::size_t groupsDone, std::size_t groups) {
  run_.groupsDone = groupsDone;
  run_.groups = groups;
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
