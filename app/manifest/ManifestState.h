#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include "app/manifest/ManifestJobListModel.h"
#include "app/manifest/ManifestRun.h"
#include "app/manifest/ManifestVerdict.h"
#include "checksums/lists/ListReading.h"
#include "checksums/paths/ManifestPaths.h"
#include "core/digests/HashAlgorithm.h"
#include "core/services/FileHashResult.h"

namespace tallyfold {

/// The list that the user chose, and what was said of how to read it.
struct ManifestChoice {
  std::optional<std::filesystem::path> url{};
  ChecksumManifestService::ReadingChoice reading{};
  HashAlgorithmSet candidates{};                    ///< That the list may be of, as long as it is the same list.
  std::optional<std::filesystem::path> seenRoot{};  ///< Below which a file of this list was seen, if it was.
  QString firstOther{};                             ///< With this list: the name of the first file that is not read.
  qsizetype othersCount = 0;
};

/// What was read from a list, beside the jobs.
struct ManifestList {
  std::shared_ptr<const ManifestEntries> entries{};  ///< What the jobs are about, in their order; null before.
  QStringList warnings{};
  ChecksumManifestService::ListReading reading{};  ///< Without its result and sizes: they are here and in the jobs.
  qint64 ignoredLineCount = 0;
  qint64 unsupportedLineCount = 0;
  QString readError{};
  qint64 unreadableLine = 0;  ///< That the error is about; 0 when it is not about one.
};

/// What a verification has come to, beside the states of the jobs.
struct ManifestRunState {
  ManifestTally::Stage stage = ManifestTally::Stage::none;
  ManifestRun::Causes causes{};
  std::vector<ManifestRun::Checked> checked{};  ///< Kept for another run as long as one is offered.
  std::size_t groupsDone = 0;
  std::size_t groups = 0;
  ManifestRootIdentity rootIdentity{};  ///< Of the folder that was verified.
  Timestamp start{};                    ///< Of it, or of the first of those that it keeps findings of.
  Timestamp end{};
  std::optional<std::filesystem::path> likelyRoot{};  ///< Below which the first of the missing files is.
};

/// All that the screen had before it was cleared.
struct ClearedManifest {
  bool isToBeRead = false;  ///< The list, which was being read.
  ManifestChoice choice;
  std::optional<std::filesystem::path> rootURL;
  ManifestList list;
  ManifestJobListModel::Rows rows;
  ManifestRunState run;
  std::function<void()> bringFolderBack;  ///< What others knew of the folder.
};

}  // namespace tallyfold
