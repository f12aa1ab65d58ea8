#include "tests/checksums/ChecksumsTest.h"

namespace tallyfold::test {
namespace {

using Verification = RootTest;

TEST_F(Verification, RootIsLookedAtForEachFileInFewCalls) {
  folder.file("root/dir/a", "inside");
  folder.file("root/dir/b", "too");
  ManifestVerification verification = begun();
  EXPECT_EQ(verified(verification, groupOf("dir/a")), digestOf(root / "dir/a"));
  const std::string second = digestOf(root / "dir/b");
  {
    const WatchedSystemCalls system;
    EXPECT_EQ(verified(verification, groupOf("dir/b")), second);
    if (hasOpenat2()) {
      EXPECT_THAT(system.names,
                  ElementsAre("openat2", "fstat", "fstatat", "openat2", "fstat", "read", "fstat", "fstatat"));
    }
  }
  fs::rename(root, folder.path() / "moved");
  fs::create_symlink("moved", root);
  EXPECT_EQ(verified(verification, groupOf("dir/a")), kRootChanged) << "the same folder, but through a link";
  fs::remove(root);
  fs::create_directory(root);
  EXPECT_EQ(verified(verification, groupOf("missing")), kRootChanged) << "another folder";
}

TEST_F(Verification, SizesAreToldWhereNoLinkIsFollowed) {
  folder.file("root/dir/a", "content");
  link("dir/a", "link");
  const ManifestRootIdentity identity = captureRootIdentity(root, {});
  const std::vector<std::pair<std::string, std::optional<std::int64_t>>> sizes{
      {"dir/./a", 7}, {"missing", 0}, {"dir/a/b", 0}, {"dir", 0}, {"link", {}}, {"dir\\a", {}}, {"../a", {}},
  };
  for (const auto& [path, size] : sizes)
    EXPECT_EQ(shownFileSize(path, identity), hasOpenat2() ? size : std::nullopt) << path;
}

TEST_F(Verification, FileIsReadOncePerAlgorithmWhateverItIsCalled) {
  using enum HashAlgorithm::Case;
  folder.file("root/a", "content");
  fs::create_hard_link(root / "a", root / "dir/b");
  link("../a", "dir/link");
  folder.file("root/same content", "content");
  ManifestVerification verification = begun();
  const std::string before = verified(verification, groupOf("a"));
  EXPECT_EQ(before, digestOf(root / "a"));
  struct {
    std::string path;
    HashAlgorithmSet algorithms;
    int reads;
  } const groups[]{{"a", {sha256}, 0},
                   {"dir/b", {sha256}, 0},
                   {"dir/b", {sha256, blake3, crc32}, 1},
                   {"dir/link", {crc32}, 0},
                   {"a", HashAlgorithmSet::all(), 1},
                   {"same content", HashAlgorithmSet::all(), 1},
                   {"same content", HashAlgorithmSet::all(), 0}};
  for (const auto& [path, algorithms, reads] : groups) {
    const WatchedSystemCalls system;
    const ManifestFileGroup group = groupOf(path, algorithms);
    EXPECT_EQ(verified(verification, group).size(), group.entries.front().get().algorithm.hexLength());
    EXPECT_EQ(std::ranges::count(system.names, "read"), reads) << path;
    EXPECT_EQ(system.stillOpen, 0);
  }
  // Neither what is written into it nor what takes its place is taken for the file that was read.
  folder.file("root/a", "CONTENT");
  EXPECT_NE(digestOf(root / "a"), before);
  EXPECT_EQ(verified(verification, groupOf("a")), digestOf(root / "a"));
  fs::rename(folder.file("root/dir/new", "Content"), root / "dir/b");
  EXPECT_EQ(verified(verification, groupOf("dir/b")), digestOf(root / "dir/b"));
}

TEST_F(Verification, VersionIsStillThereOnlyWhereItIsReachedInside) {
  const fs::path file = root / "dir/a";
  const fs::path aside = folder.path() / "aside";
  const auto makeLinkTo = [&](const fs::path& moved) {
    fs::rename(moved, aside);
    fs::create_symlink(aside, moved);
  };
  struct {
    bool isOfRoot;
    std::function<void()> make;
  } const changes[]{
      {false, [&] { makeLinkTo(file); }},
      {false, [&] { makeLinkTo(root / "dir"); }},
      {true, [&] { makeLinkTo(root); }},
      {true, [&] { fs::rename(root, aside); }},
      {false, [&] { folder.file("root/dir/a", "INSIDE"); }},
      {false, [&] { fs::last_write_time(file, fs::last_write_time(file)); }},
  };
  for (const auto& change : changes) {
    for (const char* const path : {"dir/a", "link/a"}) {
      for (const fs::path& old : {root, aside}) fs::remove_all(old);
      fs::create_directories(root / "dir");
      folder.file("root/dir/a", "inside");
      link("dir", "link");
      ManifestVerification earlier = begun();
      EXPECT_EQ(verified(earlier, groupOf(path)), digestOf(file));
      folder.file("root/new", "");
      std::optional<ManifestVerification> verification(begun());
      EXPECT_TRUE(verification->isStill(*earlier.lastVersion(), groupOf(path), {}));
      change.make();
      if (!change.isOfRoot) verification.emplace(begun());
      EXPECT_FALSE(verification->isStill(*earlier.lastVersion(), groupOf(path), {})) << path;
    }
  }
}

TEST(ManifestFileContentIdentity, IsThatOfOneVersionOfOneFile) {
  const auto expectOther = [](auto... fields) {
    const auto isOther = [](auto FileSnapshot::*field) {
      FileSnapshot changed;
      changed.*field = 1;
      return ManifestFileContentIdentity(changed) != ManifestFileContentIdentity();
    };
    EXPECT_THAT((std::array{isOther(fields)...}), Each(true));
  };
  expectOther(&FileSnapshot::device, &FileSnapshot::inode, &FileSnapshot::fileSize, &FileSnapshot::modifiedSeconds,
              &FileSnapshot::modifiedNanoseconds, &FileSnapshot::changedSeconds, &FileSnapshot::changedNanoseconds);
}

/// The tree changes right before every call, and stays so or is put back a call or two later: what is inside, or a
/// sentence.
TEST_F(Verification, ChangeAtAnyMomentIsNeverAMatchOfWhatIsOutside) {
  const fs::path file = folder.file("root/dir/a", "inside");
  const fs::path outsider = folder.path() / "outside";
  fs::create_directories(outsider / "dir");
  const std::string outside = digestOf(folder.file("outside/a", "OUTSID"));
  folder.file("outside/dir/a", "OUTSID");  // Where it would be, were that the root.
  const std::string inside = digestOf(file);
  link("dir", "link");
  const fs::path aside = folder.path() / "aside";
  const fs::path replacement = folder.path() / "replacement";
  struct {
    std::string what;
    fs::path item;               // Goes away ...
    std::function<void()> make;  // ... and this takes its place.
  } const changes[]{
      {"file becomes a link", file, [&] { fs::create_symlink(outsider / "a", replacement); }},
      {"folder becomes a link", root / "dir", [&] { fs::create_symlink(outsider, replacement); }},
      {"root becomes a link", root, [&] { fs::create_symlink(outsider, replacement); }},
      {"file is replaced", file, [&] { folder.file("replacement", "INSIDE"); }},
      {"file becomes a pipe", file, [&] { makePipe(replacement); }},
  };
  for (const auto& [path, isOld, backAfter] :
       {std::tuple("dir/a", false, 0U), std::tuple("link/a", false, 0U), std::tuple("dir/a", true, 0U),
        std::tuple("link/a", true, 0U), std::tuple("dir/a", false, 1U), std::tuple("link/a", false, 1U),
        std::tuple("dir/a", true, 1U), std::tuple("link/a", true, 2U), std::tuple("dir/a", true, 2U)}) {
    WatchedSystemCalls system;
    const auto refusal = withoutOpenat2(isOld ? ENOSYS : 0);
    system.before = refusal;
    EXPECT_EQ(captureRootIdentity(root, {}).canonicalPath, root);
    const std::size_t captureCount = system.names.size();
    EXPECT_EQ(verified(path), inside);
    const std::size_t callCount = system.names.size() - captureCount;
    for (const auto& change : changes) {
      bool wasNoticed = false;
      for (std::size_t call = 1; call <= callCount; ++call) {
        bool isChanged = false;
        const auto putBack = [&] {
          if (!std::exchange(isChanged, false)) return;
          fs::remove(change.item);
          fs::rename(aside, change.item);
        };
        system.names.clear();
        system.before = [&, &backAfter = backAfter](std::string_view name, std::size_t number) {
          if (number == call + backAfter) putBack();
          if (number == call && !isChanged) {
            change.make();
            fs::rename(change.item, aside);
            fs::rename(replacement, change.item);
            isChanged = true;
          }
          return refusal(name, number);
        };
        const std::string outcome = attempted([&, &path = path] { return verified(path); });
        wasNoticed = wasNoticed || outcome != inside;
        // What becomes the root before it was captured is not outside.
        EXPECT_TRUE(outcome != outside || (change.item == root && call <= captureCount))
            << path << ": " << change.what << " before call " << call << ", for " << backAfter;
        EXPECT_EQ(system.stillOpen, 0);
        putBack();
      }
      EXPECT_TRUE(wasNoticed || backAfter != 0) << change.what;
    }
  }
}

using Names = std::vector<std::string>;

Names operator+(Names names, const Names& more) {
  names.insert(names.end(), more.begin(), more.end());
  return names;
}

TEST_F(Verification, ListsOfOtherToolsMatchOrAreSaidToBeUnsupported) {
  const Names simple{"plain",           "my (copy).iso", "[brackets] {}", "  two leading",
                     "dir/in a folder", "caf\u00E9",     "cafe\u0301",    "a) = b"};
  const Names more = simple + Names{"trailing  ", "#hash", "*star", " *"};
  const Names all = more + Names{"new\nline", "back\\slash"};
  const Names allOfCoreutils = all + Names{"re\rturn"};
  for (const std::string& name : allOfCoreutils) folder.file("root/" + name, "content of " + name);
  struct {
    Names command;
    std::string list;
    Names files;
    bool isSupported = true;
    bool isReadAnyway = false;  // In one of the other forms.
  } const tools[]{
      {{"md5sum"}, "sums.txt", allOfCoreutils},
      {{"sha256sum"}, "SHA256SUMS", allOfCoreutils},
      {{"sha256sum"}, "sums.txt", allOfCoreutils, false},  // Perhaps BLAKE3.
      {{"sha256sum", "--binary"}, "a.sha256", allOfCoreutils},
      {{"sha512sum"}, "sums.txt", allOfCoreutils},
      {{"sha256sum", "--tag"}, "sums.txt", more},
      {{"cksum", "-a", "sha256"}, "sums.txt", more},
      {{"cksum", "-a", "sha1", "--untagged"}, "sums.txt", allOfCoreutils},
      {{"cksum", "-a", "crc"}, "sums.txt", more, false},
      {{"cksum", "-a", "blake2b"}, "sums.txt", more, false},
      {{"b3sum"}, "B3SUMS", all},
      {{"b3sum"}, "sums.txt", all, false},
      {{"rhash", "--bsd", "--sha224"}, "sums.txt", more},
      {{"rhash", "--bsd", "--md5", "--sha1", "--crc32"}, "sums.txt", simple},
      {{"rhash", "--sha1"}, "sums.txt", simple},
      {{"rhash", "--sfv"}, "sums.sfv", simple},
      {{"cksfv", "-q"}, "sums.sfv", simple},
      {{"cksfv"}, "sums.sfv", simple},
      {{"openssl", "dgst", "-sha256"}, "sums.txt", more, false, true},
      {{"openssl", "dgst", "-sha1"}, "sums.txt", more, false, true},
      {{"openssl", "dgst", "-blake2s256"}, "sums.txt", more, false},
      {{"openssl", "dgst", "-sha512-256"}, "sums.txt", more, false},
      {{"sha512sum", "--tag"}, "sums.txt", {"new\nline", "back\\slash", "re\rturn"}, false, true},
      {{"rhash", "--sfv", "--sha224"}, "sums.txt", simple, false, true},
      {{"rhash", "--simple", "--crc32", "--md5", "--sha512"}, "sums.txt", simple, false, true},
      {{"rhash", "--sfv", "--sha256"}, "a.sha256", simple, false, true},
      {{"rhash", "--sfv", "--sha256"}, "sums.txt", simple, false},
      {{"hashdeep", "-c", "sha1,md5,tiger"}, "sums.txt", simple, false, true},
      {{"openssl", "dgst", "-r", "-sha1"}, "sums.txt", all},
      {{"openssl", "dgst", "-r", "-sha256"}, "SHA256SUMS", all},
  };
  for (const auto& [command, name, files, isSupported, isReadAnyway] : tools) {
    SCOPED_TRACE(testing::PrintToString(command) + " " + name);
    const std::string list = outputOf(Names{"env", "--chdir=" + root.native()} + command + files);
    const fs::path path = folder.file(name, list);
    const auto algorithms = std::ranges::count(command, "--md5") != 0 ? 3 : command[0] == "hashdeep" ? 2 : 1;
    const std::int64_t expected = algorithms * std::ssize(files);
    EXPECT_EQ(std::ssize(load(path, {}).entries), isSupported ? expected : 0);
    const ParseResult result = readList(path, {}, {}).result;
    const bool isRead = isSupported || isReadAnyway;
    EXPECT_EQ(result.unsupportedLineCount, isRead ? 0 : std::ssize(files));
    EXPECT_EQ(std::ssize(result.entries), isRead ? expected : 0);
    ManifestVerification verification = begun();
    for (const ManifestFileGroup& group : groupEntries(result.entries, {})) {
      const ManifestGroupOutcome outcome = verification.verify(group, {});
      const auto* const digests = std::get_if<DigestMap>(&outcome);
      ASSERT_NE(digests, nullptr) << group.relativePath << ": " << std::get<ManifestGroupFailure>(outcome).sentence;
      for (const ChecksumManifestEntry& entry : group.entries) {
        EXPECT_EQ(digests->find(entry.algorithm), entry.expectedHash) << group.relativePath;
      }
    }
  }
}

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
