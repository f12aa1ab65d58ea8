#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/tasks/BackgroundTask.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/paths/ManifestPaths.h"
#include "core/services/HashService.h"
#include "export/lists/ChecksumList.h"

namespace tallyfold {

class ListCreationFlow;

/// The making of one list: what it is of, and how its files are found and hashed on the run's thread.
struct ListCreationRun {
  /// A file that is not in the list.
  struct Failure {
    std::string path;
    std::string sentence;
  };
  /// What a walk found, before any file is read.
  struct Found {
    ManifestRootIdentity root;
    std::vector<std::string> paths;  ///< In byte order.
    FolderWalk walk;
  };
  /// What was found out since the last time.
  struct Report {
    std::vector<Failure> failures;
    std::size_t filesDone = 0;  ///< Since the start.
    double fraction = 0;        ///< Of the file under way, 0 to 1.
    std::int64_t counted = 0;   ///< By `counter`, when that file began, or the next where it ended.
  };
  using Files = std::shared_ptr<const std::vector<ChecksumList::File>>;
  using Context = FlowTask<ListCreationFlow>::Context;
  using FoundTaker = std::function<void(ListCreationFlow&, std::shared_ptr<const Found>)>;
  using ReportTaker = std::function<void(ListCreationFlow&, Report)>;
  using FilesTaker = std::function<void(ListCreationFlow&, Files)>;

  std::filesystem::path root;
  HashAlgorithmSet algorithms;
  ChecksumList::Form form;
  std::shared_ptr<ReadCounter> counter = std::make_shared<ReadCounter>(0);

  /// Calls the takers in this order, `takeReport` often. Fails with ListRefusal, as `captureRootIdentity`, or with
  /// CancellationError.
  void work(const Context& context, const FoundTaker& takeFound, const ReportTaker& takeReport,
            const FilesTaker& takeFiles) const;

  /// Fails with ListRefusal, whose sentence is `refusal`, unless `root` is still the folder `expected`, whatever is in
  /// it by now.
  static void checkRoot(const std::filesystem::path& root, const ManifestRootIdentity& expected, const char* refusal,
                        const std::stop_token& cancellation);

 private:
  [[nodiscard]] Found find(const FolderFiles& files, ManifestRootIdentity identity,
                           const std::stop_token& cancellation) const;
};

}  // namespace tallyfold
