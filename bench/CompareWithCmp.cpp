// How long comparing two large equal files takes, next to cmp on the same files in the same run; and how long counting
// the differences of files that have one, or nothing else, next to the comparison. Look at the ratios.
//
//     compare_with_cmp [MEBIBYTES]        (four files of 1024 MiB when not given)

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "bench/Measure.h"
#include "core/services/FileComparison.h"

namespace {

/// A copy of `from` with what `change(piece, isFirst)` makes of each of its pieces.
template <typename Change>
void copyWith(const std::filesystem::path& from, const std::filesystem::path& to, Change change) {
  std::ifstream source(from, std::ios::binary);
  std::ofstream copy(to, std::ios::binary);
  std::string piece(1 << 20, '\0');
  for (bool isFirst = true; source.read(piece.data(), 1 << 20); isFirst = false) {
    change(piece, isFirst);
    copy.write(piece.data(), 1 << 20);
  }
  if (!copy.flush()) throw std::runtime_error("cannot write " + to.string());
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tallyfold;
  const int mebibytes = argc > 1 ? std::atoi(argv[1]) : 1024;
  constexpr int rounds = 7;
  const test::TemporaryFolder folder;
  const std::filesystem::path a = folder.path() / "a";
  const std::filesystem::path b = folder.path() / "b";
  bench::writeLargeFile(a, mebibytes);
  std::filesystem::copy_file(a, b);
  const auto compareFiles = [&] {
    if (HashService::compareFiles(a, b, {}, [](double) {}) != FileComparisonResult(FileComparison::Identical())) {
      throw std::runtime_error("we did not find the files to be the same");
    }
  };
  // As fast with one difference, at the beginning, as with nothing else.
  const std::filesystem::path almost = folder.path() / "almost a";
  const std::filesystem::path other = folder.path() / "nothing of a";
  copyWith(a, almost,
           [](std::string& piece, bool isFirst) { piece[0] = static_cast<char>(piece[0] ^ (isFirst ? 1 : 0)); });
  copyWith(a, other, [](std::string& piece, bool) {
    for (char& byte : piece) byte = static_cast<char>(~byte);
  });
  const auto count = [&a](const std::filesystem::path& against) {
    const auto mismatch = HashService::compareFilesKeepingVersions(a, against, {}, [](double) {});
    return [&a, against, mismatch] {
      const auto differences =
          HashService::countDifferences(a, against, mismatch.versions, mismatch.difference->offset, {}, [](double) {});
      if (differences.runs != 1) throw std::runtime_error("we did not count one run");
    };
  };
  const auto seconds = bench::medians({{"cmp",
                                        [&] {
                                          bench::run({"cmp", a, b});
                                        }},
                                       {"compareFiles", compareFiles},
                                       {"countDifferences of one", count(almost)},
                                       {"countDifferences of all", count(other)}},
                                      rounds);
  std::printf(
      "two files of %d MiB, median of %d: cmp %.3f s, compareFiles %.3f s, countDifferences %.3f s of one and %.3f s "
      "where all differ\n",
      mebibytes, rounds, seconds[0], seconds[1], seconds[2], seconds[3]);
  bench::printTarget("Compare, two large files: cmp / ours", seconds[0] / seconds[1], "at least", 1.5);
  bench::printTarget("Count All Differences, one: Compare / ours", seconds[1] / seconds[2], "at least", 0.9);
  bench::printTarget("Count All Differences, all bytes: Compare / ours", seconds[1] / seconds[3], "at least", 0.9);
}
