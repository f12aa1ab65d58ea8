#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "app/shared/VerifiedList.h"
#include "app/tasks/BackgroundTask.h"
#include "checksums/audit/MovedFiles.h"
#include "checksums/audit/UnlistedFiles.h"
#include "core/services/HashService.h"

namespace tallyfold {

class AuditFlow;

/// The search for the missing files of a list among the unlisted ones, on a thread of its own.
struct MovedSearch {
  /// How far it has come.
  struct Report {
    std::size_t filesDone = 0;
    double fraction = 0;       ///< Of the file under way, 0 to 1.
    std::int64_t counted = 0;  ///< By `counter`, when that file began, or the next where it ended.
  };
  using Context = FlowTask<AuditFlow>::Context;
  using ReportTaker = std::function<void(AuditFlow&, Report)>;
  using MovedTaker = std::function<void(AuditFlow&, std::shared_ptr<const MovedFiles>)>;

  std::shared_ptr<const VerifiedList> list;
  std::shared_ptr<const UnlistedFiles> unlisted;
  std::shared_ptr<ReadCounter> counter = std::make_shared<ReadCounter>(0);

  /// Calls `takeReport` often, and `takeMoved` at the end. Fails with ManifestPathError where the root is another
  /// folder by now, at the start or at the end, or with CancellationError.
  void work(const Context& context, const ReportTaker& takeReport, const MovedTaker& takeMoved) const;
};

}  // namespace tallyfold
