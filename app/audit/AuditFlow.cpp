#include "app/audit/AuditFlow.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "app/shared/FileLocation.h"
#include "core/base/Errors.h"

namespace tallyfold {

AuditFlow::AuditFlow(FlowContext& context) : Flow(context) {
  connect(this, &AuditFlow::changed, this, &AuditFlow::shownChanged);
  connect(this, &AuditFlow::changed, this, &Flow::isBusyChanged);
  connect(this, &AuditFlow::notesChanged, &unlisted_, &UnlistedModel::announceNotes);
  unlisted_.setNotes([this](std::size_t file) { return noteOfFile(file); });
  connect(&unlisted_, &UnlistedModel::countChanged, this, &AuditFlow::shownChanged);
}

void AuditFlow::setShown(bool isShown) {
  if (std::exchange(isShown_, isShown && isPresent()) != isShown_) emit shownChanged();
}

bool AuditFlow::canSearch() const { return stage_ == Stage::found && !isSearching() && !likely_->algorithms.empty(); }

bool AuditFlow::offersSearch() const { return canSearch() && search_ != Search::ended; }

void AuditFlow::look(VerifiedList list) {
  forget();
  list_ = std::make_shared<const VerifiedList>(std::move(list));
  setStage(Stage::looking);
  task_.start(
      BackgroundTask::Priority::userInitiated,
      [list = list_](const FlowTask<AuditFlow>::Context& task) {
        const FolderFiles files(list->rootIdentity);
        const auto found = std::make_shared<const UnlistedFiles>(
            UnlistedFiles::find(files, list->rootIdentity, *list->entries, list->list, task.cancellation()));
        task.post([found](AuditFlow& flow) { flow.unlisted_.replaceAll(found); });
        if (found->paths.empty() || list->missing.empty()) return;
        // Names alone tell something already.
        const MissingFiles missing(*list->entries, list->missing, found->paths, task.cancellation());
        const auto likely = std::make_shared<const LikelyFiles>(missing.find(task.cancellation()));
        task.post([likely](AuditFlow& flow) { flow.setLikely(likely); });
      },
      [](AuditFlow& flow, const std::exception_ptr& failure) {
        if (!failure) return flow.setStage(Stage::found);
        flow.failure_ = QString::fromStdString(errorDescription(failure));
        flow.forgetFiles();
        flow.setStage(Stage::failed);
      });
}

void AuditFlow::findMoved() {
  if (!canSearch()) return;
  const auto search = std::make_shared<MovedSearch>();
  search->list = list_;
  search->unlisted = unlisted_.files();
  filesDone_ = 0;
  unreadable_.clear();
  setSearch(Search::running);
  runStatus_.start(search->unlisted->paths.size(), search->counter);
  task_.start(
      BackgroundTask::Priority::userInitiated,
      [search](const MovedSearch::Context& task) {
        search->work(
            task, [](AuditFlow& flow, MovedSearch::Report report) { flow.applyReport(std::move(report)); },
            [](AuditFlow& flow, std::shared_ptr<const LikelyFiles> likely) { flow.setLikely(std::move(likely)); });
      },
      [](AuditFlow& flow, const std::exception_ptr& failure) { flow.endSearch(failure); });
  sizesTask_.start(
      BackgroundTask::Priority::utility,
      [search](const MovedSearch::Context& task) {
        search->askSizes(task, [](AuditFlow& flow, const auto& sizes) { flow.runStatus_.addSizes(sizes); });
      },
      [](AuditFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
}

void AuditFlow::applyReport(MovedSearch::Report report) {
  std::ranges::move(report.failures, std::back_inserter(unreadable_));
  filesDone_ = report.filesDone;
  const std::vector<std::string>& paths = unlisted_.files()->paths;
  runStatus_.advance({.filesDone = report.filesDone,
                      .counted = report.counted,
                      .fraction = report.fraction,
                      .file = filesDone_ < paths.size() ? shownText(paths[filesDone_]) : QString()});
  emit progressChanged();
}

void AuditFlow::endSearch(const std::exception_ptr& failure) {
  sizesTask_.abandon();
  runStatus_.end();
  if (failure) failure_ = QString::fromStdString(errorDescription(failure));
  setSearch(failure ? Search::failed : Search::ended);
  emit notesChanged();
  emit ended(failure ? Outcome::SomeFailed : Outcome::AllWell);
}

void AuditFlow::setLikely(std::shared_ptr<const LikelyFiles> likely) {
  likelyByFile_ = likely->ofEntries;
  std::ranges::stable_sort(likelyByFile_, {}, &LikelyFile::file);
  likely_ = std::move(likely);
  emit notesChanged();
}

void AuditFlow::cancel() {
  if (!isBusy()) return;
  task_.abandon();
  sizesTask_.abandon();
  runStatus_.end();
  if (isLooking()) {
    forgetFiles();
    return setStage(Stage::cancelled);
  }
  setSearch(Search::cancelled);
  emit notesChanged();
}

void AuditFlow::forget() {
  if (stage_ == Stage::none) return;
  cancel();
  stage_ = Stage::none;
  likely_ = std::make_shared<const LikelyFiles>();
  BackgroundTask::dispose(unlisted_.replaceAll(std::make_shared<const UnlistedFiles>()),
                          std::exchange(likelyByFile_, {}), std::exchange(unreadable_, {}),
                          std::exchange(list_, nullptr));
  search_ = Search::none;
  setShown(false);
  setStage(Stage::none);
  emit notesChanged();
}

// Of a walk that nothing is to be said of.
void AuditFlow::forgetFiles() {
  BackgroundTask::dispose(unlisted_.replaceAll(std::make_shared<const UnlistedFiles>()));
}

void AuditFlow::copyRow(int row) { copy(unlisted_.shownPaths(row, 1)); }

void AuditFlow::copyMarked() { copy(unlisted_.markedPaths()); }

void AuditFlow::copyShown() { copy(unlisted_.shownPaths(0, std::numeric_limits<int>::max())); }

void AuditFlow::copy(std::vector<std::string> paths) {
  if (paths.empty()) return;
  context().copyLater([paths = std::move(paths)](const std::stop_token& cancellation) {
    return UnlistedModel::text(paths, cancellation);
  });
}

void AuditFlow::setStage(Stage stage) {
  stage_ = stage;
  emit changed();
}

void AuditFlow::setSearch(Search search) {
  search_ = search;
  emit changed();
  emit progressChanged();
}

}  // namespace tallyfold
