#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

#include "core/base/Errors.h"
#include "core/base/HexEncoder.h"
#include "core/base/Processor.h"
#include "core/digests/HashPipeline.h"
#include "core/files/Paths.h"
#include "core/services/FileComparison.h"
#include "core/services/HashService.h"
#include "tests/support/CollidingNames.h"
#include "tests/support/Process.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

/// What the tests of this floor and of those above it need.
namespace tallyfold::test {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::ThrowsMessage;

inline const std::string kChanged =
    "error: The file changed while it was being read. Run the operation again on a stable file.";
inline const std::string kListChanged =
    "error: The checksum file changed while it was being read. Load it again after the file is stable.";
inline const std::string kLongLine =
    "error: The checksum file contains a line larger than 1 MiB and was rejected to keep memory use bounded.";
inline const std::string kInvalidRoot = "error: The selected manifest root is not an accessible directory.";
inline const std::string kRootChanged =
    "error: The manifest root folder changed while verification was running. Run verification again on a stable folder "
    "tree.";
inline const std::string kPathChanged =
    "error: A manifest path changed while it was being verified. Run verification again on a stable folder tree.";
inline const std::string kOutside = "error: A manifest path resolves outside the selected root folder.";
inline const std::string kNotRegular = "error: The selected item is not a regular file.";
inline const std::string kMissing = "error: No such file or directory";
inline const std::string kNotAFolder = "error: Not a directory";
inline const std::string kCircle = "error: Too many levels of symbolic links";
inline const std::string kTooLong = "error: File name too long";

/// What `work` returns, if anything; or "error: " and the sentence, or "cancelled".
template <typename Work>
std::string attempted(Work work) {
  try {
    if constexpr (std::is_void_v<decltype(work())>) {
      return work(), "";
    } else {
      return work();
    }
  } catch (const CancellationError&) {
    return "cancelled";
  } catch (...) {
    return "error: " + errorDescription(std::current_exception());
  }
}

inline DigestMap digestsOf(const fs::path& file, HashAlgorithmSet algorithms = HashAlgorithmSet::all()) {
  return HashService::hashFile(file, Uuid(), algorithms, {}, [](double) {}).hashes;
}

/// What came of hashing a file, as one text: its digests. Only when there are any was the file reported as done.
inline std::string outcomeOf(const fs::path& file, HashAlgorithmSet algorithms = {HashAlgorithm::blake3},
                             const std::stop_token& cancellation = {}) {
  double done = 0;
  std::string outcome = attempted([&] {
    const auto digests =
        HashService::hashFile(file, Uuid(), algorithms, cancellation, [&](double now) { done = now; }).hashes;
    EXPECT_EQ(std::exchange(done, 0), 1);
    std::string text;
    for (const HashAlgorithm algorithm : algorithms)
      text.append(text.empty() ? "" : " ").append(*digests.find(algorithm));
    return text;
  });
  EXPECT_LT(done, 1) << outcome;
  return outcome;
}

/// What came of comparing two files: "identical", "sizes 10, 11" or "differ at 5".
inline std::string outcomeOfComparison(
    const fs::path& a, const fs::path& b, const std::stop_token& cancellation = {},
    const ProgressCallback& progress = [](double) {}) {
  return attempted([&]() -> std::string {
    const FileComparisonResult result = HashService::compareFiles(a, b, cancellation, progress);
    if (const auto* sizes = std::get_if<FileComparison::DifferentSize>(&result))
      return "sizes " + std::to_string(sizes->sizeOfA) + ", " + std::to_string(sizes->sizeOfB);
    if (const auto* mismatch = std::get_if<FileComparison::ContentMismatch>(&result))
      return "differ at " + std::to_string(mismatch->offset);
    return "identical";
  });
}

/// What comes of going on where the comparison of two files has ended.
inline std::string outcomeOfCommonPart(const fs::path& a, const fs::path& b, const FileComparison::Versions& versions,
                                       const std::stop_token& cancellation = {}) {
  return attempted([&]() -> std::string {
    const auto found = HashService::compareCommonPart(a, b, versions, cancellation, [](double) {});
    if (!found) return "one is the beginning";
    const auto shown = [](const std::vector<std::byte>& row) { return " " + HexEncoder::string(row); };
    return "differ at " + std::to_string(found->offset) + shown(found->rowOfA) + shown(found->rowOfB);
  });
}
inline std::string outcomeOfCount(const fs::path& a, const fs::path& b, const FileComparison::Versions& versions,
                                  std::int64_t first, const std::stop_token& cancellation = {}) {
  return attempted([&] {
    const auto all = HashService::countDifferences(a, b, versions, first, cancellation, [](double) {});
    return std::to_string(all.bytes) + " in " + std::to_string(all.runs) + " runs to " + std::to_string(all.last);
  });
}

inline std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

/// A file of zero bytes that takes no space.
inline fs::path sparseFile(const TemporaryFolder& folder, std::string_view name, std::uintmax_t size) {
  fs::path file = folder.file(name, "");
  fs::resize_file(file, size);
  return file;
}

inline void makePipe(const fs::path& path) {
  if (mkfifo(path.c_str(), 0600) != 0) throw std::system_error(errno, std::system_category());
}

/// The digests of files as another program calculates them: coreutils, b3sum, and crc32 of Archive::Zip.
inline std::vector<std::string> digestsByOthers(HashAlgorithm algorithm, const std::vector<fs::path>& files) {
  constexpr std::array<std::string_view, HashAlgorithm::count> programs{
      "md5sum", "sha1sum", "sha224sum", "sha256sum", "sha384sum", "sha512sum", "b3sum", "crc32",
  };
  static_assert(!programs.back().empty(), "Every algorithm has one.");
  std::istringstream words{std::string(programs[algorithm])};
  std::vector<std::string> command{std::istream_iterator<std::string>(words), {}};
  command.insert(command.end(), files.begin(), files.end());
  std::istringstream lines(outputOf(command));
  std::vector<std::string> digests;
  for (std::string line; std::getline(lines, line);) digests.push_back(line.substr(0, algorithm.hexLength()));
  return digests;
}

/// Expects digests of these files, with every algorithm, to be those that other programs calculate.
inline void expectAsOthersHaveThem(const std::vector<DigestMap>& digests, const std::vector<fs::path>& files) {
  for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
    const std::vector<std::string> expected = digestsByOthers(algorithm, files);
    ASSERT_EQ(expected.size(), files.size()) << algorithm.rawValue();
    for (std::size_t i = 0; i < files.size(); ++i) {
      EXPECT_EQ(digests[i].find(algorithm), expected[i]) << algorithm.rawValue() << " of " << files[i];
    }
  }
}

}  // namespace tallyfold::test
