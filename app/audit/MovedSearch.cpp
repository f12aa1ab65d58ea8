#include "app/audit/MovedSearch.h"

#include <exception>
#include <iterator>
#include <stop_token>
#include <string>
#include <system_error>
#include <utility>

#include "app/tasks/ReadAhead.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/verification/ManifestVerification.h"
#include "core/base/Errors.h"
#include "core/files/Paths.h"

namespace tallyfold {

namespace {

/// Of the exception that is being handled: what the verification of a list says of changes is put in other words.
std::string sentenceOfFailure() {
  try {
    throw;
  } catch (const ManifestPathError&) {
    return HashServiceError(HashServiceError::Case::fileChangedDuringRead).what();
  } catch (...) {
    return errorDescription(std::current_exception());
  }
}

/// Whether the name leads to a file by now.
bool isThere(const std::string& name, const VerifiedList& list, const std::stop_token& cancellation) {
  try {
    const auto place = ChecksumManifestService::locate(name, list.rootIdentity.canonicalPath, cancellation);
    return lookAtWithoutLinks(place.canonicalPath).fileSize.has_value();
  } catch (const ManifestPathError&) {
  } catch (const std::system_error&) {
  }
  return false;
}

}  // namespace

void MovedSearch::work(const Context& context, const ReportTaker& takeReport, const LikelyTaker& takeLikely) const {
  const std::stop_token& cancellation = context.cancellation();
  const std::vector<std::string>& paths = unlisted->paths;
  const auto folder = std::make_shared<const FolderFiles>(list->rootIdentity);
  std::vector<std::uint32_t> stillMissing;
  for (const std::uint32_t entry : list->missing) {
    HashService::checkCancellation(cancellation);
    if (!isThere((*list->entries)[entry].relativePath, *list, cancellation)) stillMissing.push_back(entry);
  }
  MissingFiles missing(*list->entries, stillMissing, paths, cancellation);
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
  const auto fetch = [folder, files = unlisted](std::size_t file) {
    return folder->fetchBeginning(files->paths[file]);
  };
  ReadAhead ahead(paths.size(), fetch, cancellation);
  for (std::size_t file = 0; !missing.algorithms().empty() && file < paths.size(); ++file) {
    ahead.reached(file);
    HashService::checkCancellation(cancellation);
    const auto read = [&](std::int64_t bytes, std::int64_t size) {
      now.fraction = size == 0 ? 0 : static_cast<double>(bytes) / static_cast<double>(size);
      if (bytes > 0 && bytes < size) tell();
    };
    try {
      missing.add(file, folder->hash(paths[file], missing.algorithms(), cancellation, read, counter.get()));
    } catch (const std::exception&) {
      now.failures.push_back({file, sentenceOfFailure()});
    }
    now.fraction = 0;
    now.counted = *counter;
    now.filesDone = file + 1;
    tell();
  }
  const ManifestRootIdentity root = ChecksumManifestService::captureRootIdentity(list->root, cancellation);
  if (!root.snapshot.isSameIdentity(list->rootIdentity.snapshot)) {
    throw ManifestPathError(ManifestPathError::Case::rootChangedDuringVerification);
  }
  LikelyFiles found = missing.find(cancellation);
  found.returnedCount = list->missing.size() - stillMissing.size();
  const auto likely = std::make_shared<const LikelyFiles>(std::move(found));
  context.post([=](AuditFlow& flow) { takeLikely(flow, likely); });
}

void MovedSearch::askSizes(const Context& context,
                           const std::function<void(AuditFlow&, const std::vector<RunMeter::Size>&)>& take) const {
  constexpr std::size_t atATime = 1'000;
  std::vector<RunMeter::Size> sizes;
  for (const std::string& path : unlisted->paths) {
    if (context.cancellation().stop_requested()) return;
    sizes.push_back(shownFileSize(path, list->rootIdentity));
    if (sizes.size() < atATime && &path != &unlisted->paths.back()) continue;
    context.post([sizes = std::exchange(sizes, {}), take](AuditFlow& flow) { take(flow, sizes); });
  }
}

}  // namespace tallyfold
