// How long comparing two large equal files takes, next to cmp on the same files in the same run. Look at the ratio.
//
//     compare_with_cmp [MEBIBYTES]        (two files of 1024 MiB when not given)

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "core/FileComparison.h"

namespace {

using namespace tallyfold;
namespace fs = std::filesystem;

/// A new, empty folder that goes away with everything in it.
class Folder {
 public:
  Folder() {
    std::string pattern = (fs::temp_directory_path() / "tallyfold-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot create a folder");
    path_ = pattern;
  }
  ~Folder() { fs::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

void writeRandomFile(const fs::path& path, int mebibytes) {
  std::mt19937_64 engine(1);
  std::vector<std::uint64_t> words((1 << 20) / sizeof(std::uint64_t));
  std::ofstream stream(path, std::ios::binary);
  for (int i = 0; i < mebibytes; ++i) {
    std::ranges::generate(words, engine);
    stream.write(reinterpret_cast<const char*>(words.data()), 1 << 20);
  }
  if (!stream.flush()) throw std::runtime_error("cannot write " + path.string());
}

void compareByCmp(const fs::path& a, const fs::path& b) {
  std::string program = "cmp";
  std::string first = a;
  std::string second = b;
  const std::vector<char*> arguments{program.data(), first.data(), second.data(), nullptr};
  pid_t child = 0;
  int status = 0;
  if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
      waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error("cmp did not find the files to be the same");
  }
}

void compareByUs(const fs::path& a, const fs::path& b) {
  if (HashService::compareFiles(a, b, {}, [](double) {}) != FileComparisonResult(FileComparison::Identical())) {
    throw std::runtime_error("we did not find the files to be the same");
  }
}

template <typename Work>
double secondsOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int mebibytes = argc > 1 ? std::atoi(argv[1]) : 1024;
  const Folder folder;
  const fs::path a = folder.path() / "a";
  const fs::path b = folder.path() / "b";
  writeRandomFile(a, mebibytes);
  fs::copy_file(a, b);
  compareByCmp(a, b);  // The files are in the page cache from here on.

  std::vector<double> cmp;
  std::vector<double> ours;
  for (int round = 0; round < 7; ++round) {
    cmp.push_back(secondsOf([&] { compareByCmp(a, b); }));
    ours.push_back(secondsOf([&] { compareByUs(a, b); }));
  }
  std::printf("two files of %d MiB, median of %zu: cmp %.3f s, compareFiles %.3f s; cmp / compareFiles = %.2f\n",
              mebibytes, cmp.size(), median(cmp), median(ours), median(cmp) / median(ours));
}
