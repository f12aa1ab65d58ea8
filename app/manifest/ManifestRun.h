#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "app/manifest/ManifestJob.h"
#include "app/tasks/BackgroundTask.h"
#include "checksums/lines/ChecksumManifestEntry.h"
#include "core/files/FileSnapshot.h"
#include "core/services/HashService.h"

namespace tallyfold {

class ManifestFlow;
struct PreparedManifestVerification;

using ManifestEntries = std::vector<ChecksumManifestEntry>;

/// One verification: what it is about, and how its files are checked on the verification's thread.
struct ManifestRun : std::enable_shared_from_this<ManifestRun> {
  struct Finding {
    std::size_t job;  ///< The index of the entry.
    ManifestJob::State state;
  };
  /// How many entries were not checked for reasons that the verdict speaks of.
  struct Causes {
    std::size_t missing = 0;        ///< No such file.
    std::size_t missingQuoted = 0;  ///< Of those, the ones whose name stands in double quotes.
    std::size_t absolutePath = 0;
    std::size_t rootChanged = 0;
  };
  /// The version of a file that entries were checked with.
  struct Checked {
    std::size_t job;  ///< The first of them.
    FileSnapshot version;
  };
  /// What an earlier run over the same entries and root has found out.
  struct Kept {
    std::vector<Checked> checked;            ///< In the order of the entries.
    std::vector<ManifestJob::State> states;  ///< Of all entries; those of the groups above are outcomes.
  };
  /// What was found out since the last time.
  struct Report {
    std::vector<std::size_t> verifying;  ///< Jobs of the group under way, unless they were reported as such before.
    std::vector<Finding> findings;
    std::vector<Checked> checked;  ///< Of these findings.
    Causes causes;                 ///< Of all findings since the start.
    std::size_t groupsDone = 0;    ///< Of all groups, since the start.
    std::size_t groups = 0;
    std::size_t running = 0;   ///< A job of the group under way, or of the last one.
    double fraction = 0;       ///< Of its file, 0 to 1.
    std::int64_t counted = 0;  ///< By `counter`, when that group began, or the next where it ended.
  };
  using Context = FlowTask<ManifestFlow>::Context;
  using Taker = std::function<void(ManifestFlow&, Report)>;
  /// Views of the entries.
  using Prepared = std::shared_ptr<const PreparedManifestVerification>;
  using GroupsTaker = std::function<void(ManifestFlow&, Prepared)>;

  std::shared_ptr<const ManifestEntries> entries;
  std::filesystem::path root;
  std::shared_ptr<ReadCounter> counter = std::make_shared<ReadCounter>(0);
  Kept kept{};  ///< Holds again for files that are the same version still; they are not read.

  /// `takeGroups` comes first: what will be verified, in this order.
  void work(const Context& context, const Taker& take, const GroupsTaker& takeGroups) const;
};

}  // namespace tallyfold
