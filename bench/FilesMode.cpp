// The Files mode over many small files, through the model and without a screen: how long adding and a run take, how
// long the interface thread was ever away from its event loop, and how much memory it all needed.
//
//     files_mode_bench [FILES [BYTES]]        (100000 files of 4096 bytes when not given)

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <QCoreApplication>
#include <QElapsedTimer>

#include "app/AppViewModel.h"
#include "app/FileLocation.h"
#include "bench/ModelBench.h"

int main(int argc, char** argv) {
  using namespace tallyfold;
  namespace fs = std::filesystem;
  QCoreApplication application(argc, argv);
  const int count = argc > 1 ? std::atoi(argv[1]) : 100'000;
  const auto size = static_cast<std::size_t>(argc > 2 ? std::atoi(argv[2]) : 4096);
  std::string pattern = (fs::temp_directory_path() / "tallyfold-bench-XXXXXX").string();
  const fs::path folder = mkdtemp(pattern.data());
  QList<QUrl> urls;
  for (int i = 0; i < count; ++i) {
    const fs::path file = folder / ("a file with a name of usual length " + std::to_string(i) + ".bin");
    std::ofstream(file, std::ios::binary) << std::string(size, static_cast<char>(i));
    urls.append(fileUrl(file));
  }
  const double before = peakMegabytes();

  NoDesktop desktop;
  QElapsedTimer clock;
  for (const HashAlgorithmSet algorithms : {HashAlgorithm::recommended, HashAlgorithmSet::all()}) {
    AppViewModel model(desktop);
    model.setSelectedAlgorithms(algorithms);
    StallMeter meter;
    clock.start();
    model.addFiles(urls);
    std::printf("%zu algorithms: added %d files in %lld ms; ", algorithms.size(), model.jobs()->count(),
                clock.elapsed());
    for (int run = 0; run < 2; ++run) {
      QCoreApplication::processEvents();
      meter.takeLongestMilliseconds();
      clock.start();
      model.startProcessing();
      while (model.isProcessing()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
      std::printf("run of %.2f s, longest stall %.1f ms; ", static_cast<double>(clock.elapsed()) / 1e3,
                  meter.takeLongestMilliseconds());
    }
    clock.start();
    model.clearFiles();
    std::printf("cleared in %lld ms; peak memory %.0f MB (%.0f MB before)\n", clock.elapsed(), peakMegabytes(), before);
  }
  fs::remove_all(folder);
}
