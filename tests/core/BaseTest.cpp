// What stands below the digests: errors and hashes of names.

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
  std::vector<std::string> command{fs::read_symlink("/proc/self/exe"), "--gtest_filter=KeyedHash.IsOfTheProcess"};
  if (*EMULATOR != '\0') command.emplace(command.begin(), EMULATOR);
  const std::string output = outputOf(command);
  unsetenv(isOther);
  EXPECT_THAT(output, HasSubstr("hash "));
  EXPECT_THAT(output, Not(HasSubstr(hash)));
}

}  // namespace

}  // namespace tallyfold::test
