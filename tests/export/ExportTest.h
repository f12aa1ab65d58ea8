#pragma once

#include <sys/xattr.h>

#include "core/files/FolderHandle.h"
#include "export/reports/ManifestService.h"
#include "tests/core/CoreTest.h"

/// What the tests of this floor and of those above it need.
namespace tallyfold::test {

/// The result of a file, with digests that differ from each other: each of one digit.
inline std::shared_ptr<const FileHashResult> resultOf(std::string_view path, HashAlgorithmSet algorithms,
                                                      std::int64_t size = 0, Timestamp modifiedAt = {}) {
  FileHashResult result{Uuid::random(), path, size, modifiedAt, {}, 0.5};
  for (const HashAlgorithm algorithm : algorithms) {
    result.hashes.insert(algorithm, std::string(algorithm.hexLength(), static_cast<char>('1' + algorithm)));
  }
  return std::make_shared<const FileHashResult>(std::move(result));
}

/// `count` results with all eight digests each.
inline FileHashResults manyResults(std::size_t count) {
  FileHashResult result = *resultOf("", HashAlgorithmSet::all(), 4096);
  FileHashResults results;
  for (std::size_t i = 0; i < count; ++i) {
    result.url = "/home/a/file " + std::to_string(i);
    results.push_back(std::make_shared<const FileHashResult>(result));
  }
  return results;
}

/// The access control list of a file, or the one that a folder gives to new files.
inline constexpr const char* accessList = "system.posix_acl_access";
inline constexpr const char* defaultList = "system.posix_acl_default";

/// Gives a file or a folder one (acl(5)): rw- for the owner, r-- for one other user, --- for the group, which the mask
/// makes look like r--.
inline void setListForAnotherUser(const fs::path& path, const char* which) {
  std::string list{2, 0, 0, 0};
  const auto add = [&](char tag, char rights, std::string_view id) { list.append({tag, 0, rights, 0}).append(id); };
  const std::string none(4, '\xFF');
  add(0x01, 6, none);
  add(0x02, 4, std::string_view("\x39\x30\0\0", 4));
  add(0x04, 0, none);
  add(0x10, 4, none);
  add(0x20, 0, none);
  if (setxattr(path.c_str(), which, list.data(), list.size(), 0) != 0) {
    throw std::system_error(errno, std::system_category());
  }
}

/// As the kernel has it; empty when there is none.
inline std::string accessListOf(const fs::path& path) {
  std::string list(1024, '\0');
  const ssize_t size = getxattr(path.c_str(), accessList, list.data(), list.size());
  list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return list;
}

}  // namespace tallyfold::test
