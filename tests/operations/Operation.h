#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include "core/base/Errors.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {

inline constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

/// What happens to one call, or to all from it on.
struct Fault {
  const char* name;
  int error = 0;
  std::size_t longest = kAll;  ///< Bytes that a read or a write is given.
  bool isForGood = false;

  [[nodiscard]] bool isOfTransfers() const { return longest != kAll; }
  [[nodiscard]] bool isHarmless() const { return error == EINTR || (error == 0 && longest > 0); }
};

inline void PrintTo(const Fault& fault, std::ostream* stream) { *stream << fault.name; }

/// The calls of an operation until now. Closing and announcing are among them.
class System : public WatchedSystemCalls {
 public:
  int close(int descriptor) override {
    const int result = WatchedSystemCalls::close(descriptor);
    return isRefused("close") ? -1 : result;
  }
  int willNeed(int descriptor, off_t offset, off_t count) override {
    return isRefused("willNeed") ? errno : SystemCalls::willNeed(descriptor, offset, count);
  }

  int openat2(int folder, const char* path, int flags, std::uint64_t resolve) override {
    if (!isOld) return WatchedSystemCalls::openat2(folder, path, flags, resolve);
    if (!isRefused("openat2")) errno = ENOSYS;
    return -1;
  }
  bool isOld = false;  ///< Without openat2.

  [[nodiscard]] std::string_view name(std::size_t call) const { return names[call - 1]; }

  /// Which of the calls of its name a call is, from 1.
  [[nodiscard]] std::ptrdiff_t ordinal(std::size_t call) const {
    return std::count(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(call), name(call));
  }
};

/// What came of an operation, a line for each of its parts that may fail by itself.
using Lines = std::vector<std::string>;

/// One undertaking of the program, with files of its own. It can be repeated.
class Operation {
 public:
  virtual ~Operation() = default;

  virtual Lines run() = 0;

  /// What the user must be told when this call of `system`, and nothing else, has met with an error that has this
  /// sentence; nothing when it does not matter. A transfer of no bytes is an error that has none.
  [[nodiscard]] virtual std::string told(const System& /*system*/, std::size_t /*call*/,
                                         const std::string& /*sentence*/) const {
    return "";
  }

  /// Whether the outcome is what it must be when this call, one of those of an undisturbed run, has met with `fault`.
  virtual void check(const Lines& outcome, const Lines& undisturbed, const System& system, std::size_t call,
                     const Fault& fault) const {
    std::string expected = told(system, call, sentenceOf(fault));
    while (fault.isForGood && expected.empty() && call < system.names.size()) {
      expected = told(system, ++call, sentenceOf(fault));
    }
    EXPECT_EQ(outcome, expected.empty() ? undisturbed : Lines{expected});
  }

  /// After a run with this fault of a call of this name.
  virtual void checkFiles(const Lines& /*outcome*/, const Fault& /*fault*/, std::string_view /*name*/) {}

 protected:
  static std::string sentenceOf(const Fault& fault) {
    return fault.error == 0 ? "" : std::string("error: ") + std::strerror(fault.error);
  }

  static Lines outcomeOf(const std::function<Lines()>& action) {
    try {
      return action();
    } catch (...) {
      return {"error: " + errorDescription(std::current_exception())};
    }
  }

  TemporaryFolder folder_;
};

}  // namespace tallyfold::test
