#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include "app/manifest/ManifestVerdict.h"
#include "app/verify/VerificationResult.h"
#include "checksums/ChecksumManifestEntry.h"
#include "core/digests/DigestMap.h"
#include "core/digests/HashAlgorithm.h"
#include "core/services/FileComparison.h"

namespace tallyfold {

using ManifestEntries = std::vector<ChecksumManifestEntry>;

// What the model keeps of each flow. On the interface thread.

struct TextState {
  QString input;
  qint64 utf8ByteCount = 0;
  DigestMap hashes;
  QString error;
};

struct VerifyState {
  std::optional<std::filesystem::path> url;
  QString expectedHash;
  std::optional<HashAlgorithm> algorithmOverride;
  std::optional<VerificationResult> result;
  std::string expected;  ///< The normalised digest that `result` was checked against.
  double progress = 0;
  bool isRunning = false;
};

struct CompareState {
  std::optional<std::filesystem::path> firstURL;
  std::optional<std::filesystem::path> secondURL;
  std::optional<FileComparisonResult> result;
  double progress = 0;
  bool isRunning = false;
};

struct ManifestState {
  std::optional<std::filesystem::path> url;
  std::optional<std::filesystem::path> rootURL;
  std::shared_ptr<const ManifestEntries> entries;  ///< Those of the jobs, in the same order.
  QStringList warnings;
  qint64 ignoredLineCount = 0;
  qint64 unsupportedLineCount = 0;
  QString readError;
  ManifestTally::Run run = ManifestTally::Run::none;
  double progress = 0;
  std::size_t groupsDone = 0;
  std::size_t groups = 0;
  bool isLoading = false;
  bool isVerifying = false;
};

}  // namespace tallyfold
