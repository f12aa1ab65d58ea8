#include "app/files/FilesFlow.h"

#include <algorithm>
#include <utility>
#include <variant>

#include <QPointer>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/shared/RunSizes.h"
#include "core/files/Paths.h"

namespace tallyfold {

FilesFlow::FilesFlow(FlowContext& context) : Flow(context) {
  for (const auto change : {&FilesFlow::isProcessingChanged, &FilesFlow::isExportingChanged}) {
    connect(this, change, this, &FilesFlow::refusalsChanged);
    connect(this, change, this, &Flow::isBusyChanged);
  }
  connect(&saver_, &Saver::isSavingChanged, this, &FilesFlow::isExportingChanged);
  connect(&saver_, &Saver::savedPlaceChanged, this, &FilesFlow::reportSaved);
  connect(this, &FilesFlow::resultsChanged, this, &FilesFlow::refusalsChanged);
  connect(&jobs_, &FileJobListModel::countsChanged, this, &FilesFlow::refusalsChanged);
  connect(&jobs_, &FileJobListModel::countChanged, this, &FilesFlow::emptySentenceChanged);
  connect(&context, &FlowContext::selectedAlgorithmsChanged, this, &FilesFlow::refusalsChanged);
  for (const auto change : {&FilesFlow::refusalsChanged, &FilesFlow::overallProgressChanged}) {
    connect(this, change, this, &FilesFlow::runFigureChanged);
  }
}

void FilesFlow::shutdown() {
  received_.clear();
  receivingTask_.abandon();
  cancelProcessing();
  cancelExport();
}

void FilesFlow::addFiles(const QList<QUrl>& urls) { addPreparedFiles(prepareFiles(urls, queueLimit), false); }

void FilesFlow::addDroppedFiles(const QList<QUrl>& urls) { addPreparedFiles(prepareFiles(urls, queueLimit), true); }

void FilesFlow::addPreparedFiles(PreparedFiles files, bool isDrop) {
  if (isProcessing_ || isExporting()) return BackgroundTask::dispose(std::move(files));
  const int before = jobs_.total();
  const bool hasRoomForAll = jobs_.add(files, queueLimit);
  BackgroundTask::dispose(std::move(files));
  if (jobs_.total() > before && notice_.kind == FilesNotice::Cleared) dismissNotice();
  if (jobs_.total() > before) forgetRun();
  // The start forgets the errors of the last run, and must not forget that some of this drop had no room.
  isRunWanted_ = isRunWanted_ || (isDrop && jobs_.total() > before);
  if (received_.isEmpty() && std::exchange(isRunWanted_, false)) startProcessing();
  if (!hasRoomForAll) showQueueLimit();
}

void FilesFlow::receiveFiles(const QList<QUrl>& urls, bool isDrop) {
  if (isProcessing_ || isExporting()) return;
  received_.append({urls, isDrop});
  if (!receivingTask_.isRunning()) receiveNext();
}

void FilesFlow::receiveNext() {
  if (received_.isEmpty()) {
    if (std::exchange(isRunWanted_, false)) startProcessing();
    return;
  }
  receivingTask_.start(
      BackgroundTask::Priority::userInitiated,
      [next = received_.takeFirst()](const FlowTask<FilesFlow>::Context& task) {
        auto files = std::make_shared<PreparedFiles>(prepareFiles(next.first, queueLimit, task.cancellation()));
        task.post([files, isDrop = next.second](FilesFlow& flow) { flow.addPreparedFiles(std::move(*files), isDrop); });
      },
      [](FilesFlow& flow, const std::exception_ptr& failure) {
        if (failure) flow.context().setErrorMessage(failure);
        flow.receiveNext();
      });
}

void FilesFlow::chooseFiles() {
  if (!queueRefusal().isEmpty()) return;
  context().desktop().chooseFiles([this, alive = QPointer(this), clearings = clearings_](const QList<QUrl>& urls) {
    if (alive && clearings == clearings_) receiveFiles(urls, false);
  });
}

void FilesFlow::startProcessing() {
  if (!startRefusal().isEmpty()) return;
  dismissNotice();
  jobs_.showFailures();
  discardResults();
  context().setErrorMessage(QString());
  stage_ = Stage::running;
  fraction_ = 0;
  setProcessing(true);
  setProgress(0, jobs_.jobs().size());

  const std::shared_ptr<FileRun> run(new FileRun, BackgroundTask::Dispose());
  runStatus_.start(jobs_.jobs().size(), run->counter);
  run->algorithms = context().selectedAlgorithms();
  run->items.reserve(jobs_.jobs().size());
  {
    const FileJobListModel::Batch batch(jobs_);
    for (const FileJob& job : jobs_.jobs()) {
      jobs_.setState(run->items.size(), FileJob::Queued{});
      run->items.push_back({job.id, job.url});
    }
  }
  processingTask_.start(
      BackgroundTask::Priority::userInitiated,
      [run](const FileRun::Context& task) {
        run->work(task, [run](FilesFlow& flow, std::vector<FileRun::Report> reports) {
          flow.applyReports(*run, std::move(reports));
        });
      },
      [](FilesFlow& flow, const std::exception_ptr& failure) {
        if (failure) flow.context().setErrorMessage(failure);
        flow.sizesTask_.abandon();
        flow.runStatus_.end();
        if (flow.stage_ == Stage::running) flow.stage_ = flow.overallProgress_ == 1 ? Stage::ended : Stage::cancelled;
        const bool isInterrupted = flow.stage_ == Stage::cancelled && flow.processingTask_.hasLeftWorkBehind();
        if (isInterrupted) flow.stage_ = Stage::interrupted;
        flow.setProcessing(false);
        flow.jobs_.leaveEmptyFilter();
        if (flow.overallProgress_ == 1) {
          const bool isWell = flow.results_.size() == flow.jobs_.jobs().size();
          emit flow.ended(isWell ? Outcome::AllWell : Outcome::SomeFailed);
        }
      });
  askSizes(run);
}

void FilesFlow::askSizes(const std::shared_ptr<const FileRun>& run) {
  sizesTask_.abandon();
  sizesTask_.start(
      BackgroundTask::Priority::utility,
      [run](const FileRun::Context& task) {
        tellSizes(task, run->items, [](const FileRun::Item& item) { return lookAt(*item.url).readableSize; });
      },
      [](FilesFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
}

// What was said of it is no more about what is in the list.
void FilesFlow::forgetRun() {
  stage_ = Stage::none;
  setProgress(0, 0);
}

void FilesFlow::applyReports(const FileRun& run, std::vector<FileRun::Report> reports) {
  const std::size_t resultsBefore = results_.size();
  std::size_t processed = 0;
  const FileJobListModel::Batch batch(jobs_);
  for (FileRun::Report& report : reports) {
    const Uuid& id = run.items[report.index].id;
    if (const auto* hashing = std::get_if<FileJob::Hashing>(&report.news)) {
      const FileJob* current = jobs_.job(id);
      if (current != nullptr && std::holds_alternative<FileJob::Queued>(current->state)) {
        updateJob(id, FileJob::Hashing{0});
      }
      updateJobProgress(id, hashing->progress);
      fraction_ = hashing->progress;
      continue;
    }
    if (auto* result = std::get_if<std::shared_ptr<const FileHashResult>>(&report.news)) {
      results_.push_back(*result);
      resultByJobID_.emplace(id, std::move(*result));
      updateJob(id, FileJob::Complete{});
    } else {
      updateJob(id, std::get<FileJob::Failed>(std::move(report.news)));
    }
    fraction_ = 0;
    processed = report.index + 1;
  }
  if (processed > 0) setProgress(processed, run.items.size());
  const auto running = static_cast<std::size_t>(processedCount_);
  runStatus_.advance(
      {.filesDone = running,
       .counted = reports.back().counted,
       .fraction = fraction_,
       .file = running < run.items.size() ? displayText(run.items[running].url->filename()) : QString()});
  if (results_.size() > resultsBefore) emit resultsChanged();
}

void FilesFlow::cancelProcessing() {
  if (!isProcessing_ && !processingTask_.isRunning()) return;
  processingTask_.cancel();
  sizesTask_.abandon();
  stage_ = Stage::cancelled;
  const FileJobListModel::Batch batch(jobs_);
  for (std::size_t job = 0; job < jobs_.jobs().size(); ++job) {
    if (std::holds_alternative<FileJob::Hashing>(jobs_.jobs()[job].state)) jobs_.setState(job, FileJob::Queued{});
  }
}

void FilesFlow::removeJob(const Uuid& id) {
  if (!queueRefusal().isEmpty()) return;
  const auto job = jobs_.indexOf(id);
  if (!job) return;
  if (jobs_.total() == 1) {
    keepCleared();
    return forgetRun();
  }
  jobs_.remove(*job);
  if (resultByJobID_.erase(id) > 0) {
    std::erase_if(results_, [&](const auto& result) { return result->id == id; });
    emit resultsChanged();
  }
}

void FilesFlow::removeMarked() {
  if (!queueRefusal().isEmpty() || jobs_.markedCount() == 0) return;
  if (jobs_.markedCount() == jobs_.total()) {
    keepCleared();
    return forgetRun();
  }
  std::vector<FileJob> gone = jobs_.removeMarked();
  std::vector<ResultByJobID::node_type> goneResults;
  goneResults.reserve(gone.size());
  for (const FileJob& job : gone) goneResults.push_back(resultByJobID_.extract(job.id));
  std::erase_if(results_, [&](const auto& result) { return !resultByJobID_.contains(result->id); });
  BackgroundTask::dispose(std::move(gone), std::move(goneResults));
  emit resultsChanged();
}

void FilesFlow::removeSelected(const Uuid& id) {
  if (jobs_.markedCount() == 0) return removeJob(id);
  removeMarked();
}

void FilesFlow::clearFiles() {
  if (isExporting()) return;
  ++clearings_;
  emit clearingsChanged();
  received_.clear();
  isRunWanted_ = false;
  receivingTask_.abandon();
  cancelProcessing();
  if (!jobs_.jobs().empty()) keepCleared();
  forgetRun();
}

void FilesFlow::keepCleared() {
  dismissNotice();
  // The results first: the list shows what is in them.
  cleared_ = {{},    std::exchange(results_, {}), std::exchange(resultByJobID_, {}), processedCount_, runFileCount_,
              stage_};
  cleared_.rows = jobs_.takeAll();
  emit resultsChanged();
  const auto count = static_cast<qulonglong>(cleared_.rows.jobs.size());
  setNotice({.kind = FilesNotice::Cleared,
             .words = count == 1 ? tr("Cleared 1 file.") : tr("Cleared %1 files.").arg(userLocale().toString(count))});
}

void FilesFlow::undoClear() {
  if (notice_.kind != FilesNotice::Cleared) return;
  results_ = std::exchange(cleared_.results, {});
  resultByJobID_ = std::exchange(cleared_.resultByJobID, {});
  jobs_.putBack(std::exchange(cleared_.rows, {}));
  emit resultsChanged();
  stage_ = cleared_.stage;
  setProgress(static_cast<std::size_t>(cleared_.processedCount), static_cast<std::size_t>(cleared_.runFileCount));
  setNotice({});
}

void FilesFlow::dismissNotice() {
  if (notice_.kind == FilesNotice::Cleared) BackgroundTask::dispose(std::exchange(cleared_, {}));
  setNotice({});
}

void FilesFlow::setNotice(FilesNotice notice) {
  notice_ = std::move(notice);
  emit noticeChanged();
}

void FilesFlow::discardResults() {
  BackgroundTask::dispose(std::exchange(results_, {}), std::exchange(resultByJobID_, {}));
  emit resultsChanged();
}

std::shared_ptr<const FileHashResult> FilesFlow::result(const Uuid& id) const {
  const auto found = resultByJobID_.find(id);
  return found == resultByJobID_.end() ? nullptr : found->second;
}

void FilesFlow::updateJob(const Uuid& id, FileJob::State state) {
  if (const auto job = jobs_.indexOf(id)) jobs_.setState(*job, std::move(state));
}

void FilesFlow::updateJobProgress(const Uuid& id, double progress) {
  const FileJob* current = jobs_.job(id);
  if (current == nullptr) return;
  const auto* hashing = std::get_if<FileJob::Hashing>(&current->state);
  if (hashing == nullptr) return;
  updateJob(id, FileJob::Hashing{std::max(hashing->progress, std::clamp(progress, 0.0, 1.0))});
}

void FilesFlow::copyAllHashes(const Uuid& id) {
  const auto found = result(id);
  if (!found) return;
  QByteArray text;
  for (const HashAlgorithm algorithm : found->hashes.algorithms()) {
    if (!text.isEmpty()) text += '\n';
    text.append(algorithm.rawValue()).append(": ").append(*found->hashes.find(algorithm));
  }
  context().copy(text);
}

void FilesFlow::copySelected(const Uuid& id) {
  if (jobs_.markedCount() == 0) return copyAllHashes(id);
  if (jobs_.markedCount() == 1) return copyAllHashes(jobs_.jobs()[jobs_.markedJobs().front()].id);
  FileHashResults marked = jobs_.markedResults();
  if (marked.empty()) return;
  context().copyLater([marked = std::move(marked)](const std::stop_token& cancellation) {
    QByteArray text;
    for (const auto& result : marked) {
      HashService::checkCancellation(cancellation);
      const std::string lines = ManifestService::plainTextLines(*result);
      text.append(lines.data(), static_cast<qsizetype>(lines.size()));
    }
    text.chop(1);
    return text;
  });
}

void FilesFlow::copyHash(const Uuid& id, const QString& algorithm) {
  const auto found = result(id);
  const auto known = algorithmNamed(algorithm);
  if (!found || !known) return;
  if (const auto digest = found->hashes.find(*known)) context().copy(QByteArray().append(*digest));
}

void FilesFlow::copyPath(const Uuid& id) {
  if (const FileJob* known = jobs_.job(id)) context().copy(QByteArray::fromStdString(known->url->native()));
}

void FilesFlow::reveal(const Uuid& id) {
  if (const FileJob* known = jobs_.job(id)) context().desktop().revealInFileBrowser(*known->url);
}

QString FilesFlow::startRefusal() const {
  if (isProcessing_ || processingTask_.isRunning()) return tr("A run is under way.");
  if (isExporting()) return tr("A report is being saved.");
  if (jobs_.jobs().empty()) return tr("Add files first.");
  if (context().selectedAlgorithms().empty()) return tr("Select at least one algorithm.");
  return {};
}

QString FilesFlow::queueRefusal() const {
  if (isProcessing_) return tr("The list cannot change during a run.");
  if (isExporting()) return tr("The list cannot change while a report is being saved.");
  return {};
}

QString FilesFlow::clearRefusal() const {
  if (isExporting()) return tr("The list cannot change while a report is being saved.");
  if (jobs_.jobs().empty()) return tr("The list is empty.");
  return {};
}

QString FilesFlow::emptySentence() const {
  if (jobs_.total() == 0) return tr("Files and their checksums will be listed here.");
  return jobs_.search().isEmpty() ? tr("No file is in this state.") : tr("No file that is shown has this in its name.");
}

QString FilesFlow::interruption() const {
  return stage_ == Stage::interrupted ? tr("The disk does not answer") : QString();
}

FilesVerdict FilesFlow::verdict() const {
  if (stage_ == Stage::interrupted) return {.tone = Tone::Bad, .title = interruption()};
  if (isProcessing_ || stage_ == Stage::none || stage_ == Stage::running) return {};
  return filesVerdict(jobs_.total(), jobs_.count(FileJobListModel::Done), jobs_.count(FileJobListModel::Failures));
}

QString FilesFlow::runFigure() const {
  const QLocale locale = userLocale();
  const int finished = jobs_.count(FileJobListModel::Done) + jobs_.count(FileJobListModel::Failures);
  return tr("%1 of %2").arg(locale.toString(stage_ == Stage::none ? 0 : finished), locale.toString(jobs_.total()));
}

void FilesFlow::setProcessing(bool isProcessing) {
  context().holdSelection(isProcessing);
  if (std::exchange(isProcessing_, isProcessing) != isProcessing) emit isProcessingChanged();
}

void FilesFlow::setProgress(std::size_t processed, std::size_t total) {
  processedCount_ = static_cast<int>(processed);
  runFileCount_ = static_cast<int>(total);
  overallProgress_ = total == 0 ? 0 : static_cast<double>(processed) / static_cast<double>(total);
  emit overallProgressChanged();
}

void FilesFlow::showQueueLimit() {
  context().setErrorMessage(
      tr("The file queue is limited to %1 items.").arg(userLocale().toString(qulonglong{queueLimit})));
}

}  // namespace tallyfold
