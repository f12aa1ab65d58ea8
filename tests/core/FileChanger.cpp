// The other process of the tests: changes files on request. Standard input is a socket of whole messages, "VERB PATH";
// the answer to each is "done", sent when the change is complete, or what went wrong.

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

void require(bool success, const char* what) {
  if (!success) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

std::string contentOf(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeTo(const fs::path& path, std::ios::openmode mode, const std::string& content) {
  std::ofstream stream(path, mode | std::ios::binary);
  stream << content << std::flush;
  require(stream.good(), "write");
}

/// Every byte another one.
std::string inverted(std::string content) {
  for (char& byte : content) byte = static_cast<char>(~byte);
  return content;
}

void rewriteKeepingSizeAndTimes(const fs::path& path) {
  struct stat before {};
  require(stat(path.c_str(), &before) == 0, "stat");
  writeTo(path, std::ios::in | std::ios::out, inverted(contentOf(path)));
  const std::array<timespec, 2> times{before.st_atim, before.st_mtim};
  require(utimensat(AT_FDCWD, path.c_str(), times.data(), 0) == 0, "utimensat");
}

void change(const std::string& verb, const fs::path& path) {
  fs::path fresh = path;
  fresh += ".new";
  if (verb == "append") {
    writeTo(path, std::ios::app, "more");
  } else if (verb == "truncate") {
    fs::resize_file(path, fs::file_size(path) / 2);
  } else if (verb == "rewrite") {
    rewriteKeepingSizeAndTimes(path);
  } else if (verb == "replace") {
    writeTo(fresh, std::ios::out, inverted(contentOf(path)));
    fs::rename(fresh, path);
  } else if (verb == "link") {
    fs::path target = path;
    target += ".target";
    writeTo(target, std::ios::out, inverted(contentOf(path)));
    fs::create_symlink(target, fresh);
    fs::rename(fresh, path);
  } else if (verb == "remove") {
    fs::remove(path);
  } else if (verb == "pipe") {
    require(mkfifo(fresh.c_str(), 0600) == 0, "mkfifo");
    fs::rename(fresh, path);
  } else {
    throw std::runtime_error("unknown verb " + verb);
  }
}

}  // namespace

int main() {
  std::array<char, 8192> message{};
  while (true) {
    const ssize_t length = recv(STDIN_FILENO, message.data(), message.size(), 0);
    if (length <= 0) return length == 0 ? 0 : 1;
    const std::string request(message.data(), static_cast<std::size_t>(length));
    const std::size_t space = request.find(' ');
    std::string answer = "done";
    try {
      change(request.substr(0, space), request.substr(space + 1));
    } catch (const std::exception& error) {
      answer = error.what();
    }
    if (send(STDIN_FILENO, answer.data(), answer.size(), MSG_NOSIGNAL) < 0) return 1;
  }
}
