// What the Manifest screen shows of the audit.

#include <algorithm>
#include <cstdint>
#include <filesystem>

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
    case LikelyFile::Bytes::none:
      return AuditFlow::tr("Only %1 from “%2”, which has no bytes either.").arg(what, other);
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
  if (stage_ != Stage::found) return {};
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

QString AuditFlow::searchSentence() const {
  if (search_ == Search::failed) return tr("The missing files were not searched for: %1").arg(failure_);
  if (search_ == Search::cancelled) return tr("The search for missing files was cancelled.");
  if (search_ != Search::ended) return {};
  const auto missing = static_cast<std::int64_t>(likely_->missingCount);
  const auto found = static_cast<std::int64_t>(likely_->foundCount);
  const bool isWhole = unreadable_.empty() && !unlisted_.files()->hasMore && doubts().isEmpty();
  QStringList sentences;
  addCounted(sentences, static_cast<std::int64_t>(likely_->returnedCount),
             tr("1 file that was missing is there again."), tr("%1 files that were missing are there again."));
  if (missing == 0) return sentences.join(u' ');
  if (missing == 1) {
    sentences.append(found > 0 ? tr("The missing file is among them.")
                     : isWhole ? tr("The missing file is none of them.")
                               : tr("The missing file was not found among those that were searched."));
  } else if (found == missing) {
    sentences.append(tr("All %1 missing files are among them.").arg(figureOf(missing)));
  } else if (found > 0) {
    sentences.append(tr("%1 of %2 missing files are among them.").arg(figureOf(found), figureOf(missing)));
  } else {
    sentences.append((isWhole ? tr("None of the %1 missing files is among them.")
                              : tr("None of the %1 missing files was found among those that were searched."))
                         .arg(figureOf(missing)));
  }
  const auto isByCRC32 = [](const LikelyFile& likely) { return likely.bytes == LikelyFile::Bytes::sameCRC32; };
  if (std::ranges::any_of(likely_->ofEntries, isByCRC32)) sentences.append(tr("Equal CRC-32s are no proof."));
  addCounted(sentences, static_cast<std::int64_t>(unreadable_.size()), tr("1 file could not be searched."),
             tr("%1 files could not be searched."));
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
  return (remarks + leftOut()).join(u' ');
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
  return filesOfFiles(filesDone_, static_cast<std::size_t>(unlisted_.total()));
}

QString AuditFlow::noteOfEntry(std::size_t entry) const {
  using Bytes = LikelyFile::Bytes;
  const auto likely = std::ranges::lower_bound(likely_->ofEntries, entry, {}, &LikelyFile::entry);
  if (likely == likely_->ofEntries.end() || likely->entry != entry) return {};
  const QString file = isolated(unlisted_.files()->paths[likely->file]);
  if (likely->name != LikelyFile::Name::otherwise) return onlyDifference(*likely, file);
  switch (likely->bytes) {
    case Bytes::same: {
      // Of several that it may be, the one of the same name.
      const std::filesystem::path path = (*list_->entries)[entry].relativePath;
      const bool isIt = othersWithBytesOf(*likely) == 0 ||
                        path.filename() == std::filesystem::path(unlisted_.files()->paths[likely->file]).filename();
      return (isIt ? tr("It is now at “%1”.") : tr("“%1” has the same bytes.")).arg(file);
    }
    case Bytes::sameCRC32:
      return tr("“%1” has the same CRC-32.").arg(file);
    case Bytes::none:
      return tr("“%1” has no bytes either.").arg(file);
    default:
      return tr("“%1” has the same name, other bytes.").arg(file);
  }
}

// Other missing files that the same file may be.
std::int64_t AuditFlow::othersWithBytesOf(const LikelyFile& likely) const {
  const auto first = std::ranges::lower_bound(likelyByFile_, likely.file, {}, &LikelyFile::file);
  const auto last = std::ranges::upper_bound(likelyByFile_, likely.file, {}, &LikelyFile::file);
  const std::string& path = (*list_->entries)[likely.entry].relativePath;
  return std::count_if(first, last,
                       [&](const LikelyFile& other) { return (*list_->entries)[other.entry].relativePath != path; });
}

QString AuditFlow::noteOfFile(std::size_t file) const {
  using Bytes = LikelyFile::Bytes;
  const auto failure = std::ranges::lower_bound(unreadable_, file, {}, &MovedSearch::Failure::file);
  if (failure != unreadable_.end() && failure->file == file) return QString::fromStdString(failure->sentence);
  const auto first = std::ranges::lower_bound(likelyByFile_, file, {}, &LikelyFile::file);
  if (first == likelyByFile_.end() || first->file != file) return {};
  const QString entry = isolated((*list_->entries)[first->entry].relativePath);
  if (first->name != LikelyFile::Name::otherwise) return onlyDifference(*first, entry);
  switch (first->bytes) {
    case Bytes::same: {
      const std::int64_t others = othersWithBytesOf(*first);
      if (others == 1) return tr("It has the bytes of “%1” and of 1 other.").arg(entry);
      return others == 0 ? tr("It was “%1”.").arg(entry)
                         : tr("It has the bytes of “%1” and of %2 others.").arg(entry, figureOf(others));
    }
    case Bytes::sameCRC32:
      return tr("It has the CRC-32 of “%1”.").arg(entry);
    case Bytes::none:
      return tr("It has no bytes, as “%1” had none.").arg(entry);
    default:
      return tr("It has the name of “%1”, and other bytes.").arg(entry);
  }
}

}  // namespace tallyfold
