#include "app/audit/AuditNotes.h"

#include <algorithm>
#include <filesystem>

#include <QCoreApplication>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

QString tr(const char* text) { return QCoreApplication::translate("AuditNotes", text); }

/// What a sorted list has of an entry, or a file; null where that is nothing.
template <typename List, typename Member>
const typename List::value_type* findIn(const List& list, std::size_t index, Member member) {
  const auto found = std::ranges::lower_bound(list, index, {}, member);
  return found == list.end() || (*found).*member != index ? nullptr : &*found;
}

// From the other name, where hardly anything else differs.
QString onlyDifference(const LikelyFile& likely, const QString& other) {
  using Name = LikelyFile::Name;
  const QString what = likely.name == Name::inForm   ? tr("the Unicode form (NFC, NFD) of the name differs")
                       : likely.name == Name::inCase ? tr("upper and lower case of the name differ")
                                                     : tr("case and Unicode form of the name differ");
  switch (likely.bytes) {
    case LikelyFile::Bytes::same:
      return tr("Only %1 from “%2”, which has the same bytes.").arg(what, other);
    case LikelyFile::Bytes::sameCRC32:
      return tr("Only %1 from “%2”, which has the same CRC-32.").arg(what, other);
    case LikelyFile::Bytes::none:
      return tr("Only %1 from “%2”, which has no bytes either.").arg(what, other);
    case LikelyFile::Bytes::other:
      return tr("Only %1 from “%2”, but it has other bytes.").arg(what, other);
    default:
      return tr("Only %1 from “%2”.").arg(what, other);
  }
}

}  // namespace

QString AuditNotes::isolated(std::string_view name) { return u'\u2068' + shownText(name) + u'\u2069'; }

std::string AuditNotes::reported(QString words) { return words.remove(u'\u2068').remove(u'\u2069').toStdString(); }

QString AuditNotes::ofEntry(std::size_t entry) const {
  using Bytes = LikelyFile::Bytes;
  const LikelyFile* const likely = findIn(moved->likely.ofEntries, entry, &LikelyFile::entry);
  if (likely == nullptr) return {};
  const std::string& path = unlisted->paths[likely->file];
  const QString file = isolated(path);
  if (likely->name != LikelyFile::Name::otherwise) return onlyDifference(*likely, file);
  switch (likely->bytes) {
    case Bytes::same: {
      if (likely->copies == 1) return tr("“%1” and 1 other file have the same bytes.").arg(file);
      if (likely->copies > 1) {
        return tr("“%1” and %2 other files have the same bytes.").arg(file, userLocale().toString(likely->copies));
      }
      // Of several that it may be, the one of the same name.
      const std::filesystem::path listed = (*list->entries)[entry].relativePath;
      const bool isIt = likely->others == 0 || listed.filename() == std::filesystem::path(path).filename();
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

QString AuditNotes::ofFile(std::size_t file) const {
  using Bytes = LikelyFile::Bytes;
  if (const auto* const failure = findIn(moved->failures, file, &MovedFiles::Failure::file)) {
    return QString::fromStdString(failure->sentence);
  }
  const LikelyFile* const likely = findIn(moved->likely.ofFiles, file, &LikelyFile::file);
  if (likely == nullptr) return {};
  const QString entry = isolated((*list->entries)[likely->entry].relativePath);
  if (likely->name != LikelyFile::Name::otherwise) return onlyDifference(*likely, entry);
  switch (likely->bytes) {
    case Bytes::same:
      if (likely->others == 0) {
        return (likely->copies == 0 ? tr("It was “%1”.") : tr("It has the bytes of “%1”.")).arg(entry);
      }
      return likely->others == 1
                 ? tr("It has the bytes of “%1” and of 1 other.").arg(entry)
                 : tr("It has the bytes of “%1” and of %2 others.").arg(entry, userLocale().toString(likely->others));
    case Bytes::sameCRC32:
      return tr("It has the CRC-32 of “%1”.").arg(entry);
    case Bytes::none:
      return tr("It has no bytes, as “%1” had none.").arg(entry);
    default:
      return tr("It has the name of “%1”, and other bytes.").arg(entry);
  }
}

}  // namespace tallyfold
