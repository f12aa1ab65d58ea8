// What a file and a byte cost as files become larger and more: BLAKE3 and SHA-256, all in the page cache.
//
//     growth_bench [MEBIBYTES [FILES]]        (to 4096 and 100000 when not given)

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <QCoreApplication>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "bench/Measure.h"
#include "bench/ModelBench.h"
#include "core/services/HashService.h"

namespace {

using namespace tallyfold;
namespace fs = std::filesystem;

constexpr int kRounds = 5;

// The shortest of some rounds of so many calls each that a round is no matter of microseconds.
template <typename Work>
double secondsOfOne(const Work& work) {
  const double first = bench::secondsOf(work);
  const int calls = std::max(1, static_cast<int>(0.02 / first));
  double least = first;
  for (int round = 0; round < kRounds; ++round) {
    const double seconds = bench::secondsOf([&] {
      for (int i = 0; i < calls; ++i) work();
    });
    least = std::min(least, seconds / calls);
  }
  return least;
}

void sweepSizes(std::uintmax_t most) {
  const test::TemporaryFolder folder;
  const fs::path file = folder.path() / "file";
  bench::writeLargeFile(file, static_cast<int>(most >> 20));
  std::printf("| size of one file | microseconds | nanoseconds per byte |\n|---|---|---|\n");
  // From the largest down, because a file is cut off and not written anew.
  for (std::uintmax_t size = most; size >= 1024; size /= 4) {
    fs::resize_file(file, size);
    const double seconds =
        secondsOfOne([&] { HashService::hashFile(file, Uuid(), HashAlgorithm::recommended, {}, [](double) {}); });
    std::printf("| %ju | %.1f | %.3f |\n", size, seconds * 1e6, seconds * 1e9 / static_cast<double>(size));
  }
}

void sweepCounts(int most) {
  std::printf(
      "| files of 4 KiB | adding: microseconds a file | hashing: microseconds a file | peak MB |\n|---|---|---|---|\n");
  for (int count = 1; count <= most; count *= 10) {
    const test::TemporaryFolder folder;
    QList<QUrl> urls;
    for (const fs::path& file : bench::writeSmallFiles(folder.path(), count, 4096)) urls.append(fileUrl(file));
    test::FakeDesktop desktop;
    AppViewModel model(desktop);
    const double adding = bench::secondsOf([&] { model.files()->addFiles(urls); });
    model.setSelectedAlgorithms(HashAlgorithm::recommended);
    const double hashing = secondsOfOne([&] {
      model.files()->startProcessing();
      bench::waitWhile([&] { return model.files()->isProcessing(); });
    });
    std::printf("| %d | %.2f | %.2f | %.0f |\n", count, adding * 1e6 / count, hashing * 1e6 / count,
                bench::peakMegabytes());
  }
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  sweepSizes(std::uintmax_t(argc > 1 ? std::atoi(argv[1]) : 4096) << 20);
  sweepCounts(argc > 2 ? std::atoi(argv[2]) : 100'000);
}
