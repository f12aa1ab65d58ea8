// How long it takes to load long checksum lists, next to wc, which only counts their lines; and to verify many small
// files, next to sha256sum -c; and to find them, next to find. Look at the ratios.
//
//     checksum_lists_bench [FILES]        (100,000 files of 4 KiB when not given)

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "bench/Measure.h"
#include "checksums/lists/ListReading.h"
#include "checksums/paths/FolderFiles.h"
#include "checksums/verification/ManifestVerification.h"

namespace {

using namespace tallyfold;
namespace fs = std::filesystem;

constexpr int rounds = 7;

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

void loadEntries(const fs::path& folder, int count) {
  const fs::path list = folder / "SHA256SUMS";
  std::ofstream stream(list);
  std::mt19937_64 engine(1);
  for (int i = 0; i < count; ++i) {
    for (int digit = 0; digit < 64; ++digit) stream << "0123456789abcdef"[engine() % 16];
    stream << "  a folder/a file with a name of usual length " << i << ".bin\n";
  }
  require(stream.flush().good(), "cannot write the list");
  const auto load = [&] {
    require(std::ssize(ChecksumManifestService::readList(list, {}, {}).result.entries) == count,
            "we did not find all entries");
  };
  const auto seconds = bench::medians({{"wc", [&] { bench::run({"wc", "--lines", list}); }}, {"load", load}}, rounds);
  std::printf("list of %d entries: load %.1f ms (wc %.1f ms)\n", count, seconds[1] * 1e3, seconds[0] * 1e3);
}

void streamComments(const fs::path& folder) {
  const fs::path list = folder / "comments.txt";
  const std::string line = "# " + std::string(509, '-') + "\n";
  std::string block;
  for (int i = 0; i < 2048; ++i) block += line;
  std::ofstream stream(list);
  for (int mebibyte = 0; mebibyte < 256; ++mebibyte) stream << block;
  require(stream.flush().good(), "cannot write the comments");
  const auto load = [&] {
    require(ChecksumManifestService::readList(list, {}, {}).result.ignoredLineCount == 524'288,
            "we did not find all comments");
  };
  const auto seconds = bench::medians({{"wc", [&] { bench::run({"wc", "--lines", list}); }}, {"load", load}}, rounds);
  std::printf("256 MiB of comments: load %.0f ms, %.0f MB/s (wc %.0f ms); load / wc = %.2f\n", seconds[1] * 1e3,
              268.435456 / seconds[1], seconds[0] * 1e3, seconds[1] / seconds[0]);
}

void verifyFiles(const fs::path& root, int count) {
  bench::writeSmallFiles(root, count, 4096);
  const fs::path list = root.native() + ".sha256";
  bench::writeList(root, list);
  const auto verify = [&] {
    const auto entries = ChecksumManifestService::readList(list, {}, {}).result.entries;
    const PreparedManifestVerification prepared{.groups = ChecksumManifestService::groupEntries(entries, {}),
                                                .rootIdentity = ChecksumManifestService::captureRootIdentity(root, {})};
    ManifestVerification verification(root, prepared.rootIdentity);
    int matches = 0;
    for (const ManifestFileGroup& group : prepared.groups) {
      const auto outcome = verification.verify(group, {});
      const auto* const digests = std::get_if<DigestMap>(&outcome);
      for (const ChecksumManifestEntry& entry : group.entries) {
        if (digests != nullptr && digests->find(entry.algorithm) == entry.expectedHash) ++matches;
      }
    }
    require(matches == count, "we did not find all files to match");
  };
  const auto seconds =
      bench::medians({{"sha256sum", [&] { bench::checkList(root, list); }}, {"verify", verify}}, rounds);
  std::printf("%d files of 4 KiB: load and verify %.2f s, sha256sum -c %.2f s; verify / sha256sum = %.2f\n", count,
              seconds[1], seconds[0], seconds[1] / seconds[0]);
}

/// The walk that makes lists and finds what they leave out.
void walkFolder(const fs::path& root, int count) {
  const auto walk = [&] {
    const FolderFiles files(ChecksumManifestService::captureRootIdentity(root, {}));
    std::vector<std::string> found;
    files.walk({}, [&](std::string path) { return found.push_back(std::move(path)), true; });
    require(std::ssize(found) == count, "we did not find all files");
  };
  const auto find = [&] { bench::run({"sh", "-c", R"(find "$0" -type f -printf '%P\n' > /dev/null)", root}); };
  const auto seconds = bench::medians({{"find", find}, {"walk", walk}}, rounds);
  std::printf("%d files: walk %.1f ms, find %.1f ms\n", count, seconds[1] * 1e3, seconds[0] * 1e3);
  bench::printTarget("walking " + std::to_string(count) + " files / find -type f -printf", seconds[1] / seconds[0],
                     "at most", 1.5);
}

}  // namespace

int main(int argc, char** argv) {
  const int files = argc > 1 ? std::atoi(argv[1]) : 100'000;
  const test::TemporaryFolder folder;
  loadEntries(folder.path(), 100'000);
  streamComments(folder.path());
  const fs::path root = folder.path() / "root";
  fs::create_directory(root);
  verifyFiles(root, files);
  walkFolder(root, files);
}
