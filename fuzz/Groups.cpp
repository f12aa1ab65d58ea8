// The grouping of the entries of a list by the files that they name, next to one that compares each with each.

#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <vector>

#include "checksums/ManifestGroups.h"
#include "fuzz/Fuzz.h"

namespace {

using namespace tallyfold;

/// What is left of a path without ".", ".." and superfluous slashes; as it is where that leads outside, or nowhere.
std::string simplified(const std::string& path) {
  if (path.starts_with('/') || path.find('\0') != std::string::npos) return "raw " + path;
  std::vector<std::string> kept;
  for (const auto& component : std::filesystem::path(path)) {
    if (component.empty() || component == ".") continue;
    if (component != "..") {
      kept.push_back(component.native());
    } else if (kept.empty()) {
      return "raw " + path;
    } else {
      kept.pop_back();
    }
  }
  if (kept.empty()) return "raw " + path;
  std::string joined = "normalized";
  for (const std::string& component : kept) joined += "/" + component;
  return joined;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  std::vector<ChecksumManifestEntry> entries;
  while (provider.remaining_bytes() > 0 && entries.size() < 200) {
    const HashAlgorithm algorithm = HashAlgorithm::allCases()[provider.ConsumeIntegralInRange<std::size_t>(0, 7)];
    entries.push_back({Uuid::random(), std::ssize(entries) + 1, provider.ConsumeRandomLengthString(40), algorithm,
                       std::string(algorithm.hexLength(), '0')});
  }

  std::vector<ManifestFileGroup> expected;
  for (const ChecksumManifestEntry& entry : entries) {
    bool isFound = false;
    for (ManifestFileGroup& group : expected) {
      if (simplified(group.relativePath) != simplified(entry.relativePath)) continue;
      group.entries.push_back(entry);
      isFound = true;
      break;
    }
    if (!isFound) expected.push_back({entry.relativePath, {entry}});
  }
  tallyfold::fuzz::require(ChecksumManifestService::groupEntries(entries, {}) == expected);
  return 0;
}
