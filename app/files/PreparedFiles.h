#pragma once

#include <cstddef>
#include <stop_token>

#include <QList>
#include <QUrl>

#include "app/files/FileRows.h"

namespace tallyfold {

/// Files to be queued, with all that can be made for them before the queue is looked at.
struct PreparedFiles {
  FileRows rows;
  bool hasMoreBehind = false;  ///< More files were given behind the last of the rows: repeated, or beyond the limit.
};

/// The first `limit` regular locations among `urls`, each once, in the given order; folders and what is not a file are
/// left out. Asks nothing of the disk. On any thread; throws CancellationError.
PreparedFiles prepareFiles(const QList<QUrl>& urls, std::size_t limit, const std::stop_token& cancellation = {});

}  // namespace tallyfold
