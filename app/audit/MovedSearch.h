#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/shared/RunMeter.h"
#include "app/shared/VerifiedList.h"
#include "app/tasks/BackgroundTask.h"
#include "checksums/audit/MissingFiles.h"
#include "checksums/audit/UnlistedFiles.h"
#include "core/services/HashService.h"

namespace tallyfold {

class AuditFlow;

/// The search for the missing files of a list among the unlisted ones: what it is about, and how these are hashed on
/// its thread.
struct MovedSearch {
  /// An unlisted file that could not be read, or changed while it was.
  struct Failure {
    std::size_t file;
    std::string sentence;
  };
  /// What was found out since the last time.
  struct Report {
    std::vector<Failure> failures;
    std::size_t filesDone = 0;  ///< Since the start.
    double fraction = 0;        ///< Of the file under way, 0 to 1.
    std::int64_t counted = 0;   ///< By `counter`, when that file began, or the next where it ended.
  };
  using Context = FlowTask<AuditFlow>::Context;
  using ReportTaker = std::function<void(AuditFlow&, Report)>;
  using LikelyTaker = std::function<void(AuditFlow&, std::shared_ptr<const LikelyFiles>)>;

  std::shared_ptr<const VerifiedList> list;
  std::shared_ptr<const UnlistedFiles> unlisted;
  std::shared_ptr<ReadCounter> counter = std::make_shared<ReadCounter>(0);

  /// Calls `takeReport` often, and `takeLikely` at the end. Fails with ManifestPathError where the root is another
  /// folder by now, at the start or at the end, or with CancellationError.
  void work(const Context& context, const ReportTaker& takeReport, const LikelyTaker& takeLikely) const;

  /// Of the unlisted files, a thousand at a time, in their order.
  void askSizes(const Context& context,
                const std::function<void(AuditFlow&, const std::vector<RunMeter::Size>&)>& take) const;
};

}  // namespace tallyfold
