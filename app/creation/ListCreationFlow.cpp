#include "app/creation/ListCreationFlow.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <QLocale>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/shared/NewList.h"
#include "app/shared/RunSizes.h"
#include "checksums/verification/ManifestVerification.h"
#include "core/base/Errors.h"

namespace tallyfold {

ListCreationFlow::ListCreationFlow(FlowContext& context) : Flow(context) {
  connect(this, &ListCreationFlow::choiceChanged, this, &ListCreationFlow::statusChanged);
  connect(this, &ListCreationFlow::folderChanged, this, &ListCreationFlow::statusChanged);
  connect(this, &ListCreationFlow::statusChanged, this, &Flow::isBusyChanged);
  connect(&saver_, &Saver::ended, this, &ListCreationFlow::endSaving);
}

void ListCreationFlow::setOpen(bool isOpen) {
  if (std::exchange(isOpen_, isOpen) == isOpen) return;
  if (!isOpen && (isSaved_ || !saveRefusal().isEmpty())) reset();
  isKept_ = isOpen && stage_ == Stage::made;
  if (isKept_) emit statusChanged();
  emit isOpenChanged();
}

QString ListCreationFlow::folder() const { return folder_ ? displayText(*folder_) : QString(); }

void ListCreationFlow::setFolder(const std::optional<std::filesystem::path>& folder) {
  if (folder == folder_) return;
  reset();
  folder_ = folder;
  emit folderChanged();
}

QStringList ListCreationFlow::algorithmNames() const { return displayNames(algorithms_); }

void ListCreationFlow::setAlgorithmSelected(const QString& name, bool isSelected) {
  const auto algorithm = algorithmNamed(name);
  if (!algorithm || isWorking() || algorithms_.contains(*algorithm) == isSelected) return;
  if (isSelected) {
    algorithms_.insert(*algorithm);
  } else {
    algorithms_.erase(*algorithm);
  }
  forget();
  emit choiceChanged();
}

// What was chosen, as long as it can be.
ChecksumList::Form ListCreationFlow::form() const {
  return chosenForm_ && ChecksumList::canHold(*chosenForm_, algorithms_) ? *chosenForm_
                                                                         : ChecksumList::usualForm(algorithms_);
}

QList<ListForm> ListCreationFlow::forms() const {
  QList<ListForm> forms;
  for (const ChecksumList::Form form : ChecksumList::allForms()) {
    ListForm row{.isChosen = form == this->form()};
    const bool isPossible = ChecksumList::canHold(form, algorithms_);
    switch (form) {
      case ChecksumList::Form::gnu:
        row.label = tr("GNU");
        if (!isPossible) row.refusal = tr("Holds one algorithm, and not CRC-32.");
        break;
      case ChecksumList::Form::bsd:
        row.label = tr("BSD tags");
        break;
      case ChecksumList::Form::sfv:
        row.label = tr("SFV");
        if (!isPossible) row.refusal = tr("Holds CRC-32 alone.");
        break;
    }
    forms.append(std::move(row));
  }
  return forms;
}

void ListCreationFlow::chooseForm(int index) {
  const auto forms = ChecksumList::allForms();
  if (isWorking() || index < 0 || std::cmp_greater_equal(index, forms.size())) return;
  const ChecksumList::Form chosen = forms.at(static_cast<std::size_t>(index));
  if (chosen == form() || !ChecksumList::canHold(chosen, algorithms_)) return;
  chosenForm_ = chosen;
  forget();
  emit choiceChanged();
}

QString ListCreationFlow::sample() const {
  if (algorithms_.empty()) return {};
  std::string text = ChecksumList::proposedName(form(), algorithms_) + ":";
  constexpr std::size_t shownDigits = 12;
  constexpr std::size_t sampleLines = 4;
  std::size_t lines = 1;
  for (const HashAlgorithm algorithm : algorithms_) {
    text += '\n';
    if (++lines == sampleLines && algorithms_.size() >= sampleLines) return QString::fromStdString(text + "…");
    const std::string digits = std::string("0123456789ab").substr(0, std::min(shownDigits, algorithm.hexLength()));
    const bool isCut = digits.size() < algorithm.hexLength();
    ChecksumList::appendLine(text, form(), "folder/file", algorithm, digits + (isCut ? "…" : ""));
  }
  return QString::fromStdString(text);
}

QString ListCreationFlow::choiceRefusal() const { return isWorking() ? tr("The list is being made.") : QString(); }

QString ListCreationFlow::createRefusal() const {
  if (isWorking() || task_.isRunning() || saver_.isSaving()) return tr("The list is being made.");
  if (!folder_) return tr("Choose the folder first.");
  if (algorithms_.empty()) return tr("Select at least one algorithm.");
  return {};
}

QString ListCreationFlow::saveRefusal() const {
  if (isWorking() || task_.isRunning() || saver_.isSaving()) return tr("The list is being made.");
  if (!files_ || stage_ != Stage::made) return tr("Calculate the checksums first.");
  if (files_->empty()) return tr("No file could be read.");
  return {};
}

QStringList ListCreationFlow::remarks() const {
  QStringList remarks;
  const FolderWalk& walk = found_->walk;
  const auto shown = static_cast<std::int64_t>(walk.unreadFolders.size());
  addCounted(
      remarks, walk.unreadFolderCount, tr("1 folder could not be read."),
      walk.unreadFolderCount == shown
          ? tr("%1 folders could not be read.")
          : tr("%1 folders could not be read, the first %2 are shown.").replace(QStringLiteral("%2"), figureOf(shown)));
  addCounted(remarks, walk.changedFolderCount, tr("1 folder changed while it was looked at."),
             tr("%1 folders changed while they were looked at."));
  addCounted(remarks, walk.linkCount, tr("1 link was not followed."), tr("%1 links were not followed."));
  addCounted(remarks, walk.otherCount, tr("1 pipe, device or socket was left out."),
             tr("%1 pipes, devices and sockets were left out."));
  return remarks;
}

ListCreationVerdict ListCreationFlow::verdict() const {
  switch (stage_) {
    case Stage::choosing:
      return {};
    case Stage::running:
      return {.title = found_ ? tr("Calculating…") : tr("Looking for files…"), .details = {}};
    case Stage::saving:
      return {.title = tr("Saving…"), .details = {}};
    case Stage::cancelled:
      return {.tone = Tone::Caution, .title = tr("Cancelled"), .details = tr("Nothing was saved.")};
    case Stage::refused:
      return {.tone = Tone::Bad, .title = tr("No list was made"), .details = refusal_};
    default:
      break;
  }
  const auto total = static_cast<std::int64_t>(found_->paths.size());
  const std::int64_t failed = total - static_cast<std::int64_t>(files_->size());
  const bool isWhole = failed == 0 && found_->walk.unreadFolderCount == 0 && found_->walk.changedFolderCount == 0;
  const QString outcome =
      failed == 0  ? (total == 1 ? tr("1 file, not saved yet") : tr("%1 files, not saved yet").arg(figureOf(total)))
      : total == 1 ? tr("The only file could not be read")
                   : (failed == 1 ? tr("1 of %2 files could not be read and is not listed")
                                  : tr("%1 of %2 files could not be read and are not listed").arg(figureOf(failed)))
                         .replace(QStringLiteral("%2"), figureOf(total));
  QStringList details = remarks();
  if (isKept_) {
    details.append(tr("Its calculation began at %1: what changed since may not be in it.")
                       .arg(userLocale().toString(begunAt_, QLocale::ShortFormat)));
  }
  return {.tone = isWhole ? Tone::Pending : Tone::Caution, .title = outcome, .details = details.join(u' ')};
}

double ListCreationFlow::progress() const {
  if (!found_ || found_->paths.empty()) return 0;
  const RunMeter& meter = runStatus_.meter();
  if (const auto total = meter.totalBytes(); total && *total > 0) {
    return static_cast<double>(meter.bytesRead()) / static_cast<double>(*total);
  }
  return static_cast<double>(filesDone_) / static_cast<double>(found_->paths.size());
}

QString ListCreationFlow::progressFigure() const {
  if (!found_ || stage_ != Stage::running) return {};
  return filesOfFiles(filesDone_, found_->paths.size());
}

void ListCreationFlow::create() {
  if (!createRefusal().isEmpty()) return;
  forget();
  context().setErrorMessage(QString());
  setStage(Stage::running);
  begunAt_ = QDateTime::currentDateTime();
  const auto run = std::make_shared<ListCreationRun>();
  run->root = *folder_;
  run->algorithms = algorithms_;
  run->form = form();
  task_.start(
      BackgroundTask::Priority::userInitiated,
      [run](const ListCreationRun::Context& task) {
        run->work(
            task, [run](ListCreationFlow& flow, const auto& found) { flow.applyFound(found, run->counter); },
            [](ListCreationFlow& flow, ListCreationRun::Report report) { flow.applyReport(std::move(report)); },
            [](ListCreationFlow& flow, ListCreationRun::Files files) { flow.files_ = std::move(files); });
      },
      [](ListCreationFlow& flow, const std::exception_ptr& failure) {
        flow.sizesTask_.abandon();
        flow.runStatus_.end();
        if (failure) flow.refusal_ = QString::fromStdString(errorDescription(failure));
        if (flow.stage_ == Stage::running) flow.setStage(failure ? Stage::refused : Stage::made);
        emit flow.statusChanged();
        if (flow.stage_ == Stage::made || failure) {
          emit flow.ended(flow.verdict().tone == Tone::Pending ? Outcome::AllWell : Outcome::SomeFailed);
        }
      });
}

void ListCreationFlow::applyFound(const std::shared_ptr<const ListCreationRun::Found>& found,
                                  const std::shared_ptr<const ReadCounter>& counter) {
  found_ = found;
  std::vector<ListCreationRun::Failure> unread;
  for (const auto& [path, sentence] : found->walk.unreadFolders) unread.push_back({path + "/", sentence});
  failures_.add(std::move(unread));
  runStatus_.start(found->paths.size(), counter);
  sizesTask_.start(
      BackgroundTask::Priority::utility,
      [found](const ListCreationRun::Context& task) {
        tellSizes(task, found->paths, [&](const std::string& path) { return shownFileSize(path, found->root); });
      },
      [](ListCreationFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
  emit statusChanged();
  emit progressChanged();
}

void ListCreationFlow::applyReport(ListCreationRun::Report report) {
  failures_.add(std::move(report.failures));
  filesDone_ = report.filesDone;
  const auto& paths = found_->paths;
  runStatus_.advance({.filesDone = report.filesDone,
                      .counted = report.counted,
                      .fraction = report.fraction,
                      .file = filesDone_ < paths.size() ? shownText(paths[filesDone_]) : QString()});
  emit progressChanged();
}

void ListCreationFlow::cancel() {
  if (!isWorking()) return;
  // Whether there is a list by now, the end of its saving tells.
  if (stage_ == Stage::saving) return saver_.cancel();
  task_.cancel();
  sizesTask_.abandon();
  runStatus_.end();
  setStage(Stage::cancelled);
}

void ListCreationFlow::save() {
  if (!saveRefusal().isEmpty()) return;
  const std::filesystem::path proposal = *folder_ / ChecksumList::proposedName(form(), algorithms_);
  saver_.ask(proposal, [this, files = files_] {
    return files == files_ && saveRefusal().isEmpty() ? writer() : Saver::Writer();
  });
}

Saver::Writer ListCreationFlow::writer() {
  setStage(Stage::saving);
  return [files = files_, form = form(), folder = *folder_, root = found_->root](const auto& destination,
                                                                                 const auto& cancellation) {
    ListCreationRun::checkRoot(folder, root, "The folder was replaced after its files were read.", cancellation);
    ChecksumList::write(NewList::withoutReplaced(*files, folder, destination), form, destination, cancellation);
  };
}

void ListCreationFlow::endSaving(const std::filesystem::path& destination, bool isSaved) {
  // Nobody waits for it any more.
  if (stage_ != Stage::saving) return emit statusChanged();
  setStage(Stage::made);
  if (!isSaved) return;
  isSaved_ = true;
  emit saved(destination, *folder_, algorithms_.size() == 1 ? std::optional(*algorithms_.begin()) : std::nullopt);
}

void ListCreationFlow::reset() {
  cancel();
  forget();
}

void ListCreationFlow::forget() {
  BackgroundTask::dispose(std::exchange(found_, nullptr), std::exchange(files_, nullptr));
  failures_.clear();
  refusal_.clear();
  filesDone_ = 0;
  isSaved_ = false;
  isKept_ = false;
  setStage(Stage::choosing);
}

void ListCreationFlow::setStage(Stage stage) {
  stage_ = stage;
  emit statusChanged();
  emit progressChanged();
}

}  // namespace tallyfold
