#pragma once

#include <exception>
#include <filesystem>
#include <string>

#include "core/base/Errors.h"
#include "core/services/HashService.h"

namespace tallyfold::test {

/// What came of hashing a file, as one text: the digest, or "error: " and the sentence, or "cancelled".
inline std::string outcomeOf(const std::filesystem::path& file, HashAlgorithm algorithm = HashAlgorithm::blake3,
                             const std::stop_token& cancellation = {}) {
  try {
    const FileHashResult result = HashService::hashFile(file, Uuid(), {algorithm}, cancellation, [](double) {});
    return std::string(result.hashes.find(algorithm).value());
  } catch (const CancellationError&) {
    return "cancelled";
  } catch (...) {
    return "error: " + errorDescription(std::current_exception());
  }
}

inline const std::string kChanged =
    "error: The file changed while it was being read. Run the operation again on a stable file.";
inline const std::string kNotRegular = "error: The selected item is not a regular file.";

}  // namespace tallyfold::test
