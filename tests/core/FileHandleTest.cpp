#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include "core/FileHandle.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold {
namespace {

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

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

/// A system that takes three bytes at a time, after one interruption each.
class ReluctantSystem : public SystemCalls {
 public:
  ReluctantSystem() { replace(this); }
  ~ReluctantSystem() override { replace(nullptr); }

  ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
    interrupted = !interrupted;
    if (!interrupted) return SystemCalls::write(descriptor, bytes, std::min(count, std::size_t{3}));
    errno = EINTR;
    return -1;
  }

  int close(int descriptor) override {
    ++closes;
    SystemCalls::close(descriptor);
    errno = closeError;
    return closeError == 0 ? 0 : -1;
  }

  bool interrupted = false;
  int closeError = 0;
  int closes = 0;
};

TEST(FileHandle, WritesEverythingInAsManyCallsAsItTakes) {
  const test::TemporaryFolder folder;
  const std::filesystem::path path = folder.path() / "file";
  ReluctantSystem system;
  FileHandle handle = FileHandle::open(path, O_WRONLY | O_CREAT | O_EXCL, 0600);
  handle.write(bytesOf("0123456789"));
  handle.write({});
  handle.close();
  EXPECT_EQ(test::contentOf(path), "0123456789");
}

TEST(FileHandle, FullDeviceFails) {
  FileHandle handle = FileHandle::open("/dev/full", O_WRONLY);
  EXPECT_EQ(errorOf([&] { handle.write(bytesOf("x")); }), ENOSPC);
}

TEST(FileHandle, CloseReportsItsFailureAndIsNeverRepeated) {
  ReluctantSystem system;
  for (const int error : {0, EIO, EINTR}) {
    system.closeError = error;
    system.closes = 0;
    {
      FileHandle handle = FileHandle::open("/dev/null", O_RDONLY);
      EXPECT_EQ(errorOf([&] { handle.close(); }), error == EINTR ? 0 : error);
      handle.close();
    }
    EXPECT_EQ(system.closes, 1) << "after " << error;
  }
}

TEST(FileHandle, DescriptorsCloseWithTheirOwnersAndAtExec) {
  ReluctantSystem system;
  {
    FileHandle first = FileHandle::open("/dev/null", O_RDONLY);
    FileHandle second = std::move(first);
    FileHandle third = FileHandle::open("/dev/zero", O_RDONLY);
    third = std::move(second);
    std::array<std::byte, 1> byte{};
    EXPECT_EQ(third.read(byte), 0U);  // It is /dev/null now, which is always at its end.
  }
  EXPECT_EQ(system.closes, 2);

  struct : SystemCalls {
    int open(const char* path, int flags, mode_t mode) override {
      lastFlags = flags;
      return SystemCalls::open(path, flags, mode);
    }
    int lastFlags = 0;
  } recorder;
  SystemCalls::replace(&recorder);
  FileHandle::open("/dev/null", O_RDONLY).close();
  SystemCalls::replace(nullptr);
  EXPECT_NE(recorder.lastFlags & O_CLOEXEC, 0);
}

TEST(FileHandle, SyncDoesNotReportThatThereIsNoDisk) {
  const test::TemporaryFolder folder;
  EXPECT_EQ(errorOf([&] { FileHandle::open(folder.file("file", "x"), O_WRONLY).sync(); }), 0);
  EXPECT_EQ(errorOf([] { FileHandle::open("/dev/null", O_WRONLY).sync(); }), 0);
}

TEST(FileHandle, RenameReplacesOrFailsWithTheSystemsError) {
  const test::TemporaryFolder folder;
  const std::filesystem::path source = folder.file("new", "new");
  const std::filesystem::path destination = folder.file("old", "old");
  renameFile(source, destination);
  EXPECT_EQ(test::contentOf(destination), "new");
  EXPECT_EQ(errorOf([&] { renameFile(source, destination); }), ENOENT);
  EXPECT_EQ(errorOf([&] { renameFile(destination, folder.path() / std::string("a\0b", 3)); }), EINVAL);
  EXPECT_EQ(test::contentOf(destination), "new");
}

}  // namespace
}  // namespace tallyfold
