#include "app/files/PreparedFiles.h"

#include <utility>

#include "app/shared/FileLocation.h"
#include "core/base/KeyedHash.h"
#include "core/services/HashService.h"

namespace tallyfold {

PreparedFiles prepareFiles(const QList<QUrl>& urls, const std::stop_token& cancellation) {
  PreparedFiles files;
  files.reserve(static_cast<std::size_t>(urls.size()));
  for (const QUrl& url : urls) {
    HashService::checkCancellation(cancellation);
    auto location = fileLocation(url);
    if (!location || isDirectoryPath(*location)) continue;
    auto path = std::make_shared<const std::filesystem::path>(*std::move(location));
    const std::size_t hash = KeyedHash()(path->native());
    files.push_back({std::move(path), hash, Uuid::random()});
  }
  return files;
}

}  // namespace tallyfold
