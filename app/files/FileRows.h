#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "app/files/FileJob.h"
#include "app/files/RowTable.h"

namespace tallyfold {

/// Files in the order of a queue, each location once, and how they are found there.
struct FileRows {
  std::vector<FileJob> jobs;
  RowTable jobIndexByID;
  RowTable jobURLSet;

  /// Room for so many in all; at least twice the room that there was where that is not enough.
  void reserve(std::size_t count) {
    if (count > jobs.capacity()) jobs.reserve(std::max(count, 2 * jobs.capacity()));
    jobIndexByID.reserve(count);
    jobURLSet.reserve(count);
  }

  /// `hash` is that of the location.
  [[nodiscard]] bool hasLocationOf(const FileJob& job, std::size_t hash) const {
    return jobURLSet.find(hash, [&](std::size_t row) { return jobs[row].url->native() == job.url->native(); })
        .has_value();
  }

  void append(FileJob job, std::size_t hash) {
    jobURLSet.append(hash);
    jobIndexByID.append(std::hash<Uuid>()(job.id));
    jobs.push_back(std::move(job));
  }
};

}  // namespace tallyfold
