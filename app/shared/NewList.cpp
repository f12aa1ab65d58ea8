#include "app/shared/NewList.h"

#include <algorithm>
#include <system_error>

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "checksums/lists/ChecksumReading.h"
#include "checksums/lists/ListReading.h"
#include "core/files/Paths.h"
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
  std::string line;
  const auto isLost = [&](const std::string& path) {
    return std::any_of(algorithms_.begin(), algorithms_.end(), [&](HashAlgorithm algorithm) {
      line.clear();
      ChecksumList::appendLine(line, form_, path, algorithm, std::string(algorithm.hexLength(), '0'));
      return !isReadBack(line, path, algorithm);
    });
  };
  std::size_t illFormed = 0;
  std::size_t lost = 0;
  const std::string* firstIllFormed = nullptr;
  const std::string* firstLost = nullptr;
  for (const std::string& path : paths) {
    HashService::checkCancellation(cancellation);
    if (!isValidUTF8(path)) {
      ++illFormed;
      if (firstIllFormed == nullptr) firstIllFormed = &path;
    } else if (isLost(path)) {
      ++lost;
      if (firstLost == nullptr) firstLost = &path;
    }
  }
  // Isolated, so that the name cannot reorder the words around it.
  const auto shown = [](const std::string& path) { return u'\u2068' + shownText(path) + u'\u2069'; };
  QStringList reasons;
  if (firstIllFormed != nullptr) {
    const QString name = shown(*firstIllFormed);
    reasons.append(
        illFormed == 1
            ? tr("The name of 1 file is not UTF-8, as lists are: “%1”.").arg(name)
            : tr("The names of %1 files are not UTF-8, as lists are, the first: “%2”.").arg(figure(illFormed), name));
  }
  if (firstLost != nullptr) {
    const QString name = shown(*firstLost);
    reasons.append(
        lost == 1
            ? tr("The name of 1 file cannot be written in this form: “%1”.").arg(name)
            : tr("The names of %1 files cannot be written in this form, the first: “%2”.").arg(figure(lost), name));
  }
  if (!reasons.isEmpty()) throw ListRefusal(reasons.join(u' ').toStdString());
}

std::vector<ChecksumList::File> NewList::withoutReplaced(std::vector<ChecksumList::File> files,
                                                         const std::filesystem::path& folder,
                                                         const std::filesystem::path& destination) {
  const auto isReplaced = [&](const ChecksumList::File& file) {
    const std::filesystem::path path = folder / file.path;
    const std::string name = path.filename();
    const std::string replaced = destination.filename();
    if (name != replaced && lowerCased(name) != lowerCased(replaced)) return false;
    try {
      // File systems that take names in any case have one file under both.
      if (name != replaced && !snapshotOfItem(path).isSameIdentity(snapshotOfItem(destination))) return false;
      return snapshotOfFolder(path.parent_path()).isSameIdentity(snapshotOfFolder(destination.parent_path()));
    } catch (const std::system_error&) {
      return false;  // The one of them that is there no more is told of elsewhere.
    }
  };
  std::erase_if(files, isReplaced);
  if (files.empty()) throw ListRefusal(tr("There is no file but the list itself.").toStdString());
  return files;
}

}  // namespace tallyfold
