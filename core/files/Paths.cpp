#include "core/files/Paths.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

#include "core/files/CheckedCall.h"

namespace tallyfold {

namespace {

struct stat statusOf(const std::filesystem::path& path, int (SystemCalls::*look)(const char*, struct stat*)) {
  const char* const name = systemPath(path);
  struct stat status {};
  checked([&](SystemCalls& system) { return (system.*look)(name, &status); });
  return status;
}

Sight sightOf(const std::filesystem::path& path, int (SystemCalls::*look)(const char*, struct stat*)) noexcept try {
  const struct stat status = statusOf(path, look);
  if (S_ISREG(status.st_mode)) return {false, status.st_size, status.st_size};
  return {S_ISDIR(status.st_mode), std::nullopt, 0};
} catch (const std::system_error& error) {
  const int number = error.code().value();
  return {false, std::nullopt, number == ENOENT || number == ENOTDIR ? std::optional<std::int64_t>(0) : std::nullopt};
}

}  // namespace

FileSnapshot snapshotOfPath(const std::filesystem::path& path) {
  return FileSnapshot::from(statusOf(path, &SystemCalls::stat));
}

FileSnapshot snapshotOfFolder(const std::filesystem::path& path) {
  const struct stat status = statusOf(path, &SystemCalls::stat);
  if (!S_ISDIR(status.st_mode)) throwSystemError(ENOTDIR);
  return FileSnapshot::from(status);
}

Sight lookAt(const std::filesystem::path& path) noexcept { return sightOf(path, &SystemCalls::look); }

Sight lookAtWithoutLinks(const std::filesystem::path& path) noexcept {
  return sightOf(path, &SystemCalls::lookWithoutLinks);
}

bool fetchBeginning(const std::filesystem::path& path) noexcept {
  const std::string& name = path.native();
  return name.find('\0') == name.npos && SystemCalls::current().fetch(AT_FDCWD, name.c_str(), 0, kBeginning) == 1;
}

FileSnapshot snapshotOfItem(const std::filesystem::path& path) {
  return FileSnapshot::from(statusOf(path, &SystemCalls::lstat));
}

std::optional<std::string> targetOfLink(const std::string& path) {
  const char* const name = systemPath(path);
  std::array<char, PATH_MAX> target{};
  const ssize_t length = checked([&](SystemCalls& system) -> ssize_t {
    const ssize_t result = system.readlink(name, target.data(), target.size());
    return result < 0 && errno == EINVAL ? 0 : result;  // Not a link. No link has an empty target.
  });
  return length > 0 ? std::optional(std::string(target.data(), static_cast<std::size_t>(length))) : std::nullopt;
}

}  // namespace tallyfold
