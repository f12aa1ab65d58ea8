#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
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

#include "tests/support/TemporaryFolder.h"

namespace tallyfold::bench {

template <typename Work>
double secondsOf(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

/// A line of the table that bench/with-peers prints: a measured figure next to the one that it is to reach.
inline void printTarget(const std::string& what, double figure, const char* relation, double bound) {
  const bool isReached = relation == std::string("at least") ? figure >= bound : figure <= bound;
  std::printf("=> %s | %.2f | %s %g | %s\n", what.c_str(), figure, relation, bound, isReached ? "yes" : "NO");
}

struct Entrant {
  std::string name;
  std::function<void()> work;
};

/// The median time of each in seconds. They take turns, so that what else the machine does meets all of them.
inline std::vector<double> medians(const std::vector<Entrant>& entrants, int rounds) {
  std::vector<std::vector<double>> times(entrants.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < entrants.size(); ++i) times[i].push_back(secondsOf(entrants[i].work));
  }
  std::vector<double> result;
  result.reserve(times.size());
  for (const std::vector<double>& values : times) result.push_back(median(values));
  return result;
}

/// A file of so many random bytes, which is in the page cache from then on.
inline void writeLargeFile(const std::filesystem::path& path, int mebibytes) {
  std::mt19937_64 engine(1);
  std::vector<std::uint64_t> words((1 << 20) / sizeof(std::uint64_t));
  std::ofstream stream(path, std::ios::binary);
  for (int i = 0; i < mebibytes; ++i) {
    std::ranges::generate(words, engine);
    stream.write(reinterpret_cast<const char*>(words.data()), 1 << 20);
  }
  if (!stream.flush()) throw std::runtime_error("cannot write " + path.string());
}

/// Random files in folders of a thousand. Returns them.
inline std::vector<std::filesystem::path> writeSmallFiles(const std::filesystem::path& root, int count,
                                                          std::size_t size) {
  std::mt19937_64 engine(1);
  std::string content(size, '\0');
  std::vector<std::filesystem::path> files;
  for (int i = 0; i < count; ++i) {
    const std::filesystem::path folder = root / ("folder " + std::to_string(i / 1000));
    if (i % 1000 == 0) std::filesystem::create_directory(folder);
    for (char& byte : content) byte = static_cast<char>(engine());
    files.push_back(folder / ("a file with a name of usual length " + std::to_string(i) + ".bin"));
    std::ofstream(files.back(), std::ios::binary) << content;
  }
  return files;
}

/// Starts a program found on the PATH, without its output, on the cores of the calling thread.
inline pid_t start(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t silence;
  posix_spawn_file_actions_init(&silence);
  posix_spawn_file_actions_addopen(&silence, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int failure = posix_spawnp(&child, arguments[0], &silence, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&silence);
  if (failure != 0) throw std::runtime_error("cannot start " + command.front());
  return child;
}

/// Runs a program to its end. Returns its wait status.
inline int statusOf(const std::vector<std::string>& command) {
  int status = 0;
  if (waitpid(start(command), &status, 0) < 0) throw std::runtime_error("cannot wait for " + command.front());
  return status;
}

/// Runs a program that must succeed.
inline void run(const std::vector<std::string>& command) {
  if (statusOf(command) != 0) throw std::runtime_error(command.front() + " failed");
}

/// Has sha256sum write a list of all files below `root`.
inline void writeList(const std::filesystem::path& root, const std::filesystem::path& list) {
  run({"env", "--chdir=" + root.string(), "sh", "-c",
       R"(find . -type f -print0 | sort --zero-terminated | xargs --null sha256sum > "$0")", list});
}

/// Has sha256sum verify that list.
inline void checkList(const std::filesystem::path& root, const std::filesystem::path& list) {
  run({"env", "--chdir=" + root.string(), "sha256sum", "--check", "--quiet", list});
}

}  // namespace tallyfold::bench
