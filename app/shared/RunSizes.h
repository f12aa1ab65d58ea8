#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "app/shared/RunMeter.h"

namespace tallyfold {

/// Tells the `runStatus()` of the flow that `task`, the context of a FlowTask, works for the sizes of the run's files:
/// in the order of the run, `sizeOf(file)` for each of `files`. A task of its own, that the run does not wait for it:
/// the file system may take its time.
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
