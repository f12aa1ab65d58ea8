// Paths of a list, below the root of a tree of files, folders and links that lead anywhere, next to the kernel's own
// resolution: what is found lies inside.

#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>

#include "checksums/ManifestPaths.h"
#include "fuzz/Fuzz.h"
#include "tests/support/RandomTree.h"

namespace {

using namespace tallyfold;

void check(const std::string& path, const std::filesystem::path& root) {
  using Case = ManifestPathError::Case;
  std::string location;
  std::optional<Case> failure;
  try {
    location = ChecksumManifestService::resolve(path, root).native();
    fuzz::require(test::isBelow(root, location));
    const std::string place = test::realPath(location);
    fuzz::require(place.empty() || place == location);
  } catch (const ManifestPathError& error) {
    failure = error.value();
  }
  // What can be told of a path before anything is looked at is no matter of the tree.
  if (failure && *failure != Case::outsideRoot) return;
  const test::Containment expected = test::containmentOf(path, root);
  if (!expected.exists) return;
  fuzz::require(expected.isInside == !failure);
  if (expected.isInside) fuzz::require(location == expected.place);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const test::TemporaryFolder folder;
  const std::filesystem::path top = std::filesystem::canonical(folder.path());
  FuzzedDataProvider provider(data, size);
  test::RandomTree tree(top, [&] { return provider.ConsumeIntegral<std::uint16_t>(); });
  for (int i = 0; i < 20; ++i) check(tree.path(), top / "root");
  const std::string bytes = provider.ConsumeRemainingBytesAsString();
  if (!bytes.empty() && fuzz::isWellFormed(bytes)) check(bytes, top / "root");
  return 0;
}
