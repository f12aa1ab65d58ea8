#include "app/audit/AuditFlow.h"

#include <limits>
#include <utility>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/shared/RunSizes.h"
#include "checksums/audit/MissingFiles.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/verification/ManifestVerification.h"
#include "core/base/Errors.h"

namespace tallyfold {

AuditFlow::AuditFlow(FlowContext& context) : Flow(context) {
  connect(this, &AuditFlow::changed, this, &AuditFlow::shownChanged);
  connect(this, &AuditFlow::changed, this, &Flow::isBusyChanged);
  connect(this, &AuditFlow::notesChanged, &unlisted_, &UnlistedModel::announceNotes);
  unlisted_.setNotes([this](std::size_t file) { return notes().ofFile(file); });
  connect(&unlisted_, &UnlistedModel::countChanged, this, &AuditFlow::shownChanged);
}

void AuditFlow::setShown(bool isShown) {
  if (std::exchange(isShown_, isShown && isPresent()) != isShown_) emit shownChanged();
}

bool AuditFlow::canSearch() const {
  return stage_ == Stage::ended && !isSearching() && !moved_->likely.algorithms.empty();
}

bool AuditFlow::offersSearch() const {
  const LikelyFiles& likely = moved_->likely;
  const bool isThrough = moved_->failures.empty() || likely.foundCount == likely.missingCount;
  return canSearch() && (search_ != Stage::ended || !isThrough);
}

void AuditFlow::look(VerifiedList list) {
  forget();
  list_ = std::make_shared<const VerifiedList>(std::move(list));
  setStage(Stage::running);
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
        const auto moved = std::make_shared<MovedFiles>();
        moved->likely = missing.find(task.cancellation());
        task.post([moved](AuditFlow& flow) {
          flow.byName_ = moved;
          flow.setMoved(moved);
        });
      },
      [](AuditFlow& flow, const std::exception_ptr& failure) {
        flow.walkEnd_ = timeNow();
        if (!failure) return flow.setStage(Stage::ended);
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
  // Until it ends, what is known is by names alone.
  if (search_ == Stage::ended) earlier_ = moved_;
  setMoved(byName_);
  setSearch(Stage::running);
  const auto found = std::make_shared<std::shared_ptr<const MovedFiles>>();
  runStatus_.start(search->unlisted->paths.size(), search->counter);
  task_.start(
      BackgroundTask::Priority::userInitiated,
      [search, found](const MovedSearch::Context& task) {
        search->work(
            task, [](AuditFlow& flow, MovedSearch::Report report) { flow.applyReport(report); },
            [found](AuditFlow& /*flow*/, std::shared_ptr<const MovedFiles> moved) { *found = std::move(moved); });
      },
      [found](AuditFlow& flow, const std::exception_ptr& failure) {
        if (!failure) flow.setMoved(std::move(*found));
        flow.endSearch(failure);
      });
  sizesTask_.start(
      BackgroundTask::Priority::utility,
      [search](const MovedSearch::Context& task) {
        tellSizes(task, search->unlisted->paths,
                  [&](const std::string& path) { return shownFileSize(path, search->list->rootIdentity); });
      },
      [](AuditFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
}

void AuditFlow::applyReport(const MovedSearch::Report& report) {
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
  if (failure && earlier_) {
    setSearch(Stage::failed);
    context().setErrorMessage(searchFailure());
    emit ended(Outcome::SomeFailed);
    // What an earlier one found is as true as it was.
    moved_ = std::exchange(earlier_, nullptr);
    setSearch(Stage::ended);
    return emit notesChanged();
  }
  if (earlier_) BackgroundTask::dispose(std::exchange(earlier_, nullptr));
  searchEnd_ = timeNow();
  setSearch(failure ? Stage::failed : Stage::ended);
  emit notesChanged();
  emit ended(hasFoundAll() ? Outcome::AllWell : Outcome::SomeFailed);
}

bool AuditFlow::hasFoundAll() const {
  return search_ == Stage::ended && moved_->failures.empty() &&
         moved_->likely.foundCount == moved_->likely.missingCount && moved_->likely.emptyCount == 0 &&
         moved_->likely.contradictoryCount == 0;
}

void AuditFlow::setMoved(std::shared_ptr<const MovedFiles> moved) {
  moved_ = std::move(moved);
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
  const bool isRepeated = earlier_ != nullptr;
  if (isRepeated) moved_ = std::exchange(earlier_, nullptr);
  setSearch(isRepeated ? Stage::ended : Stage::cancelled);
  emit notesChanged();
}

void AuditFlow::forget() {
  if (stage_ == Stage::none) return;
  cancel();
  stage_ = Stage::none;
  forgetFiles();
  BackgroundTask::dispose(std::exchange(list_, nullptr));
  search_ = Stage::none;
  setShown(false);
  setStage(Stage::none);
}

std::function<void()> AuditFlow::keep() {
  if (isLooking()) {
    return [this, list = list_] { look(*list); };
  }
  cancel();
  if (stage_ == Stage::none) return [] {};
  return [this, stage = stage_, search = search_, walkEnd = walkEnd_, searchEnd = searchEnd_, failure = failure_,
          list = list_, files = unlisted_.files(), byName = byName_, moved = moved_] {
    // Before the notes are announced: they are asked for at once, and only of what is present.
    stage_ = stage;
    search_ = search;
    walkEnd_ = walkEnd;
    searchEnd_ = searchEnd;
    failure_ = failure;
    list_ = list;
    unlisted_.replaceAll(files);
    byName_ = byName;
    setMoved(moved);
    emit changed();
  };
}

// Of a walk that nothing is to be said of, or no more.
void AuditFlow::forgetFiles() {
  // What refers to the files goes before them.
  auto moved = std::exchange(moved_, std::make_shared<const MovedFiles>());
  auto byName = std::exchange(byName_, moved_);
  BackgroundTask::dispose(std::move(moved), std::move(byName),
                          unlisted_.replaceAll(std::make_shared<const UnlistedFiles>()));
  emit notesChanged();
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

void AuditFlow::setSearch(Stage search) {
  search_ = search;
  emit changed();
  emit progressChanged();
}

}  // namespace tallyfold
