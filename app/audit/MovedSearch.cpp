#include "app/audit/MovedSearch.h"

#include <string>
#include <vector>

#include "app/tasks/ReadAhead.h"
#include "checksums/paths/FolderFiles.h"

namespace tallyfold {

void MovedSearch::work(const Context& context, const ReportTaker& takeReport, const MovedTaker& takeMoved) const {
  const std::vector<std::string>& paths = unlisted->paths;
  const auto folder = std::make_shared<const FolderFiles>(list->rootIdentity);
  const auto reports = std::make_shared<GatheredNews<Report>>();
  Report now;
  const auto tell = [&] {
    context.gather(
        reports, [&](Report& waiting) { waiting = now; }, takeReport);
  };
  const auto fetch = [folder, files = unlisted](std::size_t file) {
    return folder->fetchBeginning(files->paths[file]);
  };
  ReadAhead ahead(paths.size(), fetch, context.cancellation());
  const MovedFiles::Watcher watcher{.begins = [&](std::size_t file) { ahead.reached(file); },
                                    .reads =
                                        [&](std::int64_t bytes, std::int64_t size) {
                                          now.fraction =
                                              size == 0 ? 0 : static_cast<double>(bytes) / static_cast<double>(size);
                                          if (bytes > 0 && bytes < size) tell();
                                        },
                                    .ended =
                                        [&](std::size_t filesDone) {
                                          now = {.filesDone = filesDone, .fraction = 0, .counted = *counter};
                                          tell();
                                        },
                                    .counter = counter.get()};
  const MovedFiles::Subject subject{.root = list->root,
                                    .rootIdentity = list->rootIdentity,
                                    .entries = *list->entries,
                                    .missing = list->missing,
                                    .unlisted = paths};
  const auto moved =
      std::make_shared<const MovedFiles>(MovedFiles::search(*folder, subject, watcher, context.cancellation()));
  context.post([moved, takeMoved](AuditFlow& flow) { takeMoved(flow, moved); });
}

}  // namespace tallyfold
