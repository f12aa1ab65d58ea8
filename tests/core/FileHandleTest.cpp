#include <chrono>
#include <ctime>
#include <limits>

#include "core/files/FileHandle.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

/// The error number that `action` fails with, 0 when it does not fail.
template <typename Action>
int errorOf(Action action) {
  try {
    action();
  } catch (const std::system_error& error) {
    return error.code().value();
  }
  return 0;
}

class FailingClose : public WatchedSystemCalls {
 public:
  int close(int descriptor) override {
    WatchedSystemCalls::close(descriptor);
    errno = error;
    return error == 0 ? 0 : -1;
  }

  int error = 0;
};

TEST(FileHandle, CloseReportsItsFailureAndIsNeverRepeated) {
  FailingClose system;
  for (const int error : {0, EIO, EINTR}) {
    system.error = error;
    {
      FileHandle handle = FileHandle::open("/dev/null", O_RDONLY);
      EXPECT_EQ(errorOf([&] { handle.close(); }), error == EINTR ? 0 : error);
      handle.close();
    }
    EXPECT_EQ(system.stillOpen, 0) << "after " << error;
  }
}

TEST(FileHandle, DescriptorsCloseWithTheirOwners) {
  const WatchedSystemCalls system;
  {
    FileHandle first = FileHandle::open("/dev/null", O_RDONLY);
    FileHandle second = std::move(first);
    FileHandle third = FileHandle::open("/dev/zero", O_RDONLY);
    third = std::move(second);
    std::array<std::byte, 1> byte{};
    EXPECT_EQ(third.read(byte), 0U);  // It is /dev/null now, which is always at its end.
  }
  EXPECT_EQ(system.stillOpen, 0);
}

TEST(FileHandle, TimesFromTheFutureAreNotWaitedFor) {
  constexpr int files = 500;
  const auto begin = std::chrono::steady_clock::now();
  for (const std::int64_t ahead : {std::int64_t{3600}, std::numeric_limits<std::int64_t>::max() / 2}) {
    FileSnapshot snapshot;
    snapshot.changedSeconds = std::time(nullptr) + ahead;
    for (int i = 0; i < files; ++i) waitUntilChangesShow(snapshot, {});
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)) << "or a queue would take minutes";
}

}  // namespace

}  // namespace tallyfold::test
