#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include <QtGlobal>

#include "checksums/lines/ChecksumManifestEntry.h"
#include "checksums/paths/ManifestPaths.h"

namespace tallyfold {

/// A checksum list whose verification came to its end.
struct VerifiedList {
  std::shared_ptr<const std::vector<ChecksumManifestEntry>> entries;
  std::filesystem::path list;
  std::filesystem::path root;
  ManifestRootIdentity rootIdentity;  ///< Of the folder that was verified.
  qint64 linesNotUnderstood = 0;
  std::vector<std::uint32_t> missing{};  ///< Those of the entries whose files are missing, ascending.
};

}  // namespace tallyfold
