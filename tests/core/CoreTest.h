#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Errors.h"
#include "core/HashService.h"
#include "tests/core/ComparisonOutcome.h"
#include "tests/core/Outcome.h"
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

}  // namespace tallyfold::test
