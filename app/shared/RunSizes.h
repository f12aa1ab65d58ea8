#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "app/shared/RunMeter.h"

namespace tallyfold {

/// Tells a flow's `runStatus()` the sizes of its run's files: `sizeOf(file)` for each of `files`, in the order of the
/// run. `task` is the context of a FlowTask of its own: the run does not wait for a file system that takes its time.
template <typename Context, typename Files, typename SizeOf>
void tellSizes(const Context& task, const Files& files, SizeOf sizeOf) {
  constexpr std::size_t atATime = 1'000;
  std::vector<RunMeter::Size> sizes;
  for (const auto& file : files) {
    if (task.cancellation().stop_requested()) return;
    sizes.push_back(sizeOf(file));
    if (sizes.size() < atATime && &file != &files.back()) continue;
    task.post([sizes = std::exchange(sizes, {})](auto& flow) { flow.runStatus()->addSizes(sizes); });
  }
}

}  // namespace tallyfold
