// A checksum list of any bytes, read in pieces of any length, next to a reader that has all of it in memory.

#include <algorithm>
#include <array>
#include <string_view>

#include "checksums/ChecksumReading.h"
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

}  // namespace

// The last two bytes say how the others are read, so that a list that another program wrote is an input as it stands.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder;
  static ShortReads reads;
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size - 2);
  const std::array names{"list", "MD5SUMS", "SHA256SUMS", "B3SUMS"};
  const std::filesystem::path list = folder.file(names.at(data[size - 1] % names.size()), bytes);
  reads.longest = std::size_t{1} + data[size - 2];

  const auto expected = test::plainlyRead(bytes, algorithmHint(list));
  try {
    fuzz::require(test::described(load(list, {})) == expected);
  } catch (const ManifestReadError& error) {
    fuzz::require(error.value() == ManifestReadError::Case::unsupportedEncoding && !expected);
  }
  return 0;
}
