// A file changes right before the k-th system call of an operation, for every k. Whatever happens, the outcome is that
// of exactly the old content, or of exactly the new one, or an error: never of a mixture.

#include <array>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestVerification.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

void writeTo(const fs::path& path, std::ios::openmode mode, const std::string& content) {
  std::ofstream(path, mode | std::ios::binary) << content;
}

/// The content of a list with another checksum in every line.
std::string otherThan(const fs::path& list) {
  std::string content = contentOf(list);
  std::ranges::replace(content, 'a', 'b');
  return content;
}

struct Change {
  std::string name;
  bool isInPlace;
  std::function<void(const fs::path& file, const fs::path& fresh)> make;
  std::string outcomeAfter = {};  // Of hashing: an error, or none.
};

void PrintTo(const Change& change, std::ostream* stream) { *stream << change.name; }

std::vector<Change> changes() {
  const auto rewriteKeepingSizeAndTimes = [](const fs::path& file, const fs::path&) {
    struct stat before {};
    ASSERT_EQ(stat(file.c_str(), &before), 0);
    writeTo(file, std::ios::in | std::ios::out, otherThan(file));
    const std::array<timespec, 2> times{before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times.data(), 0), 0);
  };
  const auto replace = [](const fs::path& file, const fs::path& fresh) {
    writeTo(fresh, std::ios::out, otherThan(file));
    fs::rename(fresh, file);
  };
  const auto link = [](const fs::path& file, const fs::path& fresh) {
    const std::string target = file.native() + ".target";
    writeTo(target, std::ios::out, otherThan(file));
    fs::create_symlink(target, fresh);
    fs::rename(fresh, file);
  };
  const auto makePipe = [](const fs::path& file, const fs::path& fresh) {
    ASSERT_EQ(mkfifo(fresh.c_str(), 0600), 0);
    fs::rename(fresh, file);
  };
  return {{"append", true, [](const fs::path& file, const fs::path&) { writeTo(file, std::ios::app, "more"); }},
          {"truncate", true, [](const fs::path& file, const fs::path&) { fs::resize_file(file, 5'000); }},
          {"rewrite", true, rewriteKeepingSizeAndTimes},
          {"replace", false, replace},
          {"link", false, link},
          {"remove", false, [](const fs::path& file, const fs::path&) { fs::remove(file); },
           "error: No such file or directory"},
          {"pipe", false, makePipe, "error: The selected item is not a regular file."}};
}

struct Operation {
  std::string name;
  std::function<std::string(const fs::path& folder)> work;  // On the files "a" and "b" in this folder.
  std::string contentOfB;
  std::string changed;   // The one that changes.
  int reads;             // That the work takes.
  std::size_t look;      // The call that looks at this file first; the next opens it, and the one after looks again.
  std::size_t lastLook;  // The call that looks at it for the last time, counted from the last one.
};

class Stability : public testing::TestWithParam<Change> {
 protected:
  struct Run {
    std::string outcome;
    std::vector<std::string_view> calls;
  };

  /// Works on new files, of which one is changed right before a call; before all calls when there is no such call.
  Run run(const Operation& operation, std::size_t moment) {
    const TemporaryFolder folder;
    const fs::path files = folder.path() / "files";
    fs::create_directory(files);
    folder.file("files/a", content);
    folder.file("files/b", operation.contentOfB);
    const auto change = [&] { GetParam().make(files / operation.changed, files / "fresh"); };
    if (moment == 0) change();
    WatchedSystemCalls system;
    system.longestRead = 4000;
    bool happened = moment == 0 || moment == never;
    system.before = [&](std::string_view, std::size_t number) {
      if (number == moment) {
        change();
        happened = true;
      }
      return 0;
    };
    Run run{operation.work(files), system.names};
    EXPECT_TRUE(happened) << moment;
    EXPECT_EQ(system.stillOpen, 0) << moment;
    return run;
  }

  static std::string listOf(int lines) {
    std::string list;
    for (int i = 0; i < lines; ++i) list += std::string(32, 'a') + "  " + std::to_string(10'000 + i) + "\n";
    return list;
  }

  static constexpr std::size_t never = 1000;
  const std::string content = listOf(250);
};

TEST_P(Stability, NeverTheOutcomeOfAMixture) {
  const Change& change = GetParam();
  const bool becomesOtherFile = !change.isInPlace && change.outcomeAfter.empty();
  const auto hash = [](const fs::path& folder) { return outcomeOf(folder / "a"); };
  const auto compare = [](const fs::path& folder) { return outcomeOfComparison(folder / "a", folder / "b"); };
  std::string differentAtTheEnd = content;
  differentAtTheEnd.back() = '\xFF';
  std::vector<Operation> operations{{"hashed", hash, "", "a", 3, 1, 0}};
  for (const std::string& b : {content, differentAtTheEnd, content + "more"}) {
    const int reads = b.size() == content.size() ? 6 : 0;
    operations.push_back({"compared", compare, b, "a", reads, 1, 2});
    operations.push_back({"compared", compare, b, "b", reads, 4, 0});
  }

  for (const Operation& operation : operations) {
    const auto [before, calls] = run(operation, never);
    const std::string after = run(operation, 0).outcome;
    ASSERT_TRUE(change.outcomeAfter.empty() || after == change.outcomeAfter) << after;
    ASSERT_EQ(std::ranges::count(calls, "read"), operation.reads);
    ASSERT_EQ(calls[operation.look], "open");
    ASSERT_EQ(calls.back(), "stat");
    const std::size_t look = operation.look;
    const std::size_t lastLook = calls.size() - operation.lastLook;

    for (std::size_t moment = 1; moment <= calls.size(); ++moment) {
      std::string expected = kChanged;
      if (moment <= look) expected = after;
      if (moment == look + 1 && !becomesOtherFile) expected = after;
      if (moment == look + 2 && change.isInPlace) expected = after;
      if (moment == lastLook && change.isInPlace) expected = before;
      if (moment > lastLook) expected = before;
      EXPECT_EQ(run(operation, moment).outcome, expected)
          << operation.name << ", " << operation.changed << " changed before call " << moment << ", a "
          << calls[moment - 1] << ", when the outcome was " << before;
    }
  }
}

// Of lists, it is left open at which calls a change is seen.
TEST_P(Stability, NeverTheOutcomeOfAMixtureOfLists) {
  const auto load = [](const fs::path& folder) {
    try {
      const auto result = ChecksumManifestService::load(folder / "a", {});
      std::string text = std::to_string(result.unsupportedLineCount);
      for (const auto& entry : result.entries) text += entry.expectedHash + entry.relativePath;
      return std::to_string(std::hash<std::string>()(text));
    } catch (const std::exception&) {
      return "error: " + errorDescription(std::current_exception());
    }
  };
  const auto verify = [](const fs::path& folder) {
    const fs::path root = folder.parent_path();
    ManifestVerification verification(root, ChecksumManifestService::captureRootIdentity(root, {}));
    const ChecksumManifestEntry entry{Uuid(), 1, "files/a", HashAlgorithm::blake3, ""};
    const ManifestGroupOutcome outcome = verification.verify({entry.relativePath, {entry}}, {});
    if (const auto* const sentence = std::get_if<std::string>(&outcome)) return "error: " + *sentence;
    return std::string(std::get<DigestMap>(outcome).find(HashAlgorithm::blake3).value());
  };
  for (const auto& work : {std::function(load), std::function<std::string(const fs::path&)>(verify)}) {
    const Operation operation{"", work, "", "a", 0, 0, 0};
    const auto [before, calls] = run(operation, never);
    const std::string after = run(operation, 0).outcome;
    EXPECT_NE(after, before);
    int changed = 0;
    for (std::size_t moment = 1; moment <= calls.size(); ++moment) {
      const std::string outcome = run(operation, moment).outcome;
      const bool isOfOneMoment = outcome == before || outcome == after;
      EXPECT_TRUE(isOfOneMoment || outcome.find(" changed while it was being ") != std::string::npos)
          << outcome << " when it changed before call " << moment << ", a " << calls[moment - 1];
      if (!isOfOneMoment) ++changed;
    }
    EXPECT_GT(changed, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryMoment, Stability, testing::ValuesIn(changes()),
                         [](const auto& test) { return test.param.name; });

}  // namespace

}  // namespace tallyfold::test
