#pragma once

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include "core/files/SystemCalls.h"

namespace tallyfold {

// What every use of the system's file calls is made of. For the sources that make them, not for their callers.

[[noreturn]] inline void throwSystemError(int number) { throw std::system_error(number, std::system_category()); }

/// Bytes of a file that are fetched ahead of its reading, which announces itself what comes behind them.
inline constexpr off_t kBeginning = 512 << 10;

/// The result of `call`, repeated for as long as signals interrupt it.
template <typename Call>
auto checked(Call call) {
  while (true) {
    errno = 0;
    const auto result = call(SystemCalls::current());
    if (result >= 0) return result;
    if (errno == EINTR) continue;
    throwSystemError(errno == 0 ? EINVAL : errno);
  }
}

/// The path as the system takes it. A NUL would end it early and name another file.
inline const char* systemPath(const std::string& path) {
  if (path.find('\0') != std::string::npos) throwSystemError(EINVAL);
  return path.c_str();
}
inline const char* systemPath(const std::filesystem::path& path) { return systemPath(path.native()); }

}  // namespace tallyfold
