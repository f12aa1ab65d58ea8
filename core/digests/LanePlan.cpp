#include "core/digests/LanePlan.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <iterator>
#include <limits>

#include "core/digests/HashPipeline.h"

namespace tallyfold {

namespace {

/// What a lane takes at least whose bytes another lane has read: they come from another core's cache. Nanoseconds per
/// byte, roughly.
constexpr double kPassingCost = 0.35;

/// Tries every assignment that may still be better than the best so far.
class Search {
 public:
  Search(HashAlgorithmSet algorithms, const AlgorithmCosts& costs, unsigned mostLanes)
      : costs_(costs), algorithms_(algorithms.begin(), algorithms.end()), lanes_(mostLanes), times_(mostLanes) {
    // The dearest first, so that a bad assignment shows early.
    std::ranges::stable_sort(algorithms_, std::greater(), [&](HashAlgorithm a) { return costs[a]; });
    times_.front() = kReadingCost;
    best_.time = std::numeric_limits<double>::infinity();
    assignFrom(0);
  }

  [[nodiscard]] const LanePlan& best() const { return best_; }

 private:
  void assignFrom(std::size_t index) {
    if (index == algorithms_.size()) return keep();
    const HashAlgorithm algorithm = algorithms_[index];
    for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
      const double before = times_[lane];
      const bool isUnused = lane > 0 && lanes_[lane].empty();
      if (before + costs_[algorithm] < best_.time) {
        times_[lane] += costs_[algorithm];
        lanes_[lane].insert(algorithm);
        assignFrom(index + 1);
        lanes_[lane].erase(algorithm);
        times_[lane] = before;
      }
      if (isUnused) return;  // All other unused lanes are the same.
    }
  }

  void keep() {
    best_.time = std::ranges::max(times_);
    best_.lanes.assign(1, lanes_.front());
    std::ranges::copy_if(lanes_.begin() + 1, lanes_.end(), std::back_inserter(best_.lanes),
                         [](HashAlgorithmSet lane) { return !lane.empty(); });
  }

  const AlgorithmCosts& costs_;
  std::vector<HashAlgorithm> algorithms_;
  std::vector<HashAlgorithmSet> lanes_;
  std::vector<double> times_;
  LanePlan best_;
};

double measuredCost(HashAlgorithm algorithm) try {
  constexpr int rounds = 3;
  const std::vector<std::byte> bytes(std::size_t{64} << 10);
  HashPipeline pipeline({algorithm});
  double best = std::numeric_limits<double>::infinity();
  for (int round = 0; round < rounds; ++round) {
    const auto start = std::chrono::steady_clock::now();
    pipeline.update(bytes);
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
    best = std::min(best, time.count() / static_cast<double>(bytes.size()));
  }
  return best;
} catch (const std::exception&) {
  return 0;  // Whoever wants its digest hears why there is none.
}

}  // namespace

LanePlan planLanes(HashAlgorithmSet algorithms, const AlgorithmCosts& costs, unsigned mostLanes) {
  return Search(algorithms, costs, std::max(mostLanes, 1U)).best();
}

LanePlan planForCores(HashAlgorithmSet algorithms, const AlgorithmCosts& costs, unsigned cores) {
  constexpr double aboutAsFast = 1.05;
  const unsigned most = std::clamp(cores, 1U, static_cast<unsigned>(algorithms.size()) + 1);
  const double fastest = std::max(planLanes(algorithms, costs, most).time, kPassingCost);
  unsigned lanes = 1;
  LanePlan plan = planLanes(algorithms, costs, lanes);
  while (plan.time > aboutAsFast * fastest) plan = planLanes(algorithms, costs, ++lanes);
  return plan;
}

const AlgorithmCosts& measuredCosts() {
  static const AlgorithmCosts costs = [] {
    AlgorithmCosts measured{};
    for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) measured[algorithm] = measuredCost(algorithm);
    return measured;
  }();
  return costs;
}

}  // namespace tallyfold
