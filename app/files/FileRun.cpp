#include "app/files/FileRun.h"

#include <chrono>
#include <thread>
#include <utility>

#include "app/tasks/ReadAhead.h"
#include "core/base/Errors.h"
#include "core/files/Paths.h"

namespace tallyfold {

namespace {

using Reports = GatheredNews<std::vector<FileRun::Report>>;

constexpr std::size_t mostReports = 20'000;

// What has piled up is applied in one turn of the interface thread, which must not become long.
void waitForRoom(Reports& reports, const std::stop_token& cancellation) {
  const auto isFull = [](const auto& waiting) { return waiting.size() >= mostReports; };
  while (!cancellation.stop_requested() && reports.holds(isFull)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace

void FileRun::work(const Context& context, const Taker& take) const {
  const auto reports = std::make_shared<Reports>();
  const auto report = [&](Report news) {
    const auto add = [&](std::vector<Report>& waiting) {
      const bool isOutdated = !waiting.empty() && waiting.back().index == news.index &&
                              std::holds_alternative<FileJob::Hashing>(waiting.back().news);
      if (isOutdated) waiting.pop_back();
      waiting.push_back(std::move(news));
    };
    context.gather(reports, add, take);
  };

  const auto fetch = [run = shared_from_this()](std::size_t index) { return fetchBeginning(*run->items[index].url); };
  ReadAhead ahead(items.size(), fetch, context.cancellation());
  for (std::size_t index = 0; index < items.size(); ++index) {
    ahead.reached(index);
    waitForRoom(*reports, context.cancellation());
    if (context.cancellation().stop_requested()) return;
    const std::int64_t counted = *counter;
    report({index, FileJob::Hashing{0}, counted});
    const auto progress = [&](double fraction) { report({index, FileJob::Hashing{fraction}, counted}); };
    Report end{index, {}, counted};
    try {
      end.news = std::make_shared<const FileHashResult>(HashService::hashFile(
          *items[index].url, items[index].id, algorithms, context.cancellation(), progress, counter.get()));
    } catch (const CancellationError&) {
      return;
    } catch (...) {
      end.news = FileJob::Failed{errorDescription(std::current_exception())};
    }
    if (context.cancellation().stop_requested()) return;
    end.counted = *counter;
    report(std::move(end));
  }
}

}  // namespace tallyfold
