// The Manifest mode over many small files, through the model and without a screen, next to sha256sum -c on the same
// list in the same run: how long loading and verifying take, how long the interface thread was ever away from its event
// loop, and how much memory it all needed. Look at the ratio.
//
//     manifest_mode_bench [FILES [BYTES]]        (100000 files of 4096 bytes when not given)

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include "app/AppViewModel.h"
#include "app/FileLocation.h"
#include "bench/ModelBench.h"

namespace {

using namespace tallyfold;
namespace fs = std::filesystem;

constexpr int rounds = 5;

void writeFiles(const fs::path& root, int count, std::size_t size) {
  std::mt19937_64 engine(1);
  std::string content(size, '\0');
  for (int i = 0; i < count; ++i) {
    const fs::path folder = root / ("folder " + std::to_string(i / 1000));
    if (i % 1000 == 0) fs::create_directory(folder);
    for (char& byte : content) byte = static_cast<char>(engine());
    std::ofstream(folder / ("a file with a name of usual length " + std::to_string(i) + ".bin"), std::ios::binary)
        << content;
  }
}

// A shell in `folder`, whose output nobody reads. Returns seconds.
double run(const fs::path& folder, const QString& command) {
  QProcess process;
  process.setWorkingDirectory(textOf(folder));
  process.setStandardOutputFile(QProcess::nullDevice());
  QElapsedTimer clock;
  clock.start();
  process.start(QStringLiteral("sh"), {QStringLiteral("-c"), command});
  if (!process.waitForFinished(-1) || process.exitCode() != 0) throw std::runtime_error(command.toStdString());
  return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

// Handles events as long as `isBusy`. Returns seconds.
template <typename Condition>
double secondsWhile(Condition isBusy) {
  QElapsedTimer clock;
  clock.start();
  while (isBusy()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const int count = argc > 1 ? std::atoi(argv[1]) : 100'000;
  const auto size = static_cast<std::size_t>(argc > 2 ? std::atoi(argv[2]) : 4096);
  std::string pattern = (fs::temp_directory_path() / "tallyfold-bench-XXXXXX").string();
  const fs::path folder = mkdtemp(pattern.data());
  const fs::path root = folder / "root";
  fs::create_directory(root);
  writeFiles(root, count, size);
  run(root, QStringLiteral("find . -type f -print0 | sort -z | xargs -0 sha256sum > ../SHA256SUMS"));
  run(root, QStringLiteral("sha256sum --check --quiet ../SHA256SUMS"));  // All is in the page cache from here on.
  const double before = peakMegabytes();

  NoDesktop desktop;
  AppViewModel model(desktop);
  std::vector<double> theirs;
  std::vector<double> ours;
  std::vector<double> loads;
  const auto load = [&] {
    model.clearManifest();
    model.setManifestFile({fileUrl(folder / "SHA256SUMS")});
    return secondsWhile([&] { return model.isLoadingManifest(); });
  };
  const auto verify = [&] {
    model.setManifestRoot({fileUrl(root)});
    model.verifyManifest();
    const double seconds = secondsWhile([&] { return model.isManifestVerifying(); });
    if (model.manifestMatchedCount() != count) throw std::runtime_error("not all entries match");
    return seconds;
  };
  for (int round = 0; round < rounds; ++round) {
    loads.push_back(load());
    theirs.push_back(run(root, QStringLiteral("sha256sum --check --quiet ../SHA256SUMS")));
    ours.push_back(verify());
  }
  std::printf("list of %d entries: load %.0f ms\n", count, median(loads) * 1e3);
  std::printf("files of %zu bytes, median of %d: sha256sum -c %.2f s, verifyManifest %.2f s; ", size, rounds,
              median(theirs), median(ours));
  std::printf("verifyManifest / sha256sum = %.2f\n", median(ours) / median(theirs));

  // By itself: the meter keeps a processor busy.
  StallMeter meter;
  load();
  const double loadStall = meter.takeLongestMilliseconds();
  verify();
  const double verifyStall = meter.takeLongestMilliseconds();
  QElapsedTimer clock;
  clock.start();
  model.copyManifestRows();
  std::printf("longest stall: load %.1f ms, verifyManifest %.1f ms; all rows copied in %lld ms; ", loadStall,
              verifyStall, clock.elapsed());
  std::printf("peak memory %.0f MB (%.0f MB before)\n", peakMegabytes(), before);
  fs::remove_all(folder);
}
