#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

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

/// Runs a program found on the PATH, without its output, on the cores of the calling thread.
inline void run(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t silence;
  posix_spawn_file_actions_init(&silence);
  posix_spawn_file_actions_addopen(&silence, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  int status = 0;
  const int failure = posix_spawnp(&child, arguments[0], &silence, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&silence);
  if (failure != 0 || waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error(command.front() + " failed");
  }
}

}  // namespace tallyfold::bench
