// The Manifest mode over many small files, through the model and without a screen, next to sha256sum -c on the same
// list in the same run: how long loading and verifying take, how long the interface thread was ever away from its event
// loop, and how much memory it all needed.
//
//     manifest_mode_bench [FILES [BYTES]]        (100000 files of 4096 bytes when not given)

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <QCoreApplication>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "bench/Measure.h"
#include "bench/ModelBench.h"

int main(int argc, char** argv) {
  using namespace tallyfold;
  namespace fs = std::filesystem;
  QCoreApplication application(argc, argv);
  const int count = argc > 1 ? std::atoi(argv[1]) : 100'000;
  const auto size = static_cast<std::size_t>(argc > 2 ? std::atoi(argv[2]) : 4096);
  constexpr int rounds = 5;
  const test::TemporaryFolder folder;
  const fs::path root = folder.path() / "root";
  const fs::path list = folder.path() / "SHA256SUMS";
  fs::create_directory(root);
  bench::writeSmallFiles(root, count, size);
  bench::writeList(root, list);
  const double before = bench::peakMegabytes();

  test::FakeDesktop desktop;
  AppViewModel model(desktop);
  const auto load = [&] {
    model.manifest()->clearManifest();
    model.manifest()->setManifestFile({fileUrl(list)});
    bench::waitWhile([&] { return model.manifest()->isLoadingManifest(); });
    model.manifest()->setManifestRoot({fileUrl(root)});
  };
  const auto verify = [&] {
    model.manifest()->verifyManifest();
    bench::waitWhile([&] { return model.manifest()->isManifestVerifying(); });
    if (model.manifest()->manifestMatchedCount() != count) throw std::runtime_error("not all entries match");
  };
  load();
  verify();  // All is in the page cache from here on.
  const auto seconds = bench::medians(
      {{"load", load}, {"sha256sum", [&] { bench::checkList(root, list); }}, {"verify", verify}}, rounds);
  std::printf("list of %d files of %zu bytes: load %.0f ms, verify %.2f s, sha256sum -c %.2f s\n", count, size,
              seconds[0] * 1e3, seconds[2], seconds[1]);
  bench::printTarget("many small files, Manifest mode: sha256sum -c / ours", seconds[1] / seconds[2], "at least", 1);

  // By itself: the meter keeps a processor busy.
  bench::StallMeter meter;
  load();
  const double loadStall = meter.takeLongestMilliseconds();
  verify();
  const double verifyStall = meter.takeLongestMilliseconds();
  const double copying = bench::secondsOf([&] {
    model.manifest()->copyManifestShown();
    bench::waitWhile([&] { return !desktop.pasteboard; });
  });
  std::printf(
      "longest stall: load %.1f ms, verify %.1f ms; all rows copied in %.0f ms; peak memory %.0f MB (%.0f MB before)\n",
      loadStall, verifyStall, copying * 1e3, bench::peakMegabytes(), before);
}
