#pragma once

#include <array>
#include <vector>

#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// What each algorithm costs, in nanoseconds per byte.
using AlgorithmCosts = std::array<double, HashAlgorithm::count>;

/// What reading costs where the file is in the page cache, in nanoseconds per byte. Only its proportion to the costs of
/// the algorithms matters, and only roughly.
inline constexpr double kReadingCost = 0.1;

/// Which lane calculates what. The first lane also reads, and may have nothing else to do; no other lane is empty.
struct LanePlan {
  std::vector<HashAlgorithmSet> lanes;
  double time = 0;  ///< Of the slowest lane, in nanoseconds per byte.
};

/// The plan of at most `mostLanes` lanes, at least 1, in which the slowest lane is the fastest.
LanePlan planLanes(HashAlgorithmSet algorithms, const AlgorithmCosts& costs, unsigned mostLanes);

/// The plan for this many processor cores: the fewest lanes that are about as fast as any number.
LanePlan planForCores(HashAlgorithmSet algorithms, const AlgorithmCosts& costs, unsigned cores);

/// What the algorithms cost on this processor. Measured once per process, which takes a few milliseconds; a platform
/// that does not provide an algorithm makes it free. Any thread.
const AlgorithmCosts& measuredCosts();

}  // namespace tallyfold
