#include "app/creation/ListCreationRun.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include <QCoreApplication>

#include "app/shared/NewList.h"
#include "app/tasks/ReadAhead.h"
#include "core/base/Errors.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

[[noreturn]] void refuse(const char* sentence) {
  throw ListRefusal(QCoreApplication::translate("tallyfold::ListCreationFlow", sentence).toStdString());
}

/// Fails with ListRefusal where the folder is another than the one that was captured.
FolderFiles openFolder(const ManifestRootIdentity& identity) {
  try {
    return FolderFiles(identity);
  } catch (const ManifestPathError&) {
    refuse("The folder was replaced while its files were read.");
  }
}

}  // namespace

void ListCreationRun::checkRoot(const std::filesystem::path& root, const ManifestRootIdentity& expected,
                                const char* refusal, const std::stop_token& cancellation) {
  const ManifestRootIdentity now = ChecksumManifestService::captureRootIdentity(root, cancellation);
  const bool isSame = now.canonicalPath == expected.canonicalPath && now.snapshot.isSameIdentity(expected.snapshot);
  if (!isSame) refuse(refusal);
}

void ListCreationRun::work(const Context& context, const FoundTaker& takeFound, const ReportTaker& takeReport,
                           const FilesTaker& takeFiles) const {
  const std::stop_token& cancellation = context.cancellation();
  ManifestRootIdentity identity = ChecksumManifestService::captureRootIdentity(root, cancellation);
  const auto folder = std::make_shared<const FolderFiles>(openFolder(identity));
  const auto found = std::make_shared<const Found>(find(*folder, std::move(identity), cancellation));
  context.post([=](ListCreationFlow& flow) { takeFound(flow, found); });

  const auto reports = std::make_shared<GatheredNews<Report>>();
  Report now;
  const auto tell = [&] {
    const auto add = [&](Report& waiting) {
      std::ranges::move(std::exchange(now.failures, {}), std::back_inserter(waiting.failures));
      waiting.filesDone = now.filesDone;
      waiting.fraction = now.fraction;
      waiting.counted = now.counted;
    };
    context.gather(reports, add, takeReport);
  };
  const auto files = std::make_shared<std::vector<ChecksumList::File>>();
  files->reserve(found->paths.size());
  const auto fetch = [folder, found](std::size_t file) { return folder->fetchBeginning(found->paths[file]); };
  ReadAhead ahead(found->paths.size(), fetch, cancellation);
  for (const std::string& path : found->paths) {
    ahead.reached(now.filesDone);
    HashService::checkCancellation(cancellation);
    const auto read = [&](std::int64_t bytes, std::int64_t size) {
      now.fraction = size == 0 ? 0 : static_cast<double>(bytes) / static_cast<double>(size);
      if (bytes > 0 && bytes < size) tell();
    };
    try {
      files->push_back({path, folder->hash(path, algorithms, cancellation, read, counter.get())});
    } catch (const std::exception&) {
      now.failures.push_back({path, errorDescription(std::current_exception())});
    }
    now.fraction = 0;
    now.counted = *counter;
    ++now.filesDone;
    tell();
  }
  checkRoot(root, found->root, "The folder was replaced while its files were read.", cancellation);
  context.post([=](ListCreationFlow& flow) { takeFiles(flow, files); });
}

ListCreationRun::Found ListCreationRun::find(const FolderFiles& files, ManifestRootIdentity identity,
                                             const std::stop_token& cancellation) const {
  Found found{.root = std::move(identity), .paths = {}, .walk = {}};
  NewList list(form, algorithms);
  found.walk = files.walk(cancellation, [&](std::string path) {
    // A list that is there already is likely the one that the new one replaces.
    if (path != ChecksumList::proposedName(form, algorithms) && !list.add(path)) return false;
    found.paths.push_back(std::move(path));
    return true;
  });
  if (found.walk.hasTooManyFolders) refuse("There are too many folders below this folder.");
  if (!found.walk.isComplete) NewList::refuseMore();
  if (found.paths.empty()) {
    refuse(found.walk.unreadFolderCount > 0 ? "No file was found, and not every folder could be read."
                                            : "There are no files below this folder.");
  }
  std::ranges::sort(found.paths);
  list.checkNames(found.paths, cancellation);
  return found;
}

}  // namespace tallyfold
