// Many small files that are on the disk and not in memory, in the Files and the Manifest mode, through the model and
// without a screen, in turns with sha256sum -c.
//
//     cold_disk_bench [FOLDER [FILES [BYTES [COMMAND]]]]
//
// FOLDER, the system's for temporary files when not given, is on the disk to be measured. There are 100000 files of
// 4096 bytes when not said otherwise. COMMAND makes the system forget what it has read: when not given, that is asked
// of the kernel, for which one must be root.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <QCoreApplication>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "bench/Measure.h"
#include "bench/ModelBench.h"

int main(int argc, char** argv) {
  using namespace tallyfold;
  namespace fs = std::filesystem;
  QCoreApplication application(argc, argv);
  const fs::path parent = argc > 1 ? fs::path(argv[1]) : fs::temp_directory_path();
  const int count = argc > 2 ? std::atoi(argv[2]) : 100'000;
  const auto size = static_cast<std::size_t>(argc > 3 ? std::atoi(argv[3]) : 4096);
  const std::string forget = argc > 4 ? argv[4] : "sync && echo 3 > /proc/sys/vm/drop_caches";
  constexpr int rounds = 3;
  const fs::path root = parent / "cold files";
  const test::TemporaryFolder folder;
  const fs::path list = folder.path() / "SHA256SUMS";
  if (!fs::exists(root)) {
    fs::create_directory(root);
    bench::writeSmallFiles(root, count, size);
  }
  bench::writeList(root, list);
  QList<QUrl> urls;
  for (const auto& item : fs::recursive_directory_iterator(root)) {
    if (item.is_regular_file()) urls.append(fileUrl(item.path()));
  }

  test::FakeDesktop desktop;
  AppViewModel model(desktop);
  model.manifest()->setManifestFile({fileUrl(list)});
  bench::waitWhile([&] { return model.manifest()->isLoadingManifest(); });
  model.manifest()->setManifestRoot({fileUrl(root)});
  model.files()->addFiles(urls);
  model.setSelectedAlgorithms({HashAlgorithm::sha256});
  const auto verify = [&] {
    model.manifest()->verifyManifest();
    bench::waitWhile([&] { return model.manifest()->isManifestVerifying(); });
    if (model.manifest()->manifestMatchedCount() != urls.size()) throw std::runtime_error("not all entries match");
  };
  const auto calculate = [&] {
    model.files()->startProcessing();
    bench::waitWhile([&] { return model.files()->isProcessing(); });
  };
  std::vector<std::vector<double>> seconds(3);
  for (int round = 0; round < rounds; ++round) {
    const std::vector<std::function<void()>> entrants{[&] { bench::checkList(root, list); }, verify, calculate};
    for (std::size_t i = 0; i < entrants.size(); ++i) {
      bench::run({"sh", "-c", forget});
      seconds[i].push_back(bench::secondsOf(entrants[i]));
      std::printf("%s %.2f s\n", i == 0 ? "sha256sum -c" : i == 1 ? "Manifest" : "Files", seconds[i].back());
      std::fflush(stdout);
    }
  }
  const double peer = bench::median(seconds[0]);
  bench::printTarget("small files from a cold disk, Manifest mode: sha256sum -c / ours",
                     peer / bench::median(seconds[1]), "at least", 3);
  bench::printTarget("small files from a cold disk, Files mode, SHA-256: sha256sum -c / ours",
                     peer / bench::median(seconds[2]), "at least", 3);
}
