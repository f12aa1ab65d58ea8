// What stands below the digests: errors, hashes of names, descriptors.

#include <ctime>
#include <numeric>

#include "core/base/KeyedHash.h"
#include "tests/core/CoreTest.h"

namespace tallyfold::test {

namespace {

TEST(Errors, OfTheSystemAreToldInItsWords) {
  const std::error_code denied(EACCES, std::generic_category());
  const std::vector<std::pair<std::exception_ptr, std::string>> errors{
      {std::make_exception_ptr(std::system_error(denied, "reading")), "Permission denied"},
      {std::make_exception_ptr(fs::filesystem_error("canonical", "/a", denied)), "Permission denied"},
      {std::make_exception_ptr(std::bad_alloc()), "Cannot allocate memory"},
      {std::make_exception_ptr(std::runtime_error("A sentence.")), "A sentence."},
  };
  for (const auto& [error, sentence] : errors) EXPECT_EQ(errorDescription(error), sentence);
}

TEST(SipHash, IsThatOfThePaper) {
  std::string bytes(15, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  // Its Appendix A.
  EXPECT_EQ(sipHash({0x0706'0504'0302'0100, 0x0F0E'0D0C'0B0A'0908}, bytesOf(bytes)), 0xA129'CA61'49BE'45E5);
}

TEST(KeyedHash, NamesThatMeetInTheLibraryDoNot) {
  const std::vector<std::string> names = collidingNames("", 12);
  std::set<std::size_t> library;
  std::set<std::size_t> keyed;
  for (const std::string& name : names) {
    library.insert(std::hash<std::string>()(name));
    keyed.insert(KeyedHash()(name));
  }
  EXPECT_EQ(library.size(), 1U);
  EXPECT_EQ(keyed.size(), 4096U);
}

TEST(KeyedHash, IsOfTheProcess) {
  constexpr auto isOther = "TALLYFOLD_TEST_IS_OTHER_PROCESS";
  const std::string hash = "hash " + std::to_string(KeyedHash()("name"));
  if (std::getenv(isOther) != nullptr) {
    std::cout << hash << '\n';
    return;
  }
  setenv(isOther, "", 1);
  const auto self = fs::read_symlink("/proc/self/exe").native();
  const std::string output = outputOf({self, "--gtest_filter=KeyedHash.IsOfTheProcess"});
  unsetenv(isOther);
  EXPECT_THAT(output, HasSubstr("hash "));
  EXPECT_THAT(output, Not(HasSubstr(hash)));
}

TEST(FileHandle, CloseReportsItsFailureAndIsNeverRepeated) {
  struct : WatchedSystemCalls {
    int close(int descriptor) override {
      WatchedSystemCalls::close(descriptor);
      errno = error;
      return error == 0 ? 0 : -1;
    }
    int error = 0;
  } system;
  for (const auto& [error, outcome] :
       {std::pair(0, ""s), std::pair(EIO, "error: Input/output error"s), std::pair(EINTR, ""s)}) {
    system.error = error;
    {
      FileHandle handle = FileHandle::open("/dev/null", O_RDONLY);
      EXPECT_EQ(attempted([&] { handle.close(); }), outcome);
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
