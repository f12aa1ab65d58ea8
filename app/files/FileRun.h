#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <variant>
#include <vector>

#include "app/files/FileJob.h"
#include "app/tasks/BackgroundTask.h"
#include "core/digests/HashAlgorithm.h"
#include "core/services/HashService.h"

namespace tallyfold {

class FilesFlow;

/// One run over the queue: a snapshot of it, and how its files are hashed on the run's thread.
struct FileRun : std::enable_shared_from_this<FileRun> {
  struct Item {
    Uuid id;
    std::shared_ptr<const std::filesystem::path> url;
  };
  struct Report {
    std::size_t index;  ///< Of the item.
    std::variant<FileJob::Hashing, std::shared_ptr<const FileHashResult>, FileJob::Failed> news;
    std::int64_t counted;  ///< By `counter`, when the file under way began: this one, or the next where it ended.
  };
  using Context = FlowTask<FilesFlow>::Context;
  using Taker = std::function<void(FilesFlow&, std::vector<Report>)>;

  std::vector<Item> items;
  HashAlgorithmSet algorithms;
  std::shared_ptr<ReadCounter> counter = std::make_shared<ReadCounter>(0);

  /// What it reports comes to `take` in the order of the items. The progress of a file replaces its earlier progress.
  void work(const Context& context, const Taker& take) const;
};

}  // namespace tallyfold
