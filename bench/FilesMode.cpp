// The Files mode over many small files, through the model and without a screen, next to sha256sum over the same files
// in the same run: how long adding, hashing and saving reports take, how long the interface thread was ever away from
// its event loop, and how much memory it all needed.
//
//     files_mode_bench [FILES [BYTES]]        (100000 files of 4096 bytes when not given)

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
  const int count = argc > 1 ? std::atoi(argv[1]) : 100'000;
  const auto size = static_cast<std::size_t>(argc > 2 ? std::atoi(argv[2]) : 4096);
  constexpr int rounds = 5;
  const test::TemporaryFolder folder;
  const fs::path root = folder.path() / "root";
  fs::create_directory(root);
  QList<QUrl> urls;
  {
    std::ofstream names(folder.path() / "names");
    for (const fs::path& file : bench::writeSmallFiles(root, count, size)) {
      urls.append(fileUrl(file));
      names << file.native() << '\0';
    }
  }
  const double before = bench::peakMegabytes();

  test::FakeDesktop desktop;
  AppViewModel model(desktop);
  const double adding = bench::secondsOf([&] { model.files()->addFiles(urls); });
  const auto calculate = [&] {
    model.files()->startProcessing();
    bench::waitWhile([&] { return model.files()->isProcessing(); });
    if (model.files()->results().size() != static_cast<std::size_t>(count))
      throw std::runtime_error("not all were hashed");
  };
  const auto sha256sum = [&] {
    bench::run({"xargs", "--null", "--arg-file=" + (folder.path() / "names").string(), "sha256sum"});
  };
  model.setSelectedAlgorithms(HashAlgorithm::recommended);
  calculate();  // All is in the page cache from here on.
  const auto seconds = bench::medians({{"sha256sum", sha256sum}, {"calculate", calculate}}, rounds);
  std::printf("%d files of %zu bytes: added in %.0f ms; BLAKE3 and SHA-256 of all %.2f s, sha256sum %.2f s\n", count,
              size, adding * 1e3, seconds[1], seconds[0]);
  bench::printTarget("many small files, Files mode, BLAKE3 and SHA-256: sha256sum / ours", seconds[0] / seconds[1],
                     "at least", 1);

  // By itself: the meter keeps a processor busy.
  model.setSelectedAlgorithms(HashAlgorithmSet::all());
  {
    bench::StallMeter meter;
    calculate();
    std::printf("all eight: longest stall %.1f ms; ", meter.takeLongestMilliseconds());
  }
  std::printf("peak memory %.0f MB (%.0f MB before)\n", bench::peakMegabytes(), before);

  for (const ManifestService::Format format : ManifestService::allFormats()) {
    const std::string extension(ManifestService::fileExtension(format));
    const auto save = [&] { ManifestService::write(model.files()->results(), format, folder.path() / "report", {}); };
    bench::printTarget("report of all results, eight digests, " + extension + ": seconds",
                       bench::medians({{extension, save}}, rounds).front(), "at most", 0.5);
  }
  std::printf("cleared in %.0f ms\n", bench::secondsOf([&] { model.files()->clearFiles(); }) * 1e3);
}
