#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <limits>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <utility>
#include <vector>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestVerification.h"
#include "core/Errors.h"
#include "core/Processor.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/export/Reports.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {
namespace {

namespace fs = std::filesystem;
using namespace ChecksumManifestService;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::IsEmpty;

const std::string kListChanged =
    "error: The checksum file changed while it was being read. Load it again after the file is stable.";
const std::string kInvalidRoot = "error: The selected manifest root is not an accessible directory.";
const std::string kRootChanged =
    "error: The manifest root folder changed while verification was running. Run verification again on a stable folder "
    "tree.";
const std::string kPathChanged =
    "error: A manifest path changed while it was being verified. Run verification again on a stable folder tree.";
const std::string kMissing = "error: No such file or directory";
const std::string kNotWritten = "error: The report could not be written.";

constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

/// What happens to one call, or to all from it on.
struct Fault {
  const char* name;
  int error = 0;
  std::size_t longest = kAll;  ///< Bytes that a read or a write is given.
  bool isForGood = false;

  [[nodiscard]] bool isOfTransfers() const { return longest != kAll; }
  [[nodiscard]] bool isHarmless() const { return error == EINTR || (error == 0 && longest > 0); }
};

void PrintTo(const Fault& fault, std::ostream* stream) { *stream << fault.name; }

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

/// Nothing depends on announcing and closing what is only read, nor a path on what it was looked at for again.
std::string toldOfReading(const System& system, std::size_t call, const std::string& sentence, int files) {
  const std::string_view name = system.name(call);
  if (name == "close" || name == "willNeed") return "";
  const bool isOfAFileInUse = name == "stat" && system.ordinal(call) > files;
  return sentence.empty() || isOfAFileInUse ? kChanged : sentence;
}

class Hash : public Operation {
 public:
  Hash(std::size_t size, unsigned cores) : file_(folder_.file("file", randomBytes(size, 1))) { pretendCores(cores); }
  ~Hash() override { pretendCores(0); }

  Lines run() override {
    double done = 0;
    Lines lines = outcomeOf([&] {
      const auto result = HashService::hashFile(file_, Uuid(), algorithms_, {}, [&](double now) { done = now; });
      Lines digests;
      for (const HashAlgorithm algorithm : result.hashes.algorithms()) {
        digests.emplace_back(*result.hashes.find(algorithm));
      }
      return digests;
    });
    EXPECT_EQ(done == 1, lines.size() == algorithms_.size()) << done;
    return lines;
  }

  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    return toldOfReading(system, call, sentence, 1);
  }

 private:
  const HashAlgorithmSet algorithms_{HashAlgorithm::sha256, HashAlgorithm::blake3, HashAlgorithm::crc32};
  fs::path file_;
};

class Comparison : public Operation {
 public:
  explicit Comparison(std::string_view end) { folder_.file("b", randomBytes(300'000, 1).append(end)); }

  Lines run() override { return {outcomeOfComparison(a_, folder_.path() / "b")}; }

  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    return toldOfReading(system, call, sentence, 2);
  }

 private:
  fs::path a_ = folder_.file("a", randomBytes(300'000, 1) + "=");
};

/// Of several reads, in UTF-8 or, without a mark, in UTF-16.
class ListLoad : public Operation {
 public:
  explicit ListLoad(bool isWide) {
    std::string text;
    for (int i = 0; text.size() < 1'500'000; ++i) {
      const std::string line = std::string(32, 'a') + "  " + std::string(250, 'x') + std::to_string(i) + "\n";
      for (const char character : line) {
        if (isWide) text += '\0';
        text += character;
      }
    }
    list_ = folder_.file("list", text);
  }

  Lines run() override {
    return outcomeOf([&] {
      const ParseResult result = load(list_, {});
      Lines lines{std::to_string(result.ignoredLineCount + result.unsupportedLineCount) + " other lines"};
      for (const ChecksumManifestEntry& entry : result.entries) lines.push_back(entry.relativePath);
      return lines;
    });
  }

  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    const bool isLastLook = system.name(call).ends_with("stat") && system.ordinal(call) > 1;
    return system.name(call) == "close" ? "" : sentence.empty() || isLastLook ? kListChanged : sentence;
  }

 private:
  fs::path list_;
};

/// Of files that are reached in every way: as they are, through links, as another system writes them, and again.
class Verification : public Operation {
 public:
  Verification() {
    fs::create_directories(folder_.path() / "root/dir");
    fs::create_symlink("root", root_);
    folder_.file("root/dir/plain", randomBytes(300'000, 1));
    folder_.file("root/dir/other", randomBytes(1000, 2));
    folder_.file("root/dir/of windows", randomBytes(1000, 3));
    fs::create_hard_link(root_ / "dir/plain", root_ / "again");
    fs::create_symlink("dir", root_ / "link");
  }

  Lines run() override {
    return outcomeOf([&] {
      ManifestVerification verification(root_, captureRootIdentity(root_, {}));
      Lines lines;
      for (const char* const path : {"dir/plain", "link/other", "dir\\of windows", "again"}) {
        const ManifestFileGroup group{path, {{Uuid(), 1, path, HashAlgorithm::sha256, ""}}};
        const ManifestGroupOutcome outcome = verification.verify(group, {});
        const auto* const sentence = std::get_if<std::string>(&outcome);
        lines.push_back(sentence != nullptr ? "error: " + *sentence
                                            : std::string(*std::get<DigestMap>(outcome).find(HashAlgorithm::sha256)));
      }
      return lines;
    });
  }

  void check(const Lines& outcome, const Lines& undisturbed, const System& system, std::size_t call,
             const Fault& fault) const override {
    const std::string_view name = system.name(call);
    const bool isOpening = name.starts_with("open");
    const auto lookAtRoot = std::ranges::find(system.names, "stat") - system.names.begin() + 1;
    if (std::cmp_less_equal(call, lookAtRoot)) {
      // A part of the root's path that is closed to us is taken for none that leads elsewhere.
      if (fault.error == EACCES && (name == "readlink" || isOpening)) {
        EXPECT_THAT(outcome, AnyOf(undisturbed, Each(kRootChanged)));
      } else if (name == "close" && !fault.isForGood) {
        EXPECT_EQ(outcome, undisturbed);
      } else {
        EXPECT_EQ(outcome, Lines{kInvalidRoot});
      }
      return;
    }
    ASSERT_EQ(outcome.size(), undisturbed.size());
    Lines parts;
    for (std::size_t i = 0; i < outcome.size(); ++i) {
      if (outcome[i] != undisturbed[i]) parts.push_back(outcome[i]);
    }
    const std::string sentence = fault.error == 0 ? kChanged : sentenceOf(fault);
    const auto also = [&, is = fault.isForGood](bool isOfSuchCalls, const std::string& told) {
      return is || isOfSuchCalls ? told : sentence;
    };
    EXPECT_THAT(parts, Each(AnyOf(sentence, also(name == "stat" || name == "readlink" || isOpening, kRootChanged),
                                  also(name == "fstatat" || name == "readlink", kPathChanged),
                                  also(name == "lstat", kMissing))));
    EXPECT_LE(parts.size(), fault.isForGood ? outcome.size() : 1);
    if (name == "read") {
      EXPECT_THAT(parts, Contains(sentence));
    } else if (name == "close" && !fault.isForGood) {
      EXPECT_THAT(parts, IsEmpty());
    }
  }

 private:
  fs::path root_ = folder_.path() / "link to root";
};

/// Over an old, private report, beside what a killed export has left, in a folder that has new files be readable for
/// another user. With a list of its own, that user may read the old report as well.
class Export : public Operation {
 public:
  explicit Export(bool hasList) : hasList_(hasList) { grant(folder_.path(), "system.posix_acl_default"); }

  Lines run() override {
    fs::create_directory(abandoned_);
    chmod(abandoned_.c_str(), S_IRWXU);
    folder_.file(std::string(kAbandoned) + "/00000000-1111-4222-8333-444444444444", "part of a report");
    fs::remove(report_);
    folder_.file("report", "old");
    removexattr(report_.c_str(), kList);
    chmod(report_.c_str(), S_IRUSR | S_IWUSR);
    if (hasList_) grant(report_, kList);
    return outcomeOf([&]() -> Lines {
      ManifestService::write(results_, ManifestService::Format::json, report_, {});
      return {contentOf(report_)};
    });
  }

  /// Nothing depends on what was left, on locks, on closing what is only read, nor on rights that can be left away.
  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    const std::string_view name = system.name(call);
    const auto ordinal = system.ordinal(call);
    const auto isAny = [&](auto... ordinals) { return ((ordinal == ordinals) || ...); };
    if (name == "unlinkat" || name == "flock" || name == "getdents" || name == "fsetxattr") return "";
    if (name == "fstatat" && isAny(2, 3, 4)) return "";
    if (name == "fstat" && ordinal == 1) return "";
    if (name == "close" && ordinal != 4) return "";
    if (name == "openat" && (isAny(1, 2) || (ordinal == 5 && sentence.ends_with(std::strerror(EACCES))))) return "";
    if (name == "openat" && ordinal == 4) return kNotWritten;
    return sentence.empty() ? "error: Input/output error" : sentence;
  }

  void checkFiles(const Lines& outcome, const Fault& fault, std::string_view name) override {
    EXPECT_EQ(contentOf(report_), outcome.front().starts_with("error: ") ? "old" : outcome.front());
    std::array<char, sizeof kGrant> list{};
    const bool isGranted = getxattr(report_.c_str(), kList, list.data(), list.size()) > 0;
    EXPECT_TRUE(fault.isHarmless() ? isGranted == hasList_ : hasList_ || !isGranted);
    EXPECT_EQ(fs::status(report_).permissions(), static_cast<fs::perms>(isGranted ? 0640 : 0600));
    fs::remove(report_);
    for (const fs::path& left : fs::directory_iterator(folder_.path())) {
      const bool mayStay = fault.isForGood || (!fault.isHarmless() && (left == abandoned_ || name == "unlinkat"));
      EXPECT_TRUE(mayStay) << left << " was left";
      fs::remove_all(left);
    }
  }

 private:
  static constexpr const char* kAbandoned = ".tallyfold-00000000-1111-4222-8333-444444444444";
  static constexpr const char* kList = "system.posix_acl_access";
  /// acl(5): version 2, and the tag, the rights and the number of the owner, a user, the group, the mask and others.
  static constexpr std::array<std::uint16_t, 22> kGrant{
      2, 0, 1, 6, 0xFFFF, 0xFFFF, 2, 4, 12'345, 0, 4, 0, 0xFFFF, 0xFFFF, 16, 4, 0xFFFF, 0xFFFF, 32, 0, 0xFFFF, 0xFFFF};

  static void grant(const fs::path& path, const char* list) {
    ASSERT_EQ(setxattr(path.c_str(), list, kGrant.data(), sizeof kGrant, 0), 0);
  }

  const bool hasList_;
  const FileHashResults results_ = manyResults(450);  // More than one write.
  const fs::path report_ = folder_.path() / "report";
  const fs::path abandoned_ = folder_.path() / kAbandoned;
};

struct Undertaking {
  const char* name;
  std::function<std::unique_ptr<Operation>()> make;
  bool isOnAnOldSystem = false;
};

void PrintTo(const Undertaking& undertaking, std::ostream* stream) { *stream << undertaking.name; }

std::multiset<fs::path> openDescriptors() {
  std::multiset<fs::path> files;
  for (const fs::path& descriptor : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;  // The one of this list is gone by then.
    files.insert(fs::read_symlink(descriptor, ignored));
  }
  return files;
}

class FaultOfEveryCall : public testing::TestWithParam<std::tuple<Undertaking, Fault>> {};

TEST_P(FaultOfEveryCall, IsToldAndLeavesNothingBehind) {
  const Undertaking& undertaking = std::get<0>(GetParam());
  const Fault& fault = std::get<1>(GetParam());
  const std::unique_ptr<Operation> operation = undertaking.make();
  System system;
  system.isOld = undertaking.isOnAnOldSystem;
  const Lines undisturbed = operation->run();
  ASSERT_FALSE(undisturbed.front().starts_with("error: ")) << undisturbed.front();
  const std::vector<std::string_view> calls = system.names;
  const auto descriptors = openDescriptors();

  std::size_t runs = 0;
  for (std::size_t call = 1; call <= calls.size(); ++call) {
    const std::string_view name = calls[call - 1];
    if (fault.isOfTransfers() && name != "read" && name != "write") continue;
    SCOPED_TRACE(std::string(name) + ", call " + std::to_string(call) + " of " + std::to_string(calls.size()));
    system.names.clear();
    system.before = [&, number = call](std::string_view, std::size_t now) {
      const bool isHit = fault.isForGood ? now >= number : now == number;
      system.longestRead = system.longestWrite = isHit ? fault.longest : kAll;
      return isHit ? fault.error : 0;
    };
    const Lines outcome = operation->run();
    ++runs;
    ASSERT_GE(system.names.size(), call);
    if (outcome.size() == 1 && outcome.front().starts_with("error: ") && !fault.isForGood) {
      const std::span after = std::span(system.names).subspan(call);
      EXPECT_THAT(after, Each(AnyOf("close", "unlinkat"))) << "it went on after the error";
    }
    system.before = [](auto...) { return 0; };
    system.names = calls;
    if (fault.isHarmless()) {
      EXPECT_EQ(outcome, undisturbed);
    } else {
      operation->check(outcome, undisturbed, system, call, fault);
    }
    operation->checkFiles(outcome, fault, name);
    EXPECT_EQ(openDescriptors(), descriptors);
    system.longestRead = system.longestWrite = kAll;
    EXPECT_EQ(operation->run(), undisturbed) << "afterwards";
  }
  EXPECT_GT(runs, 0U);
  std::cout << undertaking.name << ", " << fault.name << ": " << calls.size() << " calls, " << runs << " runs\n";
}

INSTANTIATE_TEST_SUITE_P(
    Of, FaultOfEveryCall,
    testing::Combine(
        testing::Values(Undertaking{"Hash", [] { return std::make_unique<Hash>(300'000, 1); }},
                        Undertaking{"HashOnManyCores", [] { return std::make_unique<Hash>(2'200'000, 3); }},
                        Undertaking{"ComparisonOfEqualFiles", [] { return std::make_unique<Comparison>("="); }},
                        Undertaking{"ComparisonOfOtherFiles", [] { return std::make_unique<Comparison>("#"); }},
                        Undertaking{"ListLoad", [] { return std::make_unique<ListLoad>(false); }},
                        Undertaking{"WideListLoad", [] { return std::make_unique<ListLoad>(true); }},
                        Undertaking{"Verification", [] { return std::make_unique<Verification>(); }},
                        Undertaking{"VerificationOnAnOldSystem", [] { return std::make_unique<Verification>(); }, true},
                        Undertaking{"Export", [] { return std::make_unique<Export>(false); }},
                        Undertaking{"ExportWithAccessList", [] { return std::make_unique<Export>(true); }}),
        testing::Values(Fault{"IsInterrupted", EINTR}, Fault{"FailsToWorkOnTheDisk", EIO},
                        Fault{"IsNotPermitted", EACCES}, Fault{"HasTooManyOpenFiles", EMFILE},
                        Fault{"HasNoMemory", ENOMEM}, Fault{"HasNoSpace", ENOSPC}, Fault{"TransfersOneByte", 0, 1},
                        Fault{"TransfersNothing", 0, 0}, Fault{"TransfersLittleFromThenOn", 0, 4099, true},
                        Fault{"FailsFromThenOn", EIO, kAll, true})),
    [](const auto& test) { return std::get<0>(test.param).name + std::string(std::get<1>(test.param).name); });

}  // namespace
}  // namespace tallyfold::test
