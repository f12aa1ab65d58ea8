#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <new>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "core/base/Errors.h"
#include "core/base/HexEncoder.h"
#include "core/base/Processor.h"
#include "core/digests/HashPipeline.h"
#include "core/services/HashService.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
#include "tests/support/Process.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

/// What most tests of this floor need.
namespace tallyfold::test {

inline std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

/// A file of zero bytes that takes no space.
inline std::filesystem::path sparseFile(const TemporaryFolder& folder, std::string_view name, std::uintmax_t size) {
  std::filesystem::path file = folder.file(name, "");
  std::filesystem::resize_file(file, size);
  return file;
}

/// The digests of files as another program calculates them: coreutils, b3sum, and crc32 of Archive::Zip.
inline std::vector<std::string> digestsByOthers(HashAlgorithm algorithm,
                                                const std::vector<std::filesystem::path>& files) {
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

/// As above, for the first bytes of the BLAKE3 vectors' input, of every length in `lengths`.
inline std::vector<std::string> digestsByOthers(HashAlgorithm algorithm, const std::vector<std::size_t>& lengths) {
  const TemporaryFolder folder;
  std::vector<std::filesystem::path> files;
  for (const std::size_t length : lengths) files.push_back(folder.file(std::to_string(length), period251(length)));
  return digestsByOthers(algorithm, files);
}

}  // namespace tallyfold::test
