#pragma once

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "core/files/FolderHandle.h"
#include "core/files/SystemCalls.h"
#include "core/services/HashService.h"
#include "export/ManifestService.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold::test {

/// A digest of the right length, made of one digit.
inline std::string digest(HashAlgorithm algorithm, char digit) { return std::string(algorithm.hexLength(), digit); }

/// The result of a file, with digests that differ from each other.
inline std::shared_ptr<const FileHashResult> resultOf(std::string_view path, HashAlgorithmSet algorithms,
                                                      std::int64_t size = 0, Timestamp modifiedAt = {}) {
  FileHashResult result{Uuid::random(), path, size, modifiedAt, {}, 0.5};
  for (const HashAlgorithm algorithm : algorithms) {
    result.hashes.insert(algorithm, digest(algorithm, static_cast<char>('1' + algorithm)));
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

}  // namespace tallyfold::test
