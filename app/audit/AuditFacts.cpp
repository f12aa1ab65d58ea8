// What the Manifest screen shows of the audit.

#include <algorithm>
#include <cstdint>

#include "app/audit/AuditFlow.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

QString figureOf(std::int64_t count) { return userLocale().toString(static_cast<qlonglong>(count)); }

// %1 in `many` is the number.
void addCounted(QStringList& sentences, std::int64_t count, const QString& one, const QString& many) {
  if (count > 0) sentences.append(count == 1 ? one : many.arg(figureOf(count)));
}

// So that a name cannot reorder the words around it.
QString isolated(std::string_view name) { return u'\u2068' + shownText(name) + u'\u2069'; }

// From the other name, where hardly anything else differs.
QString onlyDifference(const LikelyFile& likely, const QString& other) {
  using Name = LikelyFile::Name;
  const QString what = likely.name == Name::inForm   ? AuditFlow::tr("the Unicode form (NFC, NFD) of the name differs")
                       : likely.name == Name::inCase ? AuditFlow::tr("upper and lower case of the name differ")
                                                     : AuditFlow::tr("case and Unicode form of the name differ");
  switch (likely.bytes) {
    case LikelyFile::Bytes::same:
      return AuditFlow::tr("Only %1 from “%2”, which has the same bytes.").arg(what, other);
    case LikelyFile::Bytes::sameCRC32:
      return AuditFlow::tr("Only %1 from “%2”, which has the same CRC-32.").arg(what, other);
    case LikelyFile::Bytes::other:
      return AuditFlow::tr("Only %1 from “%2”, but it has other bytes.").arg(what, other);
    default:
      return AuditFlow::tr("Only %1 from “%2”.").arg(what, other);
  }
}

}  // namespace

QString AuditFlow::figure() const {
  if (stage_ != Stage::found) return stage_ == Stage::looking ? tr("…") : tr("?");
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

QString AuditFlow::sentence() const {
  if (stage_ == Stage::failed) return tr("Files that are not in the list were not looked for: %1").arg(failure_);
  if (stage_ == Stage::cancelled) return tr("Files that are not in the list were not looked for.");
  if (stage_ != Stage::found) return {};
  QStringList sentences = doubts();
  const std::int64_t count = unlisted_.total();
  const bool isUnderstood = list_->linesNotUnderstood == 0;
  if (count == 0) {
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

QString AuditFlow::searchSentence() const {
  if (search_ == Search::failed) return tr("The missing files were not searched for: %1").arg(failure_);
  if (search_ == Search::cancelled) return tr("The search for missing files was cancelled.");
  if (search_ != Search::ended) return {};
  const auto missing = static_cast<std::int64_t>(likely_->missingCount);
  const auto found = static_cast<std::int64_t>(likely_->foundCount);
  QStringList sentences;
  if (missing == 1) {
    sentences.append(found == 0 ? tr("The missing file is none of them.") : tr("The missing file is among them."));
  } else if (found == missing) {
    sentences.append(tr("All %1 missing files are among them.").arg(figureOf(missing)));
  } else {
    sentences.append(found == 0 ? tr("None of the %1 missing files is among them.").arg(figureOf(missing))
                                : tr("%1 of %2 missing files are among them.").arg(figureOf(found), figureOf(missing)));
  }
  const auto isByCRC32 = [](const LikelyFile& likely) { return likely.bytes == LikelyFile::Bytes::sameCRC32; };
  if (std::ranges::any_of(likely_->ofEntries, isByCRC32)) sentences.append(tr("Equal CRC-32s are no proof."));
  addCounted(sentences, static_cast<std::int64_t>(unreadable_.size()), tr("1 of them could not be read."),
             tr("%1 of them could not be read."));
  return sentences.join(u' ');
}

QString AuditFlow::remarks() const {
  if (stage_ != Stage::found) return {};
  const UnlistedFiles& files = *unlisted_.files();
  QStringList remarks;
  if (files.hasMore) remarks.append(tr("There are more: these were found first."));
  for (const FolderWalk::UnreadFolder& folder : files.walk.unreadFolders) {
    constexpr qsizetype mostShown = 3;
    if (remarks.size() == mostShown) break;
    remarks.append(
        tr("“%1” could not be read: %2")
            .arg(isolated(folder.path.empty() ? "." : folder.path), QString::fromStdString(folder.sentence)));
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
  return tr("%1 of %2 files").arg(figureOf(static_cast<std::int64_t>(filesDone_)), figureOf(unlisted_.total()));
}

QString AuditFlow::noteOfEntry(std::size_t entry) const {
  using Bytes = LikelyFile::Bytes;
  const auto likely = std::ranges::lower_bound(likely_->ofEntries, entry, {}, &LikelyFile::entry);
  if (likely == likely_->ofEntries.end() || likely->entry != entry) return {};
  const QString file = isolated(unlisted_.files()->paths[likely->file]);
  if (likely->name != LikelyFile::Name::otherwise) return onlyDifference(*likely, file);
  switch (likely->bytes) {
    case Bytes::same:
      return tr("It is now at “%1”.").arg(file);
    case Bytes::sameCRC32:
      return tr("“%1” has the same CRC-32.").arg(file);
    default:
      return tr("“%1” has the same name, other bytes.").arg(file);
  }
}

QString AuditFlow::noteOfFile(std::size_t file) const {
  using Bytes = LikelyFile::Bytes;
  const auto failure = std::ranges::lower_bound(unreadable_, file, {}, &MovedSearch::Failure::file);
  if (failure != unreadable_.end() && failure->file == file) return QString::fromStdString(failure->sentence);
  const auto first = std::ranges::lower_bound(likelyByFile_, file, {}, &LikelyFile::file);
  const auto isOfOther = [&](const LikelyFile& likely) { return likely.file != file; };
  const auto last = std::find_if(first, likelyByFile_.end(), isOfOther);
  if (first == last) return {};
  const QString entry = isolated((*list_->entries)[first->entry].relativePath);
  if (first->name != LikelyFile::Name::otherwise) return onlyDifference(*first, entry);
  switch (first->bytes) {
    case Bytes::same: {
      const std::string& path = (*list_->entries)[first->entry].relativePath;
      const auto others = std::count_if(
          first, last, [&](const LikelyFile& likely) { return (*list_->entries)[likely.entry].relativePath != path; });
      if (others == 1) return tr("It has the bytes of “%1” and of 1 other.").arg(entry);
      return others == 0 ? tr("It was “%1”.").arg(entry)
                         : tr("It has the bytes of “%1” and of %2 others.").arg(entry, figureOf(others));
    }
    case Bytes::sameCRC32:
      return tr("It has the CRC-32 of “%1”.").arg(entry);
    default:
      return tr("It has the name of “%1”, and other bytes.").arg(entry);
  }
}

}  // namespace tallyfold
