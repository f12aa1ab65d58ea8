// A checksum list of any bytes, read in pieces of any length, next to a reader that has all of it in memory. What is
// read in the other forms as well leaves every line that needs none of them as it is.

#include <algorithm>
#include <array>
#include <string_view>

#include "checksums/lists/ChecksumReading.h"
#include "checksums/lists/ListReading.h"
#include "core/files/SystemCalls.h"
#include "fuzz/Fuzz.h"
#include "tests/support/PlainListReader.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace tallyfold;
using namespace tallyfold::ChecksumManifestService;

/// No read gives more than so many bytes.
class ShortReads : public SystemCalls {
 public:
  ShortReads() { replace(this); }
  ssize_t read(int descriptor, void* bytes, std::size_t count) override {
    return SystemCalls::read(descriptor, bytes, std::min(count, longest));
  }

  std::size_t longest = 1;
};

void checkOtherForms(const std::filesystem::path& list, const ParseResult& plain) {
  const ParseResult whole = readList(list, {}, {}).result;
  fuzz::require(whole.ignoredLineCount == plain.ignoredLineCount);
  fuzz::require(whole.unsupportedLineCount <= plain.unsupportedLineCount);
  fuzz::require(std::ssize(whole.warnings) == std::min<std::int64_t>(whole.unsupportedLineCount, maximumWarnings));
  auto next = plain.entries.begin();
  std::int64_t line = 0;
  std::int64_t linesOfOtherForms = 0;
  for (const ChecksumManifestEntry& entry : whole.entries) {
    fuzz::require(test::isWellFormed(entry.relativePath) && entry.lineNumber >= line);
    fuzz::require(entry.expectedHash.size() == entry.algorithm.hexLength());
    fuzz::require(entry.expectedHash.find_first_not_of("0123456789abcdef") == std::string::npos);
    const bool isPlain = next != plain.entries.end() && next->lineNumber == entry.lineNumber;
    if (isPlain) {
      fuzz::require(entry.relativePath == next->relativePath && entry.algorithm == next->algorithm);
      fuzz::require(entry.expectedHash == next->expectedHash);
      ++next;
    } else if (entry.lineNumber != line) {
      ++linesOfOtherForms;
    }
    line = entry.lineNumber;
  }
  fuzz::require(next == plain.entries.end());
  fuzz::require(linesOfOtherForms <= plain.unsupportedLineCount - whole.unsupportedLineCount);
}

}  // namespace

// The last two bytes say how the others are read, so that a list that another program wrote is an input as it stands.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder;
  static ShortReads reads;
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size - 2);
  const std::array names{"list", "MD5SUMS", "SHA256SUMS", "B3SUMS", "x.sha256"};
  const std::filesystem::path list = folder.file(names.at(data[size - 1] % names.size()), bytes);
  reads.longest = std::size_t{1} + data[size - 2];

  const auto expected = test::plainlyRead(bytes, algorithmHint(list));
  try {
    const ParseResult result = load(list, {});
    fuzz::require(test::described(result) == expected);
    checkOtherForms(list, result);
  } catch (const ManifestReadError& error) {
    fuzz::require(error.value() == ManifestReadError::Case::unsupportedEncoding && !expected);
  }
  return 0;
}
