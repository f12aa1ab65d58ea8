#include "app/audit/AuditFlow.h"

#include <exception>
#include <limits>
#include <memory>
#include <utility>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "core/base/Errors.h"

namespace tallyfold {

namespace {

QString figureOf(std::int64_t count) { return userLocale().toString(static_cast<qlonglong>(count)); }

// %1 in `many` is the number.
void addCounted(QStringList& sentences, std::int64_t count, const QString& one, const QString& many) {
  if (count > 0) sentences.append(count == 1 ? one : many.arg(figureOf(count)));
}

}  // namespace

AuditFlow::AuditFlow(FlowContext& context) : Flow(context) {
  connect(this, &AuditFlow::changed, this, &AuditFlow::shownChanged);
  connect(this, &AuditFlow::changed, this, &Flow::isBusyChanged);
  connect(&unlisted_, &UnlistedModel::countChanged, this, &AuditFlow::shownChanged);
}

void AuditFlow::setShown(bool isShown) {
  if (std::exchange(isShown_, isShown && isPresent()) != isShown_) emit shownChanged();
}

QString AuditFlow::figure() const {
  if (stage_ != Stage::found) return stage_ == Stage::looking ? tr("…") : tr("?");
  const QString figure = figureOf(unlisted_.total());
  return unlisted_.files().hasMore ? tr("%1+").arg(figure) : figure;
}

// Why there may be more than what was found.
QStringList AuditFlow::doubts() const {
  const FolderWalk& walk = unlisted_.files().walk;
  QStringList doubts;
  addCounted(doubts, walk.unreadFolderCount, tr("1 folder could not be read."), tr("%1 folders could not be read."));
  addCounted(doubts, walk.changedFolderCount, tr("1 folder changed while it was looked at."),
             tr("%1 folders changed while they were looked at."));
  if (walk.hasTooManyFolders) doubts.append(tr("There are too many folders to look into all of them."));
  return doubts;
}

QString AuditFlow::sentence() const {
  if (stage_ == Stage::failed) return tr("Files that are not in the list were not looked for: %1").arg(failure_);
  if (stage_ == Stage::cancelled) return tr("Files that are not in the list were not looked for.");
  if (stage_ != Stage::found) return {};
  QStringList sentences = doubts();
  const std::int64_t count = unlisted_.total();
  const bool isUnderstood = linesNotUnderstood_ == 0;
  if (count == 0) {
    sentences.prepend(sentences.isEmpty() ? tr("The folder has no other files.") : tr("No other file was found."));
  } else if (unlisted_.files().hasMore) {
    sentences.prepend(tr("More than %1 files in the folder are not in the list.").arg(figureOf(count)));
  } else if (count == 1) {
    sentences.prepend(isUnderstood ? tr("1 file in the folder is not in the list.")
                                   : tr("1 file in the folder is in no line that is understood."));
  } else {
    sentences.prepend((isUnderstood ? tr("%1 files in the folder are not in the list.")
                                    : tr("%1 files in the folder are in no line that is understood."))
                          .arg(figureOf(count)));
  }
  return sentences.join(u' ');
}

QString AuditFlow::remarks() const {
  if (stage_ != Stage::found) return {};
  const UnlistedFiles& files = unlisted_.files();
  QStringList remarks;
  if (files.hasMore) remarks.append(tr("There are more: these were found first."));
  for (const FolderWalk::UnreadFolder& folder : files.walk.unreadFolders) {
    constexpr qsizetype mostShown = 3;
    if (remarks.size() == mostShown) break;
    remarks.append(tr("“%1” could not be read: %2")
                       .arg(u'\u2068' + shownText(folder.path.empty() ? "." : folder.path) + u'\u2069',
                            QString::fromStdString(folder.sentence)));
  }
  addCounted(remarks, files.walk.linkCount, tr("1 link was not followed."), tr("%1 links were not followed."));
  addCounted(remarks, files.walk.otherCount, tr("1 pipe, device or socket was left out."),
             tr("%1 pipes, devices and sockets were left out."));
  addCounted(remarks, files.listCount, tr("1 checksum list was left out."), tr("%1 checksum lists were left out."));
  return remarks.join(u' ');
}

QString AuditFlow::emptySentence() const {
  if (!unlisted_.search().isEmpty()) return tr("No file that is shown has this in its path.");
  return isLooking() ? tr("Looking for files that are not in the list…") : sentence();
}

QString AuditFlow::copyRefusal() const { return unlisted_.count() == 0 ? tr("There are no rows to copy.") : QString(); }

void AuditFlow::look(const VerifiedList& list) {
  forget();
  linesNotUnderstood_ = list.linesNotUnderstood;
  setStage(Stage::looking);
  task_.start(
      BackgroundTask::Priority::userInitiated,
      [list](const FlowTask<AuditFlow>::Context& task) {
        const FolderFiles files(list.rootIdentity);
        const auto found = std::make_shared<UnlistedFiles>(
            UnlistedFiles::find(files, list.rootIdentity, *list.entries, list.list, task.cancellation()));
        task.post([found](AuditFlow& flow) { flow.unlisted_.replaceAll(std::move(*found)); });
      },
      [](AuditFlow& flow, const std::exception_ptr& failure) {
        if (failure) flow.failure_ = QString::fromStdString(errorDescription(failure));
        flow.setStage(failure ? Stage::failed : Stage::found);
      });
}

void AuditFlow::cancel() {
  if (!isLooking()) return;
  task_.abandon();
  setStage(Stage::cancelled);
}

void AuditFlow::forget() {
  if (stage_ == Stage::none) return;
  task_.abandon();
  BackgroundTask::dispose(unlisted_.replaceAll({}));
  setShown(false);
  setStage(Stage::none);
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

}  // namespace tallyfold
