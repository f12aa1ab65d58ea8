#pragma once

#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tallyfold::test {

/// A program found on the PATH, started without a shell, whose standard output is read. The toolkit's own class for
/// this shares memory with what it starts, which ThreadSanitizer takes for a fork of this very process.
class OtherProgram {
 public:
  /// Throws when it cannot be started.
  explicit OtherProgram(const std::vector<std::string>& command) : name_(command.at(0)) {
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
  OtherProgram(const OtherProgram&) = delete;
  OtherProgram& operator=(const OtherProgram&) = delete;
  /// Kills it, and returns when it is gone.
  ~OtherProgram() {
    close(pipe_);
    if (process_ == 0) return;
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  /// Asks it to end, and returns when it has.
  void end() {
    kill(process_, SIGTERM);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
  }

  /// Waits for its end. Returns all that it printed since the last call. Throws when its exit status is not 0.
  std::string finish() {
    while (readSome()) {
    }
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error(name_ + " failed");
    return std::exchange(output_, {});
  }
  /// Whether it has printed this line until now. Does not wait.
  bool hasSaid(const std::string& line) {
    pollfd ready{pipe_, POLLIN, 0};
    while (poll(&ready, 1, 0) > 0 && readSome()) {
    }
    return ('\n' + output_).find('\n' + line + '\n') != std::string::npos;
  }

 private:
  bool readSome() {
    std::array<char, 65536> buffer{};
    ssize_t count = -1;
    do {
      count = ::read(pipe_, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    if (count > 0) output_.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0;
  }

  std::string name_;
  std::string output_;
  pid_t process_ = 0;
  int pipe_ = -1;
};

/// What such a program prints. Throws when it cannot be started or does not exit with status 0: an oracle that is
/// missing must fail the test.
inline std::string outputOf(const std::vector<std::string>& command) { return OtherProgram(command).finish(); }

}  // namespace tallyfold::test
