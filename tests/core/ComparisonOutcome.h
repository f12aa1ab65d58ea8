#pragma once

#include <exception>
#include <filesystem>
#include <string>
#include <variant>

#include "core/base/Errors.h"
#include "core/services/FileComparison.h"

namespace tallyfold::test {

/// What came of comparing two files, as one text: "identical", "sizes 10, 11", "differ at 5", "cancelled", or "error: "
/// and the sentence.
inline std::string outcomeOfComparison(
    const std::filesystem::path& a, const std::filesystem::path& b, const std::stop_token& cancellation = {},
    const ProgressCallback& progress = [](double) {}) {
  try {
    const FileComparisonResult result = HashService::compareFiles(a, b, cancellation, progress);
    if (const auto* sizes = std::get_if<FileComparison::DifferentSize>(&result))
      return "sizes " + std::to_string(sizes->sizeOfA) + ", " + std::to_string(sizes->sizeOfB);
    if (const auto* mismatch = std::get_if<FileComparison::ContentMismatch>(&result))
      return "differ at " + std::to_string(mismatch->offset);
    return "identical";
  } catch (const CancellationError&) {
    return "cancelled";
  } catch (...) {
    return "error: " + errorDescription(std::current_exception());
  }
}

}  // namespace tallyfold::test
