// How long it takes to load long checksum lists, next to wc, which only counts their lines; and to verify many small
// files, next to sha256sum -c. Look at the ratios.
//
//     checksum_lists_bench [FILES]        (100,000 files of 4 KiB when not given)

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
#include "checksums/ManifestVerification.h"

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

void verifyFiles(const fs::path& root, int count) {
  std::mt19937_64 engine(1);
  std::string content(4096, '\0');
  for (int i = 0; i < count; ++i) {
    const fs::path folder = root / ("folder " + std::to_string(i / 1000));
    if (i % 1000 == 0) fs::create_directory(folder);
    for (char& byte : content) byte = static_cast<char>(engine());
    std::ofstream(folder / ("a file with a name of usual length " + std::to_string(i) + ".bin"), std::ios::binary)
        << content;
  }
  const std::string list = root.native() + ".sha256";
  run({"env", "--chdir=" + root.native(), "sh", "-c",
       R"(find . -type f -print0 | sort --zero-terminated | xargs --null sha256sum > "$0")", list});

  const auto [theirs, ours] = contest(
      [&] {
        run({"env", "--chdir=" + root.native(), "sha256sum", "--check", "--quiet", list});
      },
      [&] {
        const auto entries = ChecksumManifestService::load(list, {}).entries;
        const PreparedManifestVerification prepared{
            .groups = ChecksumManifestService::groupEntries(entries, {}),
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
      });
  std::printf("%d files of 4 KiB: load and verify %.2f s, sha256sum -c %.2f s; verify / sha256sum = %.2f\n", count,
              ours, theirs, ours / theirs);
}

}  // namespace

int main(int argc, char** argv) {
  const int files = argc > 1 ? std::atoi(argv[1]) : 100'000;
  const Folder folder;
  loadEntries(folder.path(), 100'000);
  streamComments(folder.path());
  const fs::path root = folder.path() / "root";
  fs::create_directory(root);
  verifyFiles(root, files);
}
