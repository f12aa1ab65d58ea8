#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <vector>

#include <QList>
#include <QUrl>

#include "core/base/Uuid.h"

namespace tallyfold {

/// A location to be queued, with all that can be made for it before the queue is looked at.
struct PreparedFile {
  std::shared_ptr<const std::filesystem::path> url;  ///< Standardized.
  std::size_t hash = 0;                              ///< Of the path's bytes; nobody outside can make many meet.
  Uuid id;
};

using PreparedFiles = std::vector<PreparedFile>;

/// Every regular location among `urls`, repeated ones too, in the given order; folders and what is not a file are left
/// out. Asks nothing of the disk. On any thread; throws CancellationError.
PreparedFiles prepareFiles(const QList<QUrl>& urls, const std::stop_token& cancellation = {});

}  // namespace tallyfold
