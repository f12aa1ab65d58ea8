// Another process changes two files in every way that there is, at its own pace, while they are hashed, compared,
// loaded as a list and verified. What they hold after each of its steps is known beforehand: every outcome must be that
// of one moment of the operation, or the sentence about a changed file, and that only when there was a step.

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <map>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestVerification.h"
#include "core/HashPipeline.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/support/Process.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLine = 64;
constexpr std::size_t kPage = 4096;  // A change in place stays within a page: it happens at once.
constexpr std::size_t kPages = 260;  // More than the first read of a list.

std::string digestOf(const std::string& content) {
  HashPipeline pipeline({HashAlgorithm::blake3});
  pipeline.update(std::as_bytes(std::span(content)));
  return std::string(pipeline.finalize().find(HashAlgorithm::blake3).value());
}

std::string comparisonOf(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return "sizes " + std::to_string(a.size()) + ", " + std::to_string(b.size());
  const auto difference = std::ranges::mismatch(a, b).in1 - a.begin();
  return a == b ? "identical" : "differ at " + std::to_string(difference);
}

struct Step {
  std::string verb;
  std::string file;
  std::size_t place = 0;
  std::string bytes;
};

/// The outcome of each operation, by its name.
using Outcomes = std::map<std::string, std::string>;

/// Steps that end where they begin, and what comes of each operation before each step. Both files are checksum lists.
struct Script {
  std::string base;
  std::vector<Step> steps;
  std::vector<Outcomes> outcomes;

  Script(int count, std::mt19937& random) {
    for (std::size_t page = 0; page < kPages; ++page) base += newPage(random);
    std::map<std::string, std::string> now{{"a", base}, {"b", base}};
    std::map<std::string, std::string> digests{{"a", digestOf(base)}, {"b", digestOf(base)}};
    for (int i = 0; i < count + 2; ++i) {
      outcomes.push_back({{"hash", digests["a"]},
                          {"load", digests["a"]},
                          {"verify", digests["b"]},
                          {"compare", comparisonOf(now["a"], now["b"])}});
      steps.push_back(i < count ? newStep(now, random) : Step{"replace", i == count ? "a" : "b", 0, base});
      const Step& step = steps.back();
      std::string& content = now[step.file];
      if (step.verb == "append" || step.verb == "truncate") content.resize(step.place);
      if (step.verb == "replace" || step.verb == "link") content.clear();
      content.replace(std::min(step.place, content.size()), step.bytes.size(), step.bytes);
      digests[step.file] = digestOf(content);
    }
  }

  static std::string newPage(std::mt19937& random) {
    std::string page;
    for (std::size_t line = 0; line < kPage / kLine; ++line) {
      std::array<char, kLine + 1> text{};
      std::snprintf(text.data(), text.size(), "%08x%024zx  %029zu", static_cast<unsigned>(random()), line, line);
      page.append(text.data()).append("\n");
    }
    return page;
  }

  static Step newStep(const std::map<std::string, std::string>& now, std::mt19937& random) {
    const std::string file = random() % 2 == 0 ? "a" : "b";
    const std::string& content = now.at(file);
    const std::string& other = now.at(file == "a" ? "b" : "a");
    const std::size_t page = random() % (content.size() / kPage) * kPage;
    switch (random() % 10) {
      case 0:
        return {"append", file, content.size(), newPage(random).substr(content.size() % kPage)};
      case 1:
        return {"truncate", file, content.size() - random() % (kPage / kLine) * kLine, ""};
      case 2:
        return {"replace", file, 0, other};
      case 3:
        return {"link", file, 0, std::string(other).replace(page, kPage, newPage(random)).substr(0, other.size())};
      default:
        return {"rewrite", file, page, newPage(random)};
    }
  }
};

void require(bool success) {
  if (!success) throw std::system_error(errno, std::system_category());
}

/// In the other process.
class Writer {
 public:
  explicit Writer(fs::path folder) : folder_(std::move(folder)) {}

  void take(const Step& step) {
    const fs::path path = folder_ / step.file;
    if (step.verb == "truncate") {
      require(truncate(path.c_str(), static_cast<off_t>(step.place)) == 0);
    } else if (step.verb == "append") {
      write(path, O_WRONLY | O_APPEND, step);
    } else if (step.verb == "rewrite") {
      write(path, O_WRONLY, step);
    } else if (step.verb == "replace") {
      replace(path, step);
    } else {
      const std::string target = step.file + ".target" + std::to_string(++links_ % 4);
      replace(folder_ / target, step);
      fs::create_symlink(target, folder_ / "new");
      fs::rename(folder_ / "new", path);
    }
  }

 private:
  /// Size and modification time stay what they were when a page is rewritten.
  static void write(const fs::path& path, int flags, const Step& step) {
    const int file = open(path.c_str(), flags, 0600);
    struct stat before {};
    require(file >= 0 && fstat(file, &before) == 0);
    require(pwrite(file, step.bytes.data(), step.bytes.size(), static_cast<off_t>(step.place)) ==
            static_cast<ssize_t>(step.bytes.size()));
    const std::array<timespec, 2> times{before.st_atim, before.st_mtim};
    require(flags != O_WRONLY || futimens(file, times.data()) == 0);
    require(close(file) == 0);
  }
  void replace(const fs::path& path, const Step& step) const {
    write(folder_ / "new", O_WRONLY | O_CREAT | O_EXCL, step);
    fs::rename(folder_ / "new", path);
  }

  fs::path folder_;
  unsigned links_ = 0;
};

/// What both processes see.
struct Counters {
  std::atomic<std::uint64_t> begun = 0;
  std::atomic<std::uint64_t> ended = 0;
};

TEST(Storm, OutcomeIsThatOfOneMomentOrTheFileHasChanged) {
  std::mt19937 random(seedOfThisRun());
  const Script script(60, random);
  const TemporaryFolder folder;
  const fs::path files = folder.path() / "files";
  fs::create_directory(files);
  for (const char* name : {"files/a", "files/b"}) folder.file(name, script.base);
  void* const memory = mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto& counters = *new (memory) Counters;

  ForkedProcess writer([&] {
    Writer hand(files);
    while (true) {
      const std::uint64_t number = counters.begun++;
      hand.take(script.steps[number % script.steps.size()]);
      ++counters.ended;
      // Steps come in bursts.
      const unsigned long pace = random() % 10;
      if (pace < 3) usleep(static_cast<useconds_t>(random() % (pace == 0 ? 15'000 : 500)));
    }
  });

  ManifestVerification verification(folder.path(), ChecksumManifestService::captureRootIdentity(folder.path(), {}));
  const ManifestFileGroup group{"files/b", {{Uuid::random(), 1, "files/b", HashAlgorithm::blake3, ""}}};
  const std::map<std::string, std::function<std::string()>> operations{
      {"hash", [&] { return outcomeOf(files / "a"); }},
      {"compare", [&] { return outcomeOfComparison(files / "a", files / "b"); }},
      {"load",
       [&]() -> std::string {
         try {
           std::string text;
           for (const auto& entry : ChecksumManifestService::load(files / "a", {}).entries) {
             text.append(entry.expectedHash).append("  ").append(entry.relativePath).append("\n");
           }
           return digestOf(text);
         } catch (const std::exception& error) {
           return error.what();
         }
       }},
      {"verify",
       [&] {
         const ManifestGroupOutcome outcome = verification.verify(group, {});
         if (const auto* sentence = std::get_if<std::string>(&outcome)) return *sentence;
         return std::string(std::get<DigestMap>(outcome).find(HashAlgorithm::blake3).value());
       }},
  };

  std::map<std::string, std::array<int, 3>> counts;  // Of each operation: stable, changed, wrong.
  const int rounds = roundsOfThisRun(100);
  for (int round = 0; round < rounds; ++round) {
    const auto& [name, operation] = *std::next(operations.begin(), static_cast<int>(random() % operations.size()));
    const std::uint64_t first = counters.ended;
    const std::string outcome = operation();
    const std::uint64_t last = counters.begun;
    bool isOfOneMoment = false;
    for (std::uint64_t step = first; step <= last && !isOfOneMoment; ++step) {
      isOfOneMoment = script.outcomes[step % script.steps.size()].at(name) == outcome;
    }
    const bool isChange = outcome.find("changed while it was being") != std::string::npos;
    // What is no version of the file, and a change that nobody made.
    if (!isOfOneMoment && (!isChange || first == last)) {
      std::cout << name << ": " << outcome << " from step " << first << " to step " << last << '\n';
    }
    ++counts[name].at(isOfOneMoment ? 0 : isChange && first < last ? 1 : 2);
  }
  EXPECT_EQ(writer.kill(), SIGKILL) << "The other process stopped by itself";
  const std::uint64_t steps = counters.ended;
  munmap(memory, sizeof(Counters));
  int stable = 0;
  int changed = 0;
  for (const auto& [name, count] : counts) {
    std::cout << name << ": " << count[0] << " stable, " << count[1] << " changed, " << count[2] << " wrong\n";
    EXPECT_EQ(count[2], 0);
    stable += count[0];
    changed += count[1];
  }
  EXPECT_TRUE(rounds < 50 || (stable > 0 && changed > 0)) << "The other process was too slow or too fast";
  std::cout << steps << " steps of the other process\n";
}

}  // namespace

}  // namespace tallyfold::test
