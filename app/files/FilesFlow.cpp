#include <algorithm>
#include <chrono>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>
#include <variant>

#include <QPointer>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "core/base/Errors.h"

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

  // On the worker thread. What has piled up is applied in one turn of the interface thread, which must not become long.
  void waitForRoom(const std::stop_token& cancellation) {
    constexpr std::size_t mostReports = 20'000;
    const auto isFull = [&] {
      const std::lock_guard lock(mutex);
      return reports.size() >= mostReports;
    };
    while (!cancellation.stop_requested() && isFull()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  void work(const BackgroundTask::Context& context, const std::shared_ptr<FileRun>& self) {
    for (std::size_t index = 0; index < items.size(); ++index) {
      waitForRoom(context.cancellation());
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

void AppViewModel::addFiles(const QList<QUrl>& urls) { addPreparedFiles(prepareFiles(urls), false); }

void AppViewModel::addDroppedFiles(const QList<QUrl>& urls) { addPreparedFiles(prepareFiles(urls), true); }

void AppViewModel::addPreparedFiles(PreparedFiles files, bool isDrop) {
  if (isProcessing_ || isExporting_) return;
  const int before = jobs_.count();
  const bool hasRoomForAll = jobs_.add(std::move(files), queueLimit);
  // The start forgets the errors of the last run, and must not forget that some of this drop had no room.
  if (isDrop && jobs_.count() > before) startProcessing();
  if (!hasRoomForAll) showQueueLimit();
}

void AppViewModel::receiveFiles(const QList<QUrl>& urls, bool isDrop) {
  if (isProcessing_ || isExporting_) return;
  received_.append({urls, isDrop});
  if (!receivingTask_.isRunning()) receiveNext();
}

void AppViewModel::receiveNext() {
  if (received_.isEmpty()) return;
  receivingTask_.start(
      BackgroundTask::Priority::userInitiated,
      [next = received_.takeFirst()](const BackgroundTask::Context& context) {
        auto files = std::make_shared<PreparedFiles>(prepareFiles(next.first, context.cancellation()));
        context.post(
            [files, isDrop = next.second](AppViewModel& model) { model.addPreparedFiles(std::move(*files), isDrop); });
      },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (failure) model.setErrorMessage(QString::fromStdString(errorDescription(failure)));
        model.receiveNext();
      });
}

void AppViewModel::chooseFiles() {
  if (!queueRefusal().isEmpty()) return;
  desktop_.chooseFiles([this, alive = QPointer(this), clearings = clearings_](const QList<QUrl>& urls) {
    if (alive && clearings == clearings_) receiveFiles(urls, false);
  });
}

void AppViewModel::startProcessing() {
  if (!startRefusal().isEmpty()) return;
  discardResults();
  setErrorMessage({});
  interruption_.clear();
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
        if (model.processingTask_.hasLeftWorkBehind()) model.interruption_ = tr("The disk does not answer");
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
      const FileJob* current = jobs_.job(id);
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
  const auto row = jobs_.rowOf(id);
  if (!row) return;
  jobs_.remove(*row);
  if (resultByJobID_.erase(id) > 0) {
    std::erase_if(results_, [&](const auto& result) { return result->id == id; });
    emit resultsChanged();
  }
}

void AppViewModel::clearFiles() {
  if (isExporting_) return;
  ++clearings_;
  emit clearingsChanged();
  received_.clear();
  receivingTask_.abandon();
  cancelProcessing();
  interruption_.clear();
  BackgroundTask::dispose(jobs_.takeAll());
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

void AppViewModel::updateJob(const Uuid& id, FileJob::State state) {
  if (const auto row = jobs_.rowOf(id)) jobs_.setState(*row, std::move(state));
}

void AppViewModel::updateJobProgress(const Uuid& id, double progress) {
  const FileJob* current = jobs_.job(id);
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
  setPasteboard(text);
}

void AppViewModel::copyHash(const Uuid& id, const QString& algorithm) {
  const auto found = result(id);
  const auto known = HashAlgorithm::init(algorithm.toStdString());
  if (!found || !known) return;
  if (const auto digest = found->hashes.find(*known)) setPasteboard(QByteArray().append(*digest));
}

void AppViewModel::copyPath(const Uuid& id) {
  if (const FileJob* known = jobs_.job(id)) setPasteboard(QByteArray::fromStdString(known->url->native()));
}

void AppViewModel::reveal(const Uuid& id) {
  if (const FileJob* known = jobs_.job(id)) desktop_.revealInFileBrowser(*known->url);
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
  runFileCount_ = static_cast<int>(total);
  overallProgress_ = total == 0 ? 0 : static_cast<double>(processed) / static_cast<double>(total);
  emit overallProgressChanged();
}

void AppViewModel::showQueueLimit() {
  setErrorMessage(tr("The file queue is limited to %1 items.").arg(userLocale().toString(qulonglong{queueLimit})));
}

}  // namespace tallyfold
