#include "tests/checksums/ChecksumsTest.h"

namespace tallyfold::test {
namespace {

ChecksumManifestEntry entryOf(std::string path, std::int64_t line = 1,
                              HashAlgorithm algorithm = HashAlgorithm::sha256) {
  return {Uuid::random(), line, std::move(path), algorithm, std::string(algorithm.hexLength(), '0')};
}

TEST(ManifestGroupingKey, NormalizesWhatStaysBelowItsStart) {
  using enum ManifestGroupingKey::Kind;
  std::mt19937 engine(seedOfThisRun());
  const std::array parts{"a", "B", "..", ".", "", "...", "c\\d", "..\\", "e\u0301", " "};
  std::set<std::string> paths{"", ".", "..", "/a", "a/.."};
  while (paths.size() < 2000) {
    std::string path = parts[engine() % parts.size()];
    for (auto count = engine() % 6; count > 0; --count) path.append("/").append(parts[engine() % parts.size()]);
    paths.insert(path);
  }
  for (const std::string& path : paths) {
    const fs::path plain = (fs::path(path) / ".").lexically_normal().parent_path();
    const bool isBelow = plain.is_relative() && !plain.empty() && *plain.begin() != "..";
    EXPECT_EQ(manifestGroupingKey(path),
              isBelow ? (ManifestGroupingKey{normalized, plain}) : (ManifestGroupingKey{raw, path}))
        << path;
  }
  EXPECT_EQ(manifestGroupingKey("a/./\0"s), (ManifestGroupingKey{raw, "a/./\0"s}));
  EXPECT_FALSE((ManifestGroupingKey{normalized, "a/b"}) == (ManifestGroupingKey{raw, "a/b"}));
}

TEST(ManifestGroups, EntriesOfOnePathAreOneGroupInTheOrderOfTheList) {
  const std::vector<ChecksumManifestEntry> entries{
      entryOf("x.bin", 1),     entryOf("y.bin", 2),      entryOf("./x.bin", 3, HashAlgorithm::blake3),
      entryOf("../x.bin", 4),  entryOf("/x.bin", 5),     entryOf("a/../x.bin", 6),
      entryOf("caf\u00E9", 7), entryOf("cafe\u0301", 8),
  };
  const std::vector<ManifestFileGroup> groups = groupEntries(entries, {});
  EXPECT_THAT(groups,
              ElementsAre(ManifestFileGroup{"x.bin", {entries[0], entries[2], entries[5]}},
                          ManifestFileGroup{"y.bin", {entries[1]}}, ManifestFileGroup{"../x.bin", {entries[3]}},
                          ManifestFileGroup{"/x.bin", {entries[4]}}, ManifestFileGroup{"caf\u00E9", {entries[6]}},
                          ManifestFileGroup{"cafe\u0301", {entries[7]}}));
  EXPECT_EQ(groups[0].algorithms(), HashAlgorithm::recommended);
  const std::list<ChecksumManifestEntry> none;
  EXPECT_THAT(groupEntries(none, {}), IsEmpty());
}

TEST(ManifestGroups, NothingThatOutsidersNameIsMadeToMeet) {
  const std::vector<std::string> names = collidingNames("", 12);
  std::set<std::size_t> ofNames;
  std::set<std::size_t> ofFiles;
  for (const std::string& name : names) {
    ofNames.insert(std::hash<ManifestGroupingKey>()(manifestGroupingKey(name)));
    ManifestFileContentIdentity file;
    file.changedNanoseconds = static_cast<std::int64_t>(ofNames.size());
    ofFiles.insert(std::hash<ManifestFileContentIdentity>()(file));
  }
  EXPECT_EQ(ofNames.size(), names.size());
  EXPECT_EQ(ofFiles.size(), names.size());
}

TEST(ManifestGroups, CancellationIsSeenWithin256Entries) {
  std::stop_source source;
  EntryGrouper grouper(1000, source.get_token());
  const ChecksumManifestEntry entry = entryOf("a");
  grouper.add(entry);
  source.request_stop();
  int added = 0;
  EXPECT_THROW(
      {
        for (; added < 1000; ++added) grouper.add(entry);
      },
      CancellationError);
  EXPECT_LE(added, 256);
  const std::vector<ChecksumManifestEntry> none;
  EXPECT_THROW(groupEntries(none, source.get_token()), CancellationError);
}

TEST(FixedCapacityCache, OldestInsertionIsForgotten) {
  FixedCapacityCache<int, std::string> cache(4096);
  const auto valueOf = [&](int key) {
    const std::string* const value = cache.find(key);
    return value != nullptr ? *value : "none";
  };
  for (int key = 0; key < 4096; ++key) cache.insert(std::to_string(key), key);
  cache.insert("again", 0);  // Stays as old as it is.
  EXPECT_EQ(valueOf(0), "again");
  cache.insert("new", 4096);
  EXPECT_EQ(cache.size(), 4096U);
  EXPECT_EQ(valueOf(0), "none");
  for (int key = 1; key < 4096; ++key) EXPECT_EQ(valueOf(key), std::to_string(key));

  // A key that was removed and comes back is as young as its return.
  for (int time = 0; time < 2; ++time) cache.remove(2);
  EXPECT_EQ(valueOf(2), "none");
  cache.insert("back", 2);
  EXPECT_EQ(valueOf(1), "none");
  cache.insert("newer", 4097);  // Where it was before.
  EXPECT_EQ(valueOf(2), "back");
  EXPECT_EQ(valueOf(3), "3");
}

}  // namespace
}  // namespace tallyfold::test
