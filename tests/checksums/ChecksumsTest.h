#pragma once

#include <list>

#include "checksums/lists/ChecksumReading.h"
#include "checksums/lists/ListReading.h"
#include "checksums/lists/PastedLines.h"
#include "checksums/paths/ManifestGroups.h"
#include "checksums/paths/ManifestPaths.h"
#include "checksums/verification/FixedCapacityCache.h"
#include "checksums/verification/ManifestVerification.h"
#include "tests/core/CoreTest.h"

/// What the tests of this floor need.
namespace tallyfold::test {

using namespace ChecksumManifestService;

inline const std::string kAbsolute = "error: Absolute paths are not allowed in manifest verification.";

inline const std::string d8 = "1a2b3c4d";
inline const std::string d32(32, 'a');
inline const std::string d40(40, 'b');
inline const std::string d64(64, 'c');

/// A root folder without links in its own path, in which files are verified.
class RootTest : public testing::Test {
 protected:
  RootTest() { fs::create_directories(root / "dir/sub"); }

  void link(const fs::path& target, const std::string& name) const { fs::create_symlink(target, root / name); }

  [[nodiscard]] static std::string digestOf(const fs::path& file) { return outcomeOf(file, {HashAlgorithm::sha256}); }

  [[nodiscard]] static ManifestFileGroup groupOf(const std::string& path,
                                                 HashAlgorithmSet algorithms = {HashAlgorithm::sha256}) {
    static std::list<ChecksumManifestEntry> entries;  // A group is a view of its entries.
    ManifestFileGroup group;
    for (const HashAlgorithm algorithm : algorithms) {
      entries.push_back({Uuid::random(), 1, path, algorithm, ""});
      group.entries.emplace_back(entries.back());
    }
    group.relativePath = entries.back().relativePath;
    return group;
  }

  [[nodiscard]] ManifestVerification begun() const {
    return {root, ChecksumManifestService::captureRootIdentity(root, {})};
  }

  /// The digest of the first algorithm of a group, or the sentence about it.
  static std::string verified(ManifestVerification& verification, const ManifestFileGroup& group) {
    const ManifestGroupOutcome outcome = verification.verify(group, {});
    if (const auto* const failure = std::get_if<ManifestGroupFailure>(&outcome)) return "error: " + failure->sentence;
    const auto& digests = std::get<DigestMap>(outcome);
    for (const HashAlgorithm algorithm : group.algorithms()) EXPECT_TRUE(digests.find(algorithm));
    return std::string(digests.find(group.entries.front().get().algorithm).value_or("none"));
  }
  [[nodiscard]] std::string verified(const std::string& path) const {
    ManifestVerification verification = begun();
    return verified(verification, groupOf(path));
  }

  TemporaryFolder folder;
  const fs::path root = fs::canonical(folder.path()) / "root";
};

/// Emulators of a processor may lack it.
inline bool hasOpenat2() { return SystemCalls().openat2(-1, "", 0, 0) == 0 || errno != ENOSYS; }

/// A system that cannot open a file below a folder by itself, and says so with this error; 0 for one that can.
inline auto withoutOpenat2(int error) {
  return [error](std::string_view name, std::size_t) { return name == "openat2" ? error : 0; };
}

}  // namespace tallyfold::test
