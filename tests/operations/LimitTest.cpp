#include <array>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <malloc.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestVerification.h"
#include "core/base/Errors.h"
#include "core/base/Processor.h"
#include "core/services/TextHashing.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/export/Reports.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold::test {
namespace {

namespace fs = std::filesystem;
using namespace ChecksumManifestService;
using Work = std::function<std::string()>;

constexpr std::size_t kMebibyte = 1'048'576;

/// The most that this process has ever had in memory, in KiB.
std::int64_t peak() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmHWM:") {
  }
  std::int64_t kibibytes = 0;
  status >> kibibytes;
  return kibibytes;
}

/// What comes of `work` in a process of its own, and how many MiB its peak is above that of `warmUp` before it.
std::pair<std::string, double> measured(const Work& warmUp, const Work& work) {
  malloc_trim(0);  // What is free here would be used there unseen.
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    warmUp();
    const std::int64_t before = peak();
    const std::string outcome = work();
    const std::string report = std::to_string(peak() - before) + " " + outcome;
    _exit(write(ends[1], report.data(), report.size()) == std::ssize(report) ? 0 : 1);
  }
  close(ends[1]);
  std::string report;
  std::array<char, 512> bytes{};
  for (ssize_t count = 0; (count = read(ends[0], bytes.data(), bytes.size())) > 0;) {
    report.append(bytes.data(), static_cast<std::size_t>(count));
  }
  close(ends[0]);
  int status = -1;
  if (waitpid(child, &status, 0) != child || status != 0) return {"the process failed", 0};
  const std::size_t space = report.find(' ');
  return {report.substr(space + 1), static_cast<double>(std::stoll(report.substr(0, space))) / 1024};
}

class PeakMemory : public testing::Test {
 protected:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  void SetUp() override { GTEST_SKIP() << "here memory is also that of the sanitizer"; }
#endif

  /// Expects this outcome, and a peak of at most so many MiB.
  static void expect(const char* what, double most, const std::string& outcome, const Work& warmUp, const Work& work) {
    const auto [actual, mebibytes] = measured(warmUp, work);
    EXPECT_EQ(actual, outcome) << what;
    EXPECT_LE(mebibytes, most) << what;
    std::cout << what << " | " << outcome.substr(0, 60) << " | " << mebibytes << " MiB | at most " << most << " MiB\n";
  }

  /// A file that takes no space, with a line break as the last byte of every `line` bytes of it.
  [[nodiscard]] fs::path sparse(const std::string& name, std::size_t size, std::size_t line = SIZE_MAX) const {
    fs::path path = folder_.file(name, "");
    fs::resize_file(path, size);
    std::fstream stream(path);
    for (std::size_t end = line; end <= size; end += line) {
      stream.seekp(static_cast<std::streamoff>(end - 1)) << '\n';
    }
    return path;
  }

  TemporaryFolder folder_;
};

TEST_F(PeakMemory, OfHashingAndComparingIsAChunk) {
  const fs::path small = folder_.file("small", "x");
  const fs::path chunk = sparse("chunk", 8 * kMebibyte);
  const fs::path more = sparse("more", 8 * kMebibyte + 1);
  const fs::path large = sparse("large", 64 * kMebibyte);
  const fs::path other = sparse("other", 64 * kMebibyte);
  for (const unsigned cores : {1U, 4U}) {
    pretendCores(cores);
    for (const fs::path& file : {chunk, more, large}) {
      const std::string digest = outcomeOf(file);
      const auto hash = [](const fs::path& path) { return [=] { return outcomeOf(path, HashAlgorithm::blake3); }; };
      expect(("hash " + file.filename().string() + ", cores: " + std::to_string(cores)).c_str(), 10, digest,
             hash(small), hash(file));
    }
  }
  pretendCores(0);
  expect(
      "compare", 10, "identical", [&] { return outcomeOfComparison(small, small); },
      [&] { return outcomeOfComparison(large, other); });
}

TEST_F(PeakMemory, OfATextIsASlice) {
  const std::string text(64 * kMebibyte, 'a');
  const std::u16string wide(32 * kMebibyte, u'a');
  const auto hash = [](auto view) {
    return [=] {
      HashService::hashTextCancellableWithByteCount(view, HashAlgorithm::recommended, {});
      return "done";
    };
  };
  expect("text", 1, "done", hash(std::string_view("a")), hash(std::string_view(text)));
  expect("text in UTF-16", 2, "done", hash(std::u16string_view(u"a")), hash(std::u16string_view(wide)));
}

TEST_F(PeakMemory, OfAListIsItsLimits) {
  const auto outcome = [](const fs::path& list) -> std::string {
    try {
      const ParseResult result = load(list, {});
      return std::to_string(result.entries.size()) + " entries, " + std::to_string(result.warnings.size()) +
             " warnings, " + std::to_string(result.unsupportedLineCount) + " unsupported";
    } catch (...) {
      return errorDescription(std::current_exception());
    }
  };
  const fs::path small = folder_.file("small", std::string(32, 'a') + "  a\nx\n");
  const auto expectOf = [&](const char* what, double most, const std::string& expected, const fs::path& list) {
    expect(
        what, most, expected, [&] { return outcome(small); }, [&] { return outcome(list); });
    fs::remove(list);
  };
  const auto lines = [&](std::size_t count, const std::string& line, const std::string& end = "") {
    std::ofstream stream(folder_.path() / "lines");
    for (std::size_t i = 0; i < count; ++i) stream << line << '\n';
    stream << end;
    return folder_.path() / "lines";
  };
  const std::string tooLarge =
      "The checksum file exceeds the safe in-memory manifest limit (100,000 entries or approximately 64 MiB of "
      "retained entry data).";
  const std::string longLine =
      "The checksum file contains a line larger than 1 MiB and was rejected to keep memory use bounded.";

  expectOf("256 MiB of lines of 1 MiB", 4, "0 entries, 100 warnings, 256 unsupported",
           sparse("source", 256 * kMebibyte, kMebibyte));
  expectOf("one byte more", 1, "The checksum file exceeds the 256 MiB source-size limit for interactive verification.",
           sparse("source", 256 * kMebibyte + 1, kMebibyte));
  expectOf("a line of 1 MiB and a byte, and 255 MiB behind it", 4, longLine, sparse("source", 256 * kMebibyte));
  const fs::path wide = folder_.file("wide", "\xFF\xFE");
  fs::resize_file(wide, 256 * kMebibyte);
  expectOf("the same in UTF-16", 8, longLine, wide);
  expectOf("1,000,000 lines", 4, "0 entries, 100 warnings, 1000000 unsupported", lines(1'000'000, "x"));
  expectOf("one line more", 4, "The checksum file exceeds the 1,000,000-line limit for interactive verification.",
           lines(1'000'001, "x"));

  // As many entries as there may be, with all that they may hold: 671 bytes each, and 8,864 that are left.
  const std::string entry = std::string(32, 'a') + "  " + std::string(671 - 32 - entryOverhead, 'x');
  expectOf("100,000 entries of 64 MiB", 80, "100000 entries, 1 warnings, 1 unsupported", lines(100'000, entry, "x\n"));
  expectOf("one entry more", 80, tooLarge, lines(100'000, entry, std::string(32, 'a') + "  a"));
  const std::string large = std::string(32, 'a') + "  " + std::string(kMebibyte - 32 - entryOverhead, 'x');
  expectOf("64 entries of 64 MiB", 72, "64 entries, 0 warnings, 0 unsupported", lines(64, large));
  expectOf("one byte more", 72, tooLarge, lines(63, large, large + "x"));
}

TEST_F(PeakMemory, OfAVerificationDoesNotGrowOnceTheCacheIsFull) {
  constexpr int capacity = 4096;
  for (int i = 0; i < 3 * capacity; ++i) folder_.file("file " + std::to_string(i), "");
  ManifestVerification verification(folder_.path(), captureRootIdentity(folder_.path(), {}));
  const auto verify = [&](int first, int count) {
    return [=, &verification] {
      for (int i = first; i < first + count; ++i) {
        std::string path = "file " + std::to_string(i);
        const ChecksumManifestEntry entry{Uuid(), 1, path, HashAlgorithm::crc32, ""};
        const ManifestFileGroup group{path, {entry}};
        if (!std::holds_alternative<DigestMap>(verification.verify(group, {}))) return path;
      }
      return std::string("done");
    };
  };
  expect("4,096 files", 4, "done", verify(0, 1), verify(1, capacity - 1));
  expect("8,192 files more", 0.5, "done", verify(0, capacity), verify(capacity, 2 * capacity));
}

TEST_F(PeakMemory, OfAReportIsItsBuffer) {
  const FileHashResults results = manyResults(100'000);
  const FileHashResults one = manyResults(1);
  for (const auto format : ManifestService::allFormats()) {
    const auto write = [=](const FileHashResults& list) {
      return [&list, format] {
        ManifestService::writeContents(list, format, FileHandle::open("/dev/null", O_WRONLY), {});
        return "done";
      };
    };
    expect(std::string(ManifestService::fileExtension(format)).c_str(), 1, "done", write(one), write(results));
  }
}

}  // namespace
}  // namespace tallyfold::test
