#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>
#include <variant>

#include <QPointer>

#include "app/AppViewModel.h"
#include "app/FileLocation.h"
#include "app/Formats.h"
#include "core/Errors.h"

namespace tallyfold {

/// One run over the queue: its snapshot, and what the worker has reported and the interface thread has not applied yet.
struct AppViewModel::FileRun {
  struct Item {
    Uuid id;
    std::shared_ptr<const std::filesystem::path> url;
  };
  using Outcome = std::variant<std::shared_ptr<const FileHashResult>, FileJob::Failed>;
  struct Report {
    std::size_t index;
    std::variant<FileJob::Hashing, Outcome> news;
  };

  std::vector<Item> items;
  HashAlgorithmSet algorithms;

  std::mutex mutex;
  std::vector<Report> reports;  // Guarded by the mutex.

  // On the worker thread. Until the interface thread comes by, reports pile up here as values, and a file's progress
  // replaces its earlier progress.
  void report(const BackgroundTask::Context& context, Report report, const std::shared_ptr<FileRun>& self) {
    bool isFirst = false;
    {
      const std::lock_guard lock(mutex);
      isFirst = reports.empty();
      if (!isFirst && reports.back().index == report.index && reports.back().news.index() == 0) reports.pop_back();
      reports.push_back(std::move(report));
    }
    if (isFirst) context.post([self](AppViewModel& model) { model.applyReports(*self); });
  }

  void work(const BackgroundTask::Context& context, const std::shared_ptr<FileRun>& self) {
    for (std::size_t index = 0; index < items.size(); ++index) {
      if (context.cancellation().stop_requested()) return;
      report(context, {index, FileJob::Hashing{0}}, self);
      const auto progress = [&](double fraction) { report(context, {index, FileJob::Hashing{fraction}}, self); };
      Outcome outcome;
      try {
        outcome = std::make_shared<const FileHashResult>(
            HashService::hashFile(*items[index].url, items[index].id, algorithms, context.cancellation(), progress));
      } catch (const CancellationError&) {
        return;
      } catch (...) {
        outcome = FileJob::Failed{errorDescription(std::current_exception())};
      }
      if (context.cancellation().stop_requested()) return;
      report(context, {index, std::move(outcome)}, self);
    }
  }
};

void AppViewModel::addFiles(const QList<QUrl>& urls) {
  if (isProcessing_ || isExporting_) return;
  const std::size_t queued = jobs_.jobs().size();
  if (queued >= queueLimit) return showQueueLimit();

  const std::size_t room = queueLimit - queued;
  std::vector<FileJob> added;
  added.reserve(std::min(room, static_cast<std::size_t>(urls.size())));
  bool isEveryUrlExamined = true;
  for (const QUrl& url : urls) {
    auto location = fileLocation(url);
    if (!location || isDirectoryPath(*location)) continue;
    if (added.size() == room) {
      isEveryUrlExamined = false;
      break;
    }
    auto path = std::make_shared<const std::filesystem::path>(*std::move(location));
    if (!jobURLSet_.insert(path->native()).second) continue;
    const Uuid id = Uuid::random();
    jobIndexByID_.emplace(id, queued + added.size());
    added.push_back({id, std::move(path), FileJob::Queued{}});
  }
  jobs_.append(std::move(added));
  if (!isEveryUrlExamined) showQueueLimit();
}

void AppViewModel::addDroppedFiles(const QList<QUrl>& urls) {
  const int before = jobs_.count();
  addFiles(urls);
  const QString limit = errorMessage_;
  if (jobs_.count() == before) return;
  startProcessing();
  // The start forgets the errors of the last run, and must not forget that some of this drop had no room.
  setErrorMessage(limit);
}

void AppViewModel::chooseFiles() {
  if (!queueRefusal().isEmpty()) return;
  desktop_.chooseFiles([this, alive = QPointer(this)](const QList<QUrl>& urls) {
    if (alive) addFiles(urls);
  });
}

void AppViewModel::startProcessing() {
  if (!startRefusal().isEmpty()) return;
  discardResults();
  setErrorMessage({});
  setProcessing(true);
  setProgress(0, jobs_.jobs().size());

  auto run = std::make_shared<FileRun>();
  run->algorithms = selectedAlgorithms_;
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
      [run](const BackgroundTask::Context& context) { run->work(context, run); },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (failure) model.setErrorMessage(QString::fromStdString(errorDescription(failure)));
        model.setProcessing(false);
        if (model.overallProgress_ == 1) {
          model.setUnseenOutcome(AppMode::Files,
                                 model.results_.size() == model.jobs_.jobs().size() ? AllWell : SomeFailed);
        }
      });
}

void AppViewModel::applyReports(FileRun& run) {
  std::vector<FileRun::Report> reports;
  {
    const std::lock_guard lock(run.mutex);
    reports.swap(run.reports);
  }
  const std::size_t resultsBefore = results_.size();
  std::size_t processed = 0;
  const FileJobListModel::Batch batch(jobs_);
  for (FileRun::Report& report : reports) {
    const Uuid& id = run.items[report.index].id;
    if (const auto* hashing = std::get_if<FileJob::Hashing>(&report.news)) {
      const FileJob* current = job(id);
      if (current != nullptr && std::holds_alternative<FileJob::Queued>(current->state))
        updateJob(id, FileJob::Hashing{0});
      updateJobProgress(id, hashing->progress);
      continue;
    }
    auto& outcome = std::get<FileRun::Outcome>(report.news);
    if (auto* result = std::get_if<std::shared_ptr<const FileHashResult>>(&outcome)) {
      results_.push_back(*result);
      resultByJobID_.emplace(id, std::move(*result));
      updateJob(id, FileJob::Complete{});
    } else {
      updateJob(id, std::move(std::get<FileJob::Failed>(outcome)));
    }
    processed = report.index + 1;
  }
  if (processed > 0) setProgress(processed, run.items.size());
  if (results_.size() > resultsBefore) emit resultsChanged();
}

void AppViewModel::cancelProcessing() {
  if (!isProcessing_ && !processingTask_.isRunning()) return;
  processingTask_.cancel();
  const FileJobListModel::Batch batch(jobs_);
  for (std::size_t row = 0; row < jobs_.jobs().size(); ++row) {
    if (std::holds_alternative<FileJob::Hashing>(jobs_.jobs()[row].state)) jobs_.setState(row, FileJob::Queued{});
  }
}

void AppViewModel::removeJob(const Uuid& id) {
  if (!queueRefusal().isEmpty()) return;
  const auto found = jobIndexByID_.find(id);
  if (found == jobIndexByID_.end()) return;
  const std::size_t row = found->second;
  jobURLSet_.erase(jobs_.jobs()[row].url->native());
  jobs_.remove(row);
  rebuildJobIndex();
  if (resultByJobID_.erase(id) > 0) {
    std::erase_if(results_, [&](const auto& result) { return result->id == id; });
    emit resultsChanged();
  }
}

void AppViewModel::rebuildJobIndex() {
  jobIndexByID_.clear();
  for (std::size_t row = 0; row < jobs_.jobs().size(); ++row) jobIndexByID_.emplace(jobs_.jobs()[row].id, row);
}

void AppViewModel::clearFiles() {
  if (isExporting_) return;
  cancelProcessing();
  BackgroundTask::dispose(std::exchange(jobIndexByID_, {}), std::exchange(jobURLSet_, {}), jobs_.takeAll());
  discardResults();
  setProgress(0, 0);
}

void AppViewModel::discardResults() {
  BackgroundTask::dispose(std::exchange(results_, {}), std::exchange(resultByJobID_, {}));
  emit resultsChanged();
}

std::shared_ptr<const FileHashResult> AppViewModel::result(const Uuid& id) const {
  const auto found = resultByJobID_.find(id);
  return found == resultByJobID_.end() ? nullptr : found->second;
}

const FileJob* AppViewModel::job(const Uuid& id) const {
  const auto found = jobIndexByID_.find(id);
  return found == jobIndexByID_.end() ? nullptr : &jobs_.jobs()[found->second];
}

void AppViewModel::updateJob(const Uuid& id, FileJob::State state) {
  const auto found = jobIndexByID_.find(id);
  if (found != jobIndexByID_.end()) jobs_.setState(found->second, std::move(state));
}

void AppViewModel::updateJobProgress(const Uuid& id, double progress) {
  const FileJob* current = job(id);
  if (current == nullptr) return;
  const auto* hashing = std::get_if<FileJob::Hashing>(&current->state);
  if (hashing == nullptr) return;
  updateJob(id, FileJob::Hashing{std::max(hashing->progress, std::clamp(progress, 0.0, 1.0))});
}

void AppViewModel::copyAllHashes(const Uuid& id) {
  const auto found = result(id);
  if (!found) return;
  QByteArray text;
  for (const HashAlgorithm algorithm : found->hashes.algorithms()) {
    if (!text.isEmpty()) text += '\n';
    text.append(algorithm.rawValue()).append(": ").append(*found->hashes.find(algorithm));
  }
  desktop_.setPasteboard(text);
}

void AppViewModel::copyHash(const Uuid& id, const QString& algorithm) {
  const auto found = result(id);
  const auto known = HashAlgorithm::init(algorithm.toStdString());
  if (!found || !known) return;
  if (const auto digest = found->hashes.find(*known)) desktop_.setPasteboard(QByteArray().append(*digest));
}

void AppViewModel::copyPath(const Uuid& id) {
  if (const FileJob* known = job(id)) desktop_.setPasteboard(QByteArray::fromStdString(known->url->native()));
}

void AppViewModel::reveal(const Uuid& id) {
  if (const FileJob* known = job(id)) desktop_.revealInFileBrowser(*known->url);
}

QString AppViewModel::startRefusal() const {
  if (isProcessing_ || processingTask_.isRunning()) return tr("A run is under way.");
  if (isExporting_) return tr("A report is being saved.");
  if (jobs_.jobs().empty()) return tr("Add files first.");
  if (selectedAlgorithms_.empty()) return tr("Select at least one algorithm.");
  return {};
}

QString AppViewModel::queueRefusal() const {
  if (isProcessing_) return tr("The list cannot change during a run.");
  if (isExporting_) return tr("The list cannot change while a report is being saved.");
  return {};
}

QString AppViewModel::clearRefusal() const {
  if (isExporting_) return tr("The list cannot change while a report is being saved.");
  if (jobs_.jobs().empty()) return tr("The list is empty.");
  return {};
}

void AppViewModel::setProcessing(bool isProcessing) {
  if (std::exchange(isProcessing_, isProcessing) != isProcessing) emit isProcessingChanged();
}

void AppViewModel::setProgress(std::size_t processed, std::size_t total) {
  processedCount_ = static_cast<int>(processed);
  overallProgress_ = total == 0 ? 0 : static_cast<double>(processed) / static_cast<double>(total);
  emit overallProgressChanged();
}

void AppViewModel::showQueueLimit() {
  setErrorMessage(tr("The file queue is limited to %1 items.").arg(userLocale().toString(qulonglong{queueLimit})));
}

}  // namespace tallyfold
