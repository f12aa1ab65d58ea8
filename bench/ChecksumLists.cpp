// How long it takes to load long checksum lists, next to wc, which only counts their lines. Look at the ratios.
//
//     checksum_lists_bench

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "checksums/ChecksumReading.h"

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

/// Runs another program, whose output nobody reads.
void run(std::vector<std::string> command) {
  std::vector<char*> arguments;
  for (std::string& word : command) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  int status = 0;
  const bool isStarted = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!isStarted || waitpid(child, &status, 0) != child || status != 0)
    throw std::runtime_error(command[0] + " failed");
}

double medianSeconds(std::vector<double> seconds) {
  std::ranges::sort(seconds);
  return seconds[seconds.size() / 2];
}

struct Contest {
  double theirs = 0;
  double ours = 0;
};

/// Medians of turns taken by the two.
Contest contest(const std::function<void()>& theirWork, const std::function<void()>& ourWork) {
  const auto secondsOf = [](const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  theirWork();  // What is read is in the page cache from here on.
  ourWork();
  std::vector<double> theirs;
  std::vector<double> ours;
  for (int round = 0; round < 7; ++round) {
    theirs.push_back(secondsOf(theirWork));
    ours.push_back(secondsOf(ourWork));
  }
  return {medianSeconds(theirs), medianSeconds(ours)};
}

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
  const auto [wc, load] = contest(
      [&] {
        run({"wc", "--lines", list});
      },
      [&] {
        const auto result = ChecksumManifestService::load(list, {});
        require(std::ssize(result.entries) == count, "we did not find all entries");
      });
  std::printf("list of %d entries: load %.1f ms (wc %.1f ms)\n", count, load * 1e3, wc * 1e3);
}

void streamComments(const fs::path& folder) {
  const fs::path list = folder / "comments.txt";
  const std::string line = "# " + std::string(509, '-') + "\n";
  std::string block;
  for (int i = 0; i < 2048; ++i) block += line;
  std::ofstream stream(list);
  for (int mebibyte = 0; mebibyte < 256; ++mebibyte) stream << block;
  require(stream.flush().good(), "cannot write the comments");
  const auto [wc, load] = contest(
      [&] {
        run({"wc", "--lines", list});
      },
      [&] {
        const auto result = ChecksumManifestService::load(list, {});
        require(result.ignoredLineCount == 524'288, "we did not find all comments");
      });
  std::printf("256 MiB of comments: load %.0f ms, %.0f MB/s (wc %.0f ms); load / wc = %.2f\n", load * 1e3,
              268.435456 / load, wc * 1e3, load / wc);
}

}  // namespace

int main() {
  const Folder folder;
  loadEntries(folder.path(), 100'000);
  streamComments(folder.path());
}
