#include "core/base/SystemRandom.h"

#include <cerrno>
#include <sys/random.h>
#include <system_error>

namespace tallyfold {

void fillWithRandom(std::span<std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = getrandom(bytes.data(), bytes.size(), 0);
    if (count < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category());
    if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

}  // namespace tallyfold
