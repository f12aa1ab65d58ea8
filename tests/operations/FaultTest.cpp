#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestVerification.h"
#include "core/base/Errors.h"
#include "core/base/Processor.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/operations/ExportOperation.h"
#include "tests/operations/Operation.h"

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
        const ChecksumManifestEntry entry{Uuid(), 1, path, HashAlgorithm::sha256, ""};
        const ManifestFileGroup group{path, {entry}};
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
