#include "tests/support/Process.h"

#include <array>
#include <csignal>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace tallyfold::test {

OtherProgram::OtherProgram(const std::vector<std::string>& command) : name_(command.at(0)) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) throw std::runtime_error("pipe failed");
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  posix_spawn_file_actions_addclose(&actions, ends[1]);
  const int failure = posix_spawnp(&process_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (failure != 0) {
    close(ends[0]);
    throw std::runtime_error("cannot start " + name_);
  }
  pipe_ = ends[0];
}

OtherProgram::~OtherProgram() {
  close(pipe_);
  if (process_ == 0) return;
  kill(process_, SIGKILL);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

bool OtherProgram::readSome() {
  std::array<char, 65536> buffer{};
  ssize_t count = -1;
  do {
    count = ::read(pipe_, buffer.data(), buffer.size());
  } while (count < 0 && errno == EINTR);
  if (count > 0) output_.append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0;
}

std::string OtherProgram::finish() {
  while (readSome()) {
  }
  int status = 0;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = 0;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error(name_ + " failed");
  return std::exchange(output_, {});
}

bool OtherProgram::hasSaid(const std::string& line) {
  pollfd ready{pipe_, POLLIN, 0};
  while (poll(&ready, 1, 0) > 0 && readSome()) {
  }
  return ('\n' + output_).find('\n' + line + '\n') != std::string::npos;
}

std::string outputOf(const std::vector<std::string>& command) { return OtherProgram(command).finish(); }

}  // namespace tallyfold::test
