// How long comparing two large equal files takes, next to cmp on the same files in the same run. Look at the ratio.
//
//     compare_with_cmp [MEBIBYTES]        (two files of 1024 MiB when not given)

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "bench/Measure.h"
#include "core/services/FileComparison.h"

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
  const auto seconds = bench::medians({{"cmp",
                                        [&] {
                                          bench::run({"cmp", a, b});
                                        }},
                                       {"compareFiles", compareFiles}},
                                      rounds);
  std::printf("two files of %d MiB, median of %d: cmp %.3f s, compareFiles %.3f s\n", mebibytes, rounds, seconds[0],
              seconds[1]);
  bench::printTarget("Compare, two large files: cmp / ours", seconds[0] / seconds[1], "at least", 1.5);
}
