#include "app/files/PreparedFiles.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <utility>

#include "app/shared/FileLocation.h"
#include "core/base/KeyedHash.h"
#include "core/services/HashService.h"

namespace tallyfold {

PreparedFiles prepareFiles(const QList<QUrl>& urls, std::size_t limit, const std::stop_token& cancellation) {
  PreparedFiles files;
  files.rows.reserve(std::min(limit, static_cast<std::size_t>(urls.size())));
  for (const QUrl& url : urls) {
    HashService::checkCancellation(cancellation);
    auto location = fileLocation(url);
    if (!location || isDirectoryPath(*location)) continue;
    files.hasMoreBehind = files.rows.jobs.size() >= limit;
    if (files.hasMoreBehind) break;
    // Keyed: nobody outside can make many names meet.
    const std::size_t hash = KeyedHash()(location->native());
    FileJob job{.id = Uuid::random(),
                .url = std::make_shared<const std::filesystem::path>(*std::move(location)),
                .state = FileJob::Queued{}};
    files.hasMoreBehind = files.rows.hasLocationOf(job, hash);
    if (!files.hasMoreBehind) files.rows.append(std::move(job), hash);
  }
  return files;
}

}  // namespace tallyfold
