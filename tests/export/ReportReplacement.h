#pragma once

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <stop_token>
#include <string>
#include <sys/stat.h>
#include <system_error>

#include "tests/export/Reports.h"
#include "tests/support/TemporaryFolder.h"

namespace tallyfold::test {

inline const std::string oldReport = "the report of yesterday\n";

inline std::set<std::string> namesIn(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

inline mode_t modeOf(const std::filesystem::path& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) throw std::system_error(errno, std::system_category());
  return status.st_mode & 07777;
}

/// A report of yesterday, alone in its folder.
class ReportReplacement : public testing::Test {
 protected:
  static void write(const FileHashResults& results, const std::filesystem::path& destination,
                    const std::stop_token& cancellation = {}) {
    ManifestService::write(results, ManifestService::Format::plainText, destination, cancellation);
  }

  /// The error number that writing a report ends with, 0 when it does not fail.
  static int errorOf(const FileHashResults& results, const std::filesystem::path& destination) {
    try {
      write(results, destination);
      return 0;
    } catch (const std::system_error& error) {
      return error.code().value();
    }
  }

  void expectNothingHappened() {
    EXPECT_EQ(contentOf(report_), oldReport);
    EXPECT_EQ(namesIn(folder_.path()), std::set<std::string>{"report.txt"});
  }

  const FileHashResults few_ = manyResults(2);
  const FileHashResults many_ = manyResults(2'000);  ///< Over 1 MiB as a report.
  TemporaryFolder folder_;
  const std::filesystem::path report_ = folder_.file("report.txt", oldReport);
};

}  // namespace tallyfold::test
