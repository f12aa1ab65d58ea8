#pragma once

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>

#include "tests/export/Reports.h"
#include "tests/operations/Operation.h"
#include "tests/support/AccessList.h"

namespace tallyfold::test {

/// Over an old, private report, beside what a killed export has left, in a folder that has new files be readable for
/// another user. With a list of its own, that user may read the old report as well.
class Export : public Operation {
 public:
  explicit Export(bool hasList) : hasList_(hasList) { setListForAnotherUser(folder_.path(), defaultList); }

  Lines run() override {
    std::filesystem::create_directory(abandoned_);
    chmod(abandoned_.c_str(), S_IRWXU);
    folder_.file(std::string(kAbandoned) + "/00000000-1111-4222-8333-444444444444", "part of a report");
    std::filesystem::remove(report_);
    folder_.file("report", "old");
    removexattr(report_.c_str(), accessList);
    chmod(report_.c_str(), S_IRUSR | S_IWUSR);
    if (hasList_) setListForAnotherUser(report_, accessList);
    return outcomeOf([&]() -> Lines {
      ManifestService::write(results_, ManifestService::Format::json, report_, {});
      return {contentOf(report_)};
    });
  }

  /// Nothing depends on what was left, on locks, on closing what is only read, nor on rights that can be left away.
  [[nodiscard]] std::string told(const System& system, std::size_t call, const std::string& sentence) const override {
    const std::string_view name = system.name(call);
    const auto ordinal = system.ordinal(call);
    const auto isAny = [&](auto... ordinals) { return ((ordinal == ordinals) || ...); };
    if (name == "unlinkat" || name == "flock" || name == "getdents" || name == "fsetxattr") return "";
    if (name == "fstatat" && isAny(2, 3, 4)) return "";
    if (name == "fstat" && ordinal == 1) return "";
    if (name == "close" && ordinal != 4) return "";
    if (name == "openat" && (isAny(1, 2) || (ordinal == 5 && sentence.ends_with(std::strerror(EACCES))))) return "";
    if (name == "openat" && ordinal == 4) return "error: The report could not be written.";
    return sentence.empty() ? "error: Input/output error" : sentence;
  }

  void checkFiles(const Lines& outcome, const Fault& fault, std::string_view name) override {
    EXPECT_EQ(contentOf(report_), outcome.front().starts_with("error: ") ? "old" : outcome.front());
    const bool isGranted = !accessListOf(report_).empty();
    EXPECT_TRUE(fault.isHarmless() ? isGranted == hasList_ : hasList_ || !isGranted);
    EXPECT_EQ(std::filesystem::status(report_).permissions(),
              static_cast<std::filesystem::perms>(isGranted ? 0640 : 0600));
    std::filesystem::remove(report_);
    for (const std::filesystem::path& left : std::filesystem::directory_iterator(folder_.path())) {
      const bool mayStay = fault.isForGood || (!fault.isHarmless() && (left == abandoned_ || name == "unlinkat"));
      EXPECT_TRUE(mayStay) << left << " was left";
      std::filesystem::remove_all(left);
    }
  }

 private:
  static constexpr const char* kAbandoned = ".tallyfold-00000000-1111-4222-8333-444444444444";

  const bool hasList_;
  const FileHashResults results_ = manyResults(450);  // More than one write.
  const std::filesystem::path report_ = folder_.path() / "report";
  const std::filesystem::path abandoned_ = folder_.path() / kAbandoned;
};

}  // namespace tallyfold::test
