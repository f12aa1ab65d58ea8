// The Files mode over many small files, through the model and without a screen: how long adding and a run take, how
// long the interface thread was ever away from its event loop, and how much memory it all needed.
//
//     files_mode_bench [FILES [BYTES]]        (100000 files of 4096 bytes when not given)

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include "app/AppViewModel.h"
#include "app/FileLocation.h"

namespace {

using namespace tallyfold;
namespace fs = std::filesystem;

class NoDesktop : public Desktop {
 public:
  void chooseFiles(std::function<void(const QList<QUrl>&)>) override {}
  void chooseSingleFile(std::function<void(const QUrl&)>) override {}
  void chooseFolder(std::function<void(const QUrl&)>) override {}
  [[nodiscard]] QString pasteboardText() const override { return {}; }
  void chooseDestination(const QString&, std::function<void(const QUrl&)>) override {}
  void setPasteboard(const QByteArray&) override {}
  void revealInFileBrowser(const fs::path&) override {}
};

double peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

// The longest time between two turns of the event loop, which a timer without interval wants to take all the time.
class StallMeter : public QObject {
 public:
  StallMeter() {
    timer_.callOnTimeout([this] { turn(); });
    timer_.start(0);
    sinceTurn_.start();
  }
  void turn() { longest_ = std::max(longest_, sinceTurn_.nsecsElapsed()), sinceTurn_.start(); }
  double takeLongestMilliseconds() {
    turn();
    return static_cast<double>(std::exchange(longest_, 0)) / 1e6;
  }

 private:
  QTimer timer_;
  QElapsedTimer sinceTurn_;
  qint64 longest_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
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
