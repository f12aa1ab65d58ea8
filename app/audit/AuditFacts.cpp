// What the Manifest screen shows of the audit.

#include <algorithm>
#include <cstdint>

#include "app/audit/AuditFlow.h"
#include "app/shared/Formats.h"

namespace tallyfold {

QString AuditFlow::figure() const {
  if (stage_ != Stage::ended) return stage_ == Stage::running ? tr("…") : tr("?");
  const QString figure = figureOf(unlisted_.total());
  return unlisted_.files()->hasMore ? tr("%1+").arg(figure) : figure;
}

// Why there may be more than what was found.
QStringList AuditFlow::doubts() const {
  const FolderWalk& walk = unlisted_.files()->walk;
  QStringList doubts;
  addCounted(doubts, walk.unreadFolderCount, tr("1 folder could not be read."), tr("%1 folders could not be read."));
  addCounted(doubts, walk.changedFolderCount, tr("1 folder changed while it was looked at."),
             tr("%1 folders changed while they were looked at."));
  if (walk.hasTooManyFolders) doubts.append(tr("There are too many folders to look into all of them."));
  return doubts;
}

QStringList AuditFlow::leftOut() const {
  const UnlistedFiles& files = *unlisted_.files();
  QStringList sentences;
  addCounted(sentences, files.walk.linkCount, tr("1 link was not followed."), tr("%1 links were not followed."));
  addCounted(sentences, files.walk.otherCount, tr("1 pipe, device or socket was left out."),
             tr("%1 pipes, devices and sockets were left out."));
  addCounted(sentences, files.listCount, tr("1 other checksum list was left out."),
             tr("%1 other checksum lists were left out."));
  return sentences;
}

QString AuditFlow::sentence() const {
  if (stage_ == Stage::failed) return tr("Files that are not in the list were not looked for: %1").arg(failure_);
  if (stage_ == Stage::cancelled) return tr("Files that are not in the list were not looked for.");
  if (stage_ != Stage::ended) return {};
  QStringList sentences = doubts();
  const std::int64_t count = unlisted_.total();
  const bool isUnderstood = list_->linesNotUnderstood == 0 && !unlisted_.files()->hasRefusedNames;
  if (count == 0) {
    sentences += leftOut();
    sentences.prepend(sentences.isEmpty() ? tr("The folder has no other files.") : tr("No other file was found."));
  } else if (unlisted_.files()->hasMore) {
    sentences.prepend(tr("More than %1 files in the folder are not in the list.").arg(figureOf(count)));
  } else if (count == 1) {
    sentences.prepend(isUnderstood ? tr("1 file in the folder is not in the list.")
                                   : tr("1 file in the folder is in no line that is understood."));
  } else {
    sentences.prepend((isUnderstood ? tr("%1 files in the folder are not in the list.")
                                    : tr("%1 files in the folder are in no line that is understood."))
                          .arg(figureOf(count)));
  }
  if (const QString search = searchSentence(); !search.isEmpty()) sentences.append(search);
  return sentences.join(u' ');
}

QString AuditFlow::searchFailure() const { return tr("The missing files were not searched for: %1").arg(failure_); }

QString AuditFlow::searchSentence() const {
  if (search_ == Stage::failed) return searchFailure();
  if (search_ == Stage::cancelled) return tr("The search for missing files was cancelled.");
  if (search_ != Stage::ended) return {};
  const LikelyFiles& likely = moved_->likely;
  const auto missing = static_cast<std::int64_t>(likely.missingCount);
  const auto found = static_cast<std::int64_t>(likely.foundCount);
  const auto empty = static_cast<std::int64_t>(likely.emptyCount);
  const auto contradictory = static_cast<std::int64_t>(likely.contradictoryCount);
  const std::int64_t all = missing + empty + contradictory;
  const bool isWhole = moved_->failures.empty() && !unlisted_.files()->hasMore && doubts().isEmpty();
  QStringList sentences;
  addCounted(sentences, static_cast<std::int64_t>(likely.returnedCount), tr("1 file that was missing is there again."),
             tr("%1 files that were missing are there again."));
  addCounted(sentences, empty, tr("1 missing file is empty: its bytes tell it from no other empty file."),
             tr("%1 missing files are empty: their bytes tell them from no other empty file."));
  addCounted(sentences, contradictory, tr("1 missing file has checksums that contradict each other."),
             tr("%1 missing files have checksums that contradict each other."));
  if (missing == 0) return sentences.join(u' ');
  if (found > 0) {
    sentences.append(
        all == 1       ? tr("The missing file is among the unlisted ones.")
        : found == all ? tr("All %1 missing files are among the unlisted ones.").arg(figureOf(all))
        : found == 1   ? tr("1 of %1 missing files is among the unlisted ones.").arg(figureOf(all))
                       : tr("%1 of %2 missing files are among the unlisted ones.").arg(figureOf(found), figureOf(all)));
  } else if (missing == 1) {
    const QString file = all == 1 ? tr("The missing file") : tr("The other missing file");
    sentences.append(
        (isWhole ? tr("%1 is none of the unlisted ones.") : tr("%1 was not found among those that were searched."))
            .arg(file));
  } else {
    const QString files =
        (all == missing ? tr("None of the %1 missing files") : tr("None of the other %1 missing files"))
            .arg(figureOf(missing));
    sentences.append(
        (isWhole ? tr("%1 is among the unlisted ones.") : tr("%1 was found among those that were searched."))
            .arg(files));
  }
  const auto isByCRC32 = [](const LikelyFile& file) { return file.bytes == LikelyFile::Bytes::sameCRC32; };
  if (std::ranges::any_of(likely.ofEntries, isByCRC32)) sentences.append(tr("Equal CRC-32s are no proof."));
  addCounted(sentences, static_cast<std::int64_t>(moved_->failures.size()), tr("1 file could not be searched."),
             tr("%1 files could not be searched."));
  return sentences.join(u' ');
}

QString AuditFlow::remarks() const {
  if (stage_ != Stage::ended) return {};
  const UnlistedFiles& files = *unlisted_.files();
  QStringList remarks;
  if (files.hasMore) remarks.append(tr("There are more: these were found first."));
  for (const FolderWalk::UnreadFolder& folder : files.walk.unreadFolders) {
    constexpr qsizetype mostShown = 3;
    if (remarks.size() == mostShown) break;
    remarks.append(tr("“%1” could not be read: %2")
                       .arg(AuditNotes::isolated(folder.path.empty() ? "." : folder.path),
                            QString::fromStdString(folder.sentence)));
  }
  return (remarks + leftOut()).join(u' ');
}

QString AuditFlow::emptySentence() const {
  if (!unlisted_.search().isEmpty()) return tr("No file that is shown has this in its path.");
  return isLooking() ? tr("Looking for files that are not in the list…") : sentence();
}

QString AuditFlow::copyRefusal() const { return unlisted_.count() == 0 ? tr("There are no rows to copy.") : QString(); }

// Of a walk or a search.
VerificationReport::Work AuditFlow::workOf(Stage stage) {
  using Work = VerificationReport::Work;
  switch (stage) {
    case Stage::none:
      return Work::none;
    case Stage::running:
      return Work::running;
    case Stage::cancelled:
      return Work::cancelled;
    case Stage::failed:
      return Work::failed;
    case Stage::ended:
      break;
  }
  return Work::ended;
}

VerificationReport::Unlisted AuditFlow::report() const {
  VerificationReport::Unlisted report{.walk = workOf(stage_), .search = workOf(search_)};
  if (stage_ != Stage::ended) return report;
  const AuditNotes known = notes();
  report.walkEnd = walkEnd_;
  if (search_ == Stage::ended) report.searchEnd = searchEnd_;
  report.hasMore = known.unlisted->hasMore;
  report.isComplete = !report.hasMore && doubts().isEmpty();
  report.remarks = AuditNotes::reported(remarks());
  report.count = known.unlisted->paths.size();
  report.at = [known](std::size_t file) -> VerificationReport::UnlistedFile {
    return {known.unlisted->paths[file], AuditNotes::reported(known.ofFile(file))};
  };
  report.noteOfEntry = [known](std::size_t entry) { return AuditNotes::reported(known.ofEntry(entry)); };
  return report;
}

QString AuditFlow::searchRefusal() const {
  return isSearching() ? tr("The search for missing files is under way.") : QString();
}

double AuditFlow::progress() const {
  if (!isSearching() || isEmpty()) return 0;
  const RunMeter& meter = runStatus_.meter();
  if (const auto total = meter.totalBytes(); total && *total > 0) {
    return static_cast<double>(meter.bytesRead()) / static_cast<double>(*total);
  }
  return static_cast<double>(filesDone_) / static_cast<double>(unlisted_.total());
}

QString AuditFlow::progressFigure() const {
  if (!isSearching()) return {};
  return filesOfFiles(filesDone_, static_cast<std::size_t>(unlisted_.total()));
}

}  // namespace tallyfold
