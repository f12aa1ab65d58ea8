#include "app/shared/NewList.h"

#include <algorithm>

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "checksums/ChecksumReading.h"
#include "checksums/ListReading.h"
#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"

namespace tallyfold {

using namespace ChecksumManifestService;

namespace {

QString tr(const char* text) { return QCoreApplication::translate("tallyfold::NewList", text); }

QString figure(std::size_t count) { return userLocale().toString(static_cast<qulonglong>(count)); }

}  // namespace

bool NewList::add(std::string_view path) {
  entries_ += algorithms_.size();
  for (const HashAlgorithm algorithm : algorithms_) size_ += path.size() + algorithm.hexLength() + entryOverhead;
  return entries_ <= maximumEntries && size_ <= maximumRetainedSize;
}

void NewList::refuseMore() {
  throw ListRefusal(tr("There are too many files: a list holds at most %1 checksums, and 64 MiB of names.")
                        .arg(figure(maximumEntries))
                        .toStdString());
}

void NewList::checkNames(const std::vector<std::string>& paths, const std::stop_token& cancellation) const {
  const HashAlgorithm algorithm = *algorithms_.begin();
  const std::string digest(algorithm.hexLength(), '0');
  std::string line;
  std::size_t illFormed = 0;
  std::size_t lost = 0;
  const std::string* firstLost = nullptr;
  for (const std::string& path : paths) {
    HashService::checkCancellation(cancellation);
    line.clear();
    ChecksumList::appendLine(line, form_, path, algorithm, digest);
    if (!isValidUTF8(path)) {
      ++illFormed;
    } else if (!isReadBack(line, path, algorithm)) {
      ++lost;
      if (firstLost == nullptr) firstLost = &path;
    }
  }
  QStringList reasons;
  if (illFormed > 0) {
    reasons.append(illFormed == 1 ? tr("The name of 1 file is not UTF-8, as lists are.")
                                  : tr("The names of %1 files are not UTF-8, as lists are.").arg(figure(illFormed)));
  }
  if (firstLost != nullptr) {
    // Isolated, so that the name cannot reorder the words around it.
    const QString name = u'\u2068' + shownText(*firstLost) + u'\u2069';
    reasons.append(
        lost == 1
            ? tr("The name of 1 file cannot be written in this form: “%1”.").arg(name)
            : tr("The names of %1 files cannot be written in this form, the first: “%2”.").arg(figure(lost), name));
  }
  if (!reasons.isEmpty()) throw ListRefusal(reasons.join(u' ').toStdString());
}

}  // namespace tallyfold
