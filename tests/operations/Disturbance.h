#pragma once

#include "tests/operations/Operations.h"

/// What can happen to an operation at one of its system calls, and what must come of that.
namespace tallyfold::test {

inline constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

/// What happens to one call, or to all from it on.
struct Fault {
  const char* name;
  int error = 0;
  std::size_t longest = kAll;  ///< Bytes that a read or a write is given.
  bool isForGood = false;
  bool isCancellation = false;  ///< Comes right before the call.

  [[nodiscard]] bool isOfTransfers() const { return longest != kAll; }
  [[nodiscard]] bool isHarmless() const { return error == EINTR || (error == 0 && longest > 0 && !isCancellation); }
  [[nodiscard]] std::string sentence() const { return error == 0 ? "" : "error: "s + std::strerror(error); }
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

/// One undertaking of the program, with files of its own. It can be repeated.
class Operation {
 public:
  virtual ~Operation() = default;

  virtual Lines run(const std::stop_token& cancellation) = 0;

  /// What the user must be told when this call of `system`, and nothing else, has met with an error that has this
  /// sentence; nothing when it does not matter. A transfer of no bytes is an error that has none.
  [[nodiscard]] virtual std::string told(const System& /*system*/, std::size_t /*call*/,
                                         const std::string& /*sentence*/) const {
    return "";
  }

  /// Whether the outcome is what it must be when this call, one of those of an undisturbed run, has met with `fault`.
  virtual void check(const Lines& outcome, const Lines& undisturbed, const System& system, std::size_t call,
                     const Fault& fault) const {
    std::string expected = told(system, call, fault.sentence());
    while (fault.isForGood && expected.empty() && call < system.names.size()) {
      expected = told(system, ++call, fault.sentence());
    }
    EXPECT_EQ(outcome, expected.empty() ? undisturbed : Lines{expected});
  }

  /// Whether a cancellation is seen although all was read.
  [[nodiscard]] virtual bool looksAfterTheLastRead() const { return false; }

  /// How many threads may be reading beside one that is disturbed.
  [[nodiscard]] virtual int otherReaders() const { return 0; }

  /// After a run with this fault of a call of this name.
  virtual void checkFiles(const Lines& /*outcome*/, const Fault& /*fault*/, std::string_view /*name*/) {}

 protected:
  /// Nothing depends on announcing and closing what is only read, nor a path on what it was looked at for again.
  static std::string toldOfReading(const System& system, std::size_t call, const std::string& sentence, int files) {
    const std::string_view name = system.name(call);
    if (name == "close" || name == "willNeed") return "";
    if (name == "pread" && system.ordinal(call) == 1) return "";  // One thread reads where none can at any place.
    const bool isOfAFileInUse = name == "stat" && system.ordinal(call) > files;
    return sentence.empty() || isOfAFileInUse ? kChanged : sentence;
  }

  TemporaryFolder folder_;
};

}  // namespace tallyfold::test
