#include "app/creation/ListCreationRun.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include <QCoreApplication>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "checksums/ChecksumReading.h"
#include "checksums/ListReading.h"
#include "checksums/ManifestVerification.h"
#include "core/base/Errors.h"
#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"

namespace tallyfold {

namespace {

QString tr(const char* text) { return QCoreApplication::translate("tallyfold::ListCreationFlow", text); }

[[noreturn]] void refuse(const QString& sentence) { throw ListRefusal(sentence.toStdString()); }

QString figure(std::size_t count) { return userLocale().toString(static_cast<qulonglong>(count)); }

}  // namespace

void ListCreationRun::work(const Context& context, const FoundTaker& takeFound, const ReportTaker& takeReport,
                           const FilesTaker& takeFiles) const {
  const std::stop_token& cancellation = context.cancellation();
  ManifestRootIdentity identity = ChecksumManifestService::captureRootIdentity(root, cancellation);
  const FolderFiles folder(identity);
  const auto found = std::make_shared<const Found>(find(folder, std::move(identity), cancellation));
  context.post([=](ListCreationFlow& flow) { takeFound(flow, found); });

  const auto reports = std::make_shared<GatheredNews<Report>>();
  Report now;
  const auto tell = [&] {
    const auto add = [&](Report& waiting) {
      std::ranges::move(std::exchange(now.failures, {}), std::back_inserter(waiting.failures));
      waiting.filesDone = now.filesDone;
      waiting.bytesRead = now.bytesRead;
      waiting.bytesOfRunning = now.bytesOfRunning;
      waiting.fraction = now.fraction;
    };
    context.gather(reports, add, takeReport);
  };
  const auto files = std::make_shared<std::vector<ChecksumList::File>>();
  files->reserve(found->paths.size());
  for (const std::string& path : found->paths) {
    HashService::checkCancellation(cancellation);
    const auto read = [&](std::int64_t bytes, std::int64_t size) {
      now.bytesRead += bytes - std::exchange(now.bytesOfRunning, bytes);
      now.fraction = size == 0 ? 0 : static_cast<double>(bytes) / static_cast<double>(size);
      if (bytes > 0 && bytes < size) tell();
    };
    try {
      files->push_back({path, folder.hash(path, algorithms, cancellation, read)});
    } catch (const std::exception&) {
      now.failures.push_back({path, errorDescription(std::current_exception())});
    }
    now.bytesOfRunning = 0;
    now.fraction = 0;
    ++now.filesDone;
    tell();
  }
  context.post([=](ListCreationFlow& flow) { takeFiles(flow, files); });
}

ListCreationRun::Found ListCreationRun::find(const FolderFiles& files, ManifestRootIdentity identity,
                                             const std::stop_token& cancellation) const {
  using namespace ChecksumManifestService;
  Found found{.root = std::move(identity), .paths = {}, .walk = {}};
  std::size_t illFormed = 0;
  std::size_t retained = 0;
  found.walk = files.walk(cancellation, [&](std::string path) {
    for (const HashAlgorithm algorithm : algorithms) retained += path.size() + algorithm.hexLength() + entryOverhead;
    const std::size_t entries = (found.paths.size() + illFormed + 1) * algorithms.size();
    if (entries > maximumEntries || retained > maximumRetainedSize) return false;
    if (!isValidUTF8(path)) {
      ++illFormed;
    } else {
      found.paths.push_back(std::move(path));
    }
    return true;
  });
  if (!found.walk.isComplete) {
    refuse(tr("There are too many files below this folder: a list holds at most %1 checksums, and 64 MiB of names.")
               .arg(figure(maximumEntries)));
  }
  if (found.paths.empty() && illFormed == 0) refuse(tr("There are no files below this folder."));
  std::ranges::sort(found.paths);
  checkNames(found.paths, illFormed, cancellation);
  return found;
}

void ListCreationRun::checkNames(const std::vector<std::string>& paths, std::size_t illFormed,
                                 const std::stop_token& cancellation) const {
  const HashAlgorithm algorithm = *algorithms.begin();
  const std::string digest(algorithm.hexLength(), '0');
  std::string line;
  const auto isLost = [&](const std::string& path) {
    HashService::checkCancellation(cancellation);
    line.clear();
    ChecksumList::appendLine(line, form, path, algorithm, digest);
    return !ChecksumManifestService::isReadBack(line, path, algorithm);
  };
  const auto firstLost = std::ranges::find_if(paths, isLost);
  const auto lost = static_cast<std::size_t>(std::count_if(firstLost, paths.end(), isLost));
  if (illFormed + lost == 0) return;
  QStringList reasons;
  if (illFormed > 0) {
    reasons.append(illFormed == 1 ? tr("The name of 1 file is not UTF-8, as lists are.")
                                  : tr("The names of %1 files are not UTF-8, as lists are.").arg(figure(illFormed)));
  }
  if (lost > 0) {
    // Isolated, so that the name cannot reorder the words around it.
    const QString name = u'\u2068' + shownText(*firstLost) + u'\u2069';
    reasons.append(
        lost == 1
            ? tr("The name of 1 file cannot be written in this form: “%1”.").arg(name)
            : tr("The names of %1 files cannot be written in this form, the first: “%2”.").arg(figure(lost), name));
  }
  refuse(reasons.join(u' '));
}

void ListCreationRun::askSizes(const Found& found, const Context& context,
                               const std::function<void(ListCreationFlow&, const std::vector<RunMeter::Size>&)>& take) {
  constexpr std::size_t atATime = 1'000;
  std::vector<RunMeter::Size> sizes;
  for (const std::string& path : found.paths) {
    if (context.cancellation().stop_requested()) return;
    sizes.push_back(shownFileSize(path, found.root));
    if (sizes.size() < atATime && &path != &found.paths.back()) continue;
    context.post([sizes = std::exchange(sizes, {}), take](ListCreationFlow& flow) { take(flow, sizes); });
  }
}

}  // namespace tallyfold
