// Paths of a list, below the root of a tree of files, folders and links that lead anywhere, next to the kernel's own
// resolution: what is found lies inside.

#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>

#include "fuzz/Fuzz.h"
#include "tests/support/PlainListReader.h"
#include "tests/support/RandomTree.h"
#include "tests/support/TemporaryFolder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallyfold;
  const test::TemporaryFolder folder;
  const std::filesystem::path top = std::filesystem::canonical(folder.path());
  const auto check = [&](const std::string& path) {
    fuzz::require(test::disagreementOn(path, top / "root", test::containmentOf(path, top / "root")).empty());
  };
  FuzzedDataProvider provider(data, size);
  test::RandomTree tree(top, [&] { return provider.ConsumeIntegral<std::uint16_t>(); });
  for (int i = 0; i < 20; ++i) check(tree.path());
  const std::string bytes = provider.ConsumeRemainingBytesAsString();
  if (!bytes.empty() && test::isWellFormed(bytes)) check(bytes);
  return 0;
}
