#pragma once

#include <algorithm>
#include <array>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/HashAlgorithm.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold::test {

/// The digests of files as another program calculates them: coreutils, b3sum, and crc32 of Archive::Zip.
inline std::vector<std::string> digestsByOthers(HashAlgorithm algorithm,
                                                const std::vector<std::filesystem::path>& files) {
  constexpr std::array<std::string_view, HashAlgorithm::count> programs{
      "md5sum", "sha1sum", "sha224sum", "sha256sum", "sha384sum", "sha512sum", "b3sum", "crc32"};
  std::vector<std::string> command{std::string(programs[algorithm])};
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
