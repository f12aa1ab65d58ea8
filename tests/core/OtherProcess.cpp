#include "tests/core/OtherProcess.h"

#include <array>
#include <cerrno>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tallyfold::test {

OtherProcess::OtherProcess() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
    throw std::runtime_error("no socket pair");
  socket_ = ends[0];
  const timeval limit{.tv_sec = 30, .tv_usec = 0};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
  std::string program = FILE_CHANGER;
  const std::array<char*, 2> arguments{program.data(), nullptr};
  const int failure = posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (failure == 0) return;
  close(socket_);
  throw std::runtime_error("cannot start " + program);
}

OtherProcess::~OtherProcess() {
  close(socket_);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void OtherProcess::change(const std::string& verb, const std::filesystem::path& path) {
  const std::string request = verb + " " + path.native();
  if (send(socket_, request.data(), request.size(), MSG_NOSIGNAL) < 0)
    throw std::runtime_error("cannot ask for " + verb);
  std::array<char, 1024> answer{};
  const ssize_t length = recv(socket_, answer.data(), answer.size(), 0);
  if (length <= 0) throw std::runtime_error("no answer to " + verb);
  const std::string text(answer.data(), static_cast<std::size_t>(length));
  if (text != "done") throw std::runtime_error(verb + ": " + text);
}

}  // namespace tallyfold::test
