// Right before the k-th system call of an operation, for every k, it is disturbed: the call fails, or the operation is
// cancelled.

#include "tests/operations/Disturbance.h"

namespace tallyfold::test {
namespace {

class Hash : public Operation {
 public:
  Hash(std::size_t size, unsigned cores,
       HashAlgorithmSet algorithms = {HashAlgorithm::sha256, HashAlgorithm::blake3, HashAlgorithm::crc32})
      : file_(folder_.file("file", randomBytes(size, 1))), algorithms_(algorithms) {
    pretendCores(cores);
  }
  ~Hash() override { pretendCores(0); }

  Lines run(const std::stop_token& cancellation) override { return {outcomeOf(file_, algorithms_, cancellation)}; }
  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    return toldOfReading(system, call, sentence, 1);
  }
  [[nodiscard]] bool looksAfterTheLastRead() const override { return true; }
  [[nodiscard]] int otherReaders() const override { return algorithms_ == kBLAKE3 ? 2 : 0; }

 private:
  fs::path file_;
  HashAlgorithmSet algorithms_;
};

class Comparison : public Operation {
 public:
  explicit Comparison(std::string_view end) { folder_.file("b", randomBytes(300'000, 1).append(end)); }

  Lines run(const std::stop_token& cancellation) override {
    return {outcomeOfComparison(a_, folder_.path() / "b", cancellation)};
  }
  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    return toldOfReading(system, call, sentence, 2);
  }

 private:
  fs::path a_ = folder_.file("a", randomBytes(300'000, 1) + "=");
};

/// What goes on where the comparison of two files of different sizes has ended.
class MoreOfComparison : public Operation {
 public:
  explicit MoreOfComparison(bool isCount) : isCount_(isCount) {}

  Lines run(const std::stop_token& cancellation) override {
    return {isCount_ ? outcomeOfCount(a_, b_, versions_, 5000, cancellation)
                     : outcomeOfCommonPart(a_, b_, versions_, cancellation)};
  }
  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    return toldOfReading(system, call, sentence, 2);
  }

 private:
  bool isCount_;
  fs::path a_ = folder_.file("a", randomBytes(300'000, 1) + "=");
  fs::path b_ = folder_.file("b", randomBytes(300'000, 1) + "#more");
  FileComparison::Versions versions_ = HashService::compareFilesKeepingVersions(a_, b_, {}, [](double) {}).versions;
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

  Lines run(const std::stop_token& cancellation) override { return {outcomeOfLoad(list_, cancellation)}; }

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

  Lines run(const std::stop_token& cancellation) override {
    return outcomesOfVerification(root_, {"dir/plain", "link/other", "dir\\of windows", "again"}, cancellation, true);
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
    const std::string sentence = fault.error == 0 ? kChanged : fault.sentence();
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
  [[nodiscard]] bool looksAfterTheLastRead() const override { return true; }

 private:
  fs::path root_ = folder_.path() / "link to root";
};

/// Of a folder with another one in it. Nothing is left out without a word.
class Walk : public Operation {
 public:
  Walk() {
    fs::create_directories(folder_.path() / "dir");
    for (unsigned i = 0; i < 2; ++i) folder_.file(i == 0 ? "a" : "dir/b", randomBytes(1000, i));
  }

  Lines run(const std::stop_token& cancellation) override { return outcomesOfWalk(folder_.path(), cancellation); }

  void check(const Lines& outcome, const Lines& undisturbed, const System& system, std::size_t call,
             const Fault& fault) const override {
    if (system.name(call) == "close" && !fault.isForGood) {
      EXPECT_EQ(outcome, undisturbed);
      return;
    }
    const auto isToldOf = [&](std::string_view path) {
      return std::ranges::any_of(outcome, [&](const std::string& line) {
        return line.starts_with("error: ") || (line.starts_with(path) && line.find(": error: ") != line.npos);
      });
    };
    const bool isWhole = std::ranges::includes(outcome, undisturbed);
    EXPECT_TRUE(isWhole || isToldOf("/") || isToldOf("dir/") || isToldOf("a")) << testing::PrintToString(outcome);
  }
  [[nodiscard]] bool looksAfterTheLastRead() const override { return true; }
};

/// Of a folder and a list that names one of its files, one through a link, and two that were missing: one is there
/// again, and one has another name. Whatever else is said, or is not, is said to be for an error.
class Audit : public Operation {
 public:
  Audit() {
    fs::create_directories(folder_.path() / "root/dir");
    fs::create_directory_symlink("dir", root_ / "link");
    folder_.file("root/listed", "1");
    folder_.file("root/dir/through a link", "2");
    folder_.file("root/other", "3");
    const std::string digest = outcomeOf(folder_.file("root/dir/new name", "moved"), {HashAlgorithm::sha256});
    const std::string again = outcomeOf(folder_.file("root/again", "4"), {HashAlgorithm::sha256});
    for (const char* const name : {"listed", "link/through a link", "old name", "again"}) {
      entries_.push_back({Uuid(), 1, name, HashAlgorithm::sha256, name == "again"s ? again : digest});
    }
  }

  Lines run(const std::stop_token& cancellation) override {
    return outcomesOfAudit(root_, entries_, {2, 3}, cancellation);
  }

  void check(const Lines& outcome, const Lines& undisturbed, const System& system, std::size_t call,
             const Fault& fault) const override {
    if (system.name(call) == "close" && !fault.isForGood) {
      EXPECT_EQ(outcome, undisturbed);
      return;
    }
    const auto isError = [](const std::string& line) { return line.find("error: ") != line.npos; };
    if (std::ranges::any_of(outcome, isError)) return;
    // What could not be looked at stays what it was: missing.
    Lines rest = undisturbed;
    std::erase(rest, "1 there again");
    Lines said = outcome;
    // A link that cannot be read is taken for none; but then its folder would be closed to the walk as well.
    if (system.name(call) == "readlink" && fault.error == EACCES) std::erase(said, "unlisted dir/through a link");
    EXPECT_THAT(said, AnyOf(undisturbed, rest));
  }
  [[nodiscard]] bool looksAfterTheLastRead() const override { return true; }

 private:
  fs::path root_ = fs::canonical(folder_.path()) / "root";
  std::vector<ChecksumManifestEntry> entries_;
};

/// Over an old, private report, beside what a killed export has left, in a folder that has new files be readable for
/// another user. With a list of its own, that user may read the old report as well.
class Export : public Operation {
 public:
  explicit Export(bool hasList, bool isOfVerification = false)
      : hasList_(hasList), isOfVerification_(isOfVerification) {
    setListForAnotherUser(folder_.path(), defaultList);
  }

  Lines run(const std::stop_token& cancellation) override {
    fs::create_directory(abandoned_);
    chmod(abandoned_.c_str(), S_IRWXU);
    folder_.file(std::string(kAbandoned) + "/00000000-1111-4222-8333-444444444444", "part of a report");
    fs::remove(report_);
    folder_.file("report", "old");
    removexattr(report_.c_str(), accessList);
    chmod(report_.c_str(), S_IRUSR | S_IWUSR);
    if (hasList_) setListForAnotherUser(report_, accessList);
    return {attempted([&] {
      isOfVerification_ ? writeVerification(report_, cancellation)
                        : ManifestService::write(results_, ManifestService::Format::json, report_, cancellation);
      return contentOf(report_);
    })};
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
    if (name == "openat" && ordinal == 4) return "error: The file could not be written.";
    return sentence.empty() ? "error: Input/output error" : sentence;
  }

  void checkFiles(const Lines& outcome, const Fault& fault, std::string_view name) override {
    const std::string content = contentOf(report_);
    EXPECT_EQ(content, outcome.front() == content ? content : "old");
    const bool isGranted = !accessListOf(report_).empty();
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

  const bool hasList_;
  const bool isOfVerification_;
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
  const auto& [undertaking, fault] = GetParam();
  const std::unique_ptr<Operation> operation = undertaking.make();
  System system;
  system.isOld = undertaking.isOnAnOldSystem;
  const Lines undisturbed = operation->run({});
  ASSERT_FALSE(undisturbed.front().starts_with("error: ")) << undisturbed.front();
  const std::vector<std::string_view> calls = system.names;
  const auto descriptors = openDescriptors();

  std::size_t runs = 0;
  for (std::size_t call = 1; call <= calls.size(); ++call) {
    const std::string_view name = calls[call - 1];
    if (fault.isOfTransfers() && !name.ends_with("read") && name != "write") continue;
    SCOPED_TRACE(std::string(name) + ", call " + std::to_string(call) + " of " + std::to_string(calls.size()));
    std::stop_source source;
    system.names.clear();
    system.before = [&, &fault = fault, number = call](std::string_view, std::size_t now) {
      const bool isHit = fault.isForGood ? now >= number : now == number;
      system.longestRead = system.longestWrite = isHit ? fault.longest : kAll;
      if (isHit && fault.isCancellation) source.request_stop();
      return isHit ? fault.error : 0;
    };
    const Lines outcome = operation->run(source.get_token());
    ++runs;
    ASSERT_GE(system.names.size(), call);
    const std::span after = std::span(system.names).subspan(call);
    if (outcome.size() == 1 && outcome.front().starts_with("error: ") && !fault.isForGood) {
      const char* const others = operation->otherReaders() > 0 ? "pread" : "close";
      EXPECT_THAT(after, Each(AnyOf("close", "unlinkat", others))) << "it went on after the error";
    }
    if (fault.isCancellation) {
      EXPECT_THAT(after, Each(Not(AnyOf("write", "fsync", "renameat")))) << "it went on";
      EXPECT_LE(std::ranges::count(after, "read"), 1) << "it went on";
      EXPECT_LE(std::ranges::count(after, "pread"), operation->otherReaders()) << "it went on";
      const bool mustSee = name.ends_with("read") && operation->looksAfterTheLastRead();
      EXPECT_THAT(outcome, AnyOf(Lines{"cancelled"}, mustSee ? Lines{"cancelled"} : undisturbed));
    }
    system.before = [](auto...) { return 0; };
    system.names = calls;
    if (fault.isHarmless()) {
      EXPECT_EQ(outcome, undisturbed);
    } else if (!fault.isCancellation) {
      operation->check(outcome, undisturbed, system, call, fault);
    }
    operation->checkFiles(outcome, fault, name);
    EXPECT_EQ(openDescriptors(), descriptors);
    system.longestRead = system.longestWrite = kAll;
    EXPECT_EQ(operation->run({}), undisturbed) << "afterwards";
  }
  EXPECT_GT(runs, 0U);
  std::cout << undertaking.name << ", " << fault.name << ": " << calls.size() << " calls, " << runs << " runs\n";
}

INSTANTIATE_TEST_SUITE_P(
    Of, FaultOfEveryCall,
    testing::Combine(
        testing::Values(Undertaking{"Hash", [] { return std::make_unique<Hash>(300'000, 1); }},
                        Undertaking{"HashOnManyCores", [] { return std::make_unique<Hash>(2'200'000, 3); }},
                        Undertaking{"HashInPieces", [] { return std::make_unique<Hash>(3'200'000, 3, kBLAKE3); }},
                        Undertaking{"ComparisonOfEqualFiles", [] { return std::make_unique<Comparison>("="); }},
                        Undertaking{"ComparisonOfOtherFiles", [] { return std::make_unique<Comparison>("#"); }},
                        Undertaking{"CommonPart", [] { return std::make_unique<MoreOfComparison>(false); }},
                        Undertaking{"Count", [] { return std::make_unique<MoreOfComparison>(true); }},
                        Undertaking{"ListLoad", [] { return std::make_unique<ListLoad>(false); }},
                        Undertaking{"WideListLoad", [] { return std::make_unique<ListLoad>(true); }},
                        Undertaking{"Verification", [] { return std::make_unique<Verification>(); }},
                        Undertaking{"VerificationOnAnOldSystem", [] { return std::make_unique<Verification>(); }, true},
                        Undertaking{"Walk", [] { return std::make_unique<Walk>(); }},
                        Undertaking{"Audit", [] { return std::make_unique<Audit>(); }},
                        Undertaking{"AuditOnAnOldSystem", [] { return std::make_unique<Audit>(); }, true},
                        Undertaking{"Export", [] { return std::make_unique<Export>(false); }},
                        Undertaking{"VerificationExport", [] { return std::make_unique<Export>(false, true); }},
                        Undertaking{"ExportWithAccessList", [] { return std::make_unique<Export>(true); }}),
        testing::Values(Fault{"IsInterrupted", EINTR}, Fault{"FailsToWorkOnTheDisk", EIO},
                        Fault{"IsNotPermitted", EACCES}, Fault{"HasTooManyOpenFiles", EMFILE},
                        Fault{"HasNoMemory", ENOMEM}, Fault{"HasNoSpace", ENOSPC}, Fault{"TransfersOneByte", 0, 1},
                        Fault{"TransfersNothing", 0, 0}, Fault{"TransfersLittleFromThenOn", 0, 4099, true},
                        Fault{"FailsFromThenOn", EIO, kAll, true}, Fault{"IsCancelled", 0, kAll, false, true})),
    [](const auto& test) { return std::get<0>(test.param).name + std::string(std::get<1>(test.param).name); });

}  // namespace
}  // namespace tallyfold::test
