#pragma once

#include <exception>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <string>

#include "checksums/ManifestVerification.h"
#include "core/base/Errors.h"
#include "core/services/HashService.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {

inline const std::string kOutside = "A manifest path resolves outside the selected root folder.";
inline const std::string kAbsolute = "Absolute paths are not allowed in manifest verification.";
inline const std::string kInvalidRoot = "The selected manifest root is not an accessible directory.";
inline const std::string kNotRegular = "The selected item is not a regular file.";
inline const std::string kMissing = "No such file or directory";
inline const std::string kRootChanged =
    "The manifest root folder changed while verification was running. Run verification again on a stable folder tree.";
inline const std::string kPathChanged =
    "A manifest path changed while it was being verified. Run verification again on a stable folder tree.";

/// A root folder without links in its own path, in which files are verified.
class RootTest : public testing::Test {
 protected:
  RootTest() { std::filesystem::create_directories(root / "dir/sub"); }

  void link(const std::filesystem::path& target, const std::string& name) const {
    std::filesystem::create_symlink(target, root / name);
  }

  [[nodiscard]] static std::string digestOf(const std::filesystem::path& file) {
    const auto hashed = HashService::hashFile(file, Uuid(), {HashAlgorithm::sha256}, {}, [](double) {});
    return std::string(hashed.hashes.find(HashAlgorithm::sha256).value());
  }

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
  static std::string outcomeOf(ManifestVerification& verification, const ManifestFileGroup& group) {
    const ManifestGroupOutcome outcome = verification.verify(group, {});
    if (const auto* const sentence = std::get_if<std::string>(&outcome)) return *sentence;
    const auto& digests = std::get<DigestMap>(outcome);
    for (const HashAlgorithm algorithm : group.algorithms()) EXPECT_TRUE(digests.find(algorithm));
    return std::string(digests.find(group.entries.front().get().algorithm).value_or("none"));
  }
  [[nodiscard]] std::string outcomeOf(const std::string& path) const {
    ManifestVerification verification = begun();
    return outcomeOf(verification, groupOf(path));
  }

  TemporaryFolder folder;
  const std::filesystem::path root = std::filesystem::canonical(folder.path()) / "root";
};

/// A system that cannot open a file below a folder by itself, and says so with this error; 0 for one that can.
inline auto withoutOpenat2(int error) {
  return [error](std::string_view name, std::size_t) { return name == "openat2" ? error : 0; };
}

}  // namespace tallyfold::test
