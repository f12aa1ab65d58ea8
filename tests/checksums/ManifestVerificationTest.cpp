#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <vector>

#include "checksums/ChecksumReading.h"
#include "checksums/ManifestGroups.h"
#include "tests/checksums/Root.h"
#include "tests/support/Process.h"

namespace tallyfold::test {

namespace {

using namespace ChecksumManifestService;
namespace fs = std::filesystem;

using Verification = RootTest;

TEST_F(Verification, RootThatIsAnotherFolderByNowFailsEveryGroup) {
  folder.file("root/dir/in.txt", "inside");
  ManifestVerification verification = begun();
  fs::rename(root, folder.path() / "moved");
  EXPECT_EQ(outcomeOf(verification, groupOf("dir/in.txt")), kRootChanged);
  fs::create_directories(root / "dir");
  folder.file("root/dir/in.txt", "inside");
  EXPECT_EQ(outcomeOf(verification, groupOf("dir/in.txt")), kRootChanged);
  EXPECT_EQ(outcomeOf(verification, groupOf("missing")), kRootChanged);
}

TEST_F(Verification, RootIsLookedAtForEachFileInFewCalls) {
  folder.file("root/dir/a", "inside");
  folder.file("root/dir/b", "too");
  ManifestVerification verification = begun();
  EXPECT_EQ(outcomeOf(verification, groupOf("dir/a")), digestOf(root / "dir/a"));
  const std::string second = digestOf(root / "dir/b");
  {
    const WatchedSystemCalls system;
    EXPECT_EQ(outcomeOf(verification, groupOf("dir/b")), second);
    EXPECT_THAT(system.names,
                testing::ElementsAre("openat2", "fstat", "fstatat", "openat2", "fstat", "read", "fstat", "fstatat"));
  }
  fs::rename(root, folder.path() / "moved");
  fs::create_symlink("moved", root);
  EXPECT_EQ(outcomeOf(verification, groupOf("dir/a")), kRootChanged) << "the same folder, but through a link";
}

TEST_F(Verification, FileIsReadOncePerAlgorithmWhateverItIsCalled) {
  using enum HashAlgorithm::Case;
  folder.file("root/a", "content");
  fs::create_hard_link(root / "a", root / "dir/b");
  link("../a", "dir/link");
  folder.file("root/same content", "content");
  ManifestVerification verification = begun();
  const std::string before = outcomeOf(verification, groupOf("a"));
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
    EXPECT_EQ(outcomeOf(verification, group).size(), group.entries.front().get().algorithm.hexLength());
    EXPECT_EQ(std::ranges::count(system.names, "read"), reads) << path;
    EXPECT_EQ(system.stillOpen, 0);
  }
  // Neither what is written into it nor what takes its place is taken for the file that was read.
  folder.file("root/a", "CONTENT");
  EXPECT_NE(digestOf(root / "a"), before);
  EXPECT_EQ(outcomeOf(verification, groupOf("a")), digestOf(root / "a"));
  fs::rename(folder.file("root/dir/new", "Content"), root / "dir/b");
  EXPECT_EQ(outcomeOf(verification, groupOf("dir/b")), digestOf(root / "dir/b"));
}

TEST(ManifestFileContentIdentity, IsThatOfOneVersionOfOneFile) {
  const auto identity = ManifestFileContentIdentity();
  FileSnapshot changed;
  for (std::uint64_t FileSnapshot::*const field : {&FileSnapshot::device, &FileSnapshot::inode}) {
    changed = {};
    changed.*field = 1;
    EXPECT_NE(ManifestFileContentIdentity(changed), identity);
  }
  int number = 0;
  for (std::int64_t FileSnapshot::*const field :
       {&FileSnapshot::fileSize, &FileSnapshot::modifiedSeconds, &FileSnapshot::modifiedNanoseconds,
        &FileSnapshot::changedSeconds, &FileSnapshot::changedNanoseconds}) {
    changed = {};
    changed.*field = 1;
    EXPECT_NE(ManifestFileContentIdentity(changed), identity) << "field " << number++;
  }
}

TEST_F(Verification, CancellationEndsTheGroupAndKeepsNothingOfIt) {
  folder.file("root/a", period251(20'000'000));
  ManifestVerification verification = begun();
  std::stop_source source;
  {
    WatchedSystemCalls system;
    system.before = [&](std::string_view name, std::size_t) {
      if (name == "read") source.request_stop();
      return 0;
    };
    EXPECT_THROW(verification.verify(groupOf("a"), source.get_token()), CancellationError);
    EXPECT_EQ(std::ranges::count(system.names, "read"), 1);
  }
  EXPECT_EQ(outcomeOf(verification, groupOf("a")), digestOf(root / "a"));
  EXPECT_THROW(verification.verify(groupOf("a"), source.get_token()), CancellationError);
}

/// The tree changes right before every call: what is inside, or a sentence.
TEST_F(Verification, ChangeAtAnyMomentIsNeverAMatchOfWhatIsOutside) {
  const fs::path file = folder.file("root/dir/a", "inside");
  fs::create_directories(folder.path() / "outside/dir");
  const std::string outside = digestOf(folder.file("outside/a", "OUTSID"));
  folder.file("outside/dir/a", "OUTSID");  // Where it would be, were that the root.
  const std::string inside = digestOf(file);
  link("dir", "link");
  const fs::path aside = folder.path() / "aside";
  const fs::path outsider = folder.path() / "outside";
  struct {
    std::string what;
    fs::path item;                                      // Goes away ...
    std::function<void(const fs::path& item)> replace;  // ... and this takes its place.
  } const changes[]{
      {"file becomes a link", file, [&](const fs::path& item) { fs::create_symlink(outsider / "a", item); }},
      {"folder becomes a link", root / "dir", [&](const fs::path& item) { fs::create_symlink(outsider, item); }},
      {"root becomes a link", root, [&](const fs::path& item) { fs::create_symlink(outsider, item); }},
      {"file is replaced", file, [](const fs::path& item) { std::ofstream(item) << "INSIDE"; }},
      {"file becomes a pipe", file, [](const fs::path& item) { mkfifo(item.c_str(), 0600); }},
      {"file is removed", file, [](const fs::path&) {}},
  };
  for (const char* const path : {"dir/a", "link/a"}) {
    std::size_t captureCount = 0;
    std::size_t callCount = 0;
    {
      const WatchedSystemCalls system;
      ManifestVerification verification = begun();
      captureCount = system.names.size();
      EXPECT_EQ(outcomeOf(verification, groupOf(path)), inside);
      callCount = system.names.size();
    }
    for (const auto& change : changes) {
      bool wasNoticed = false;
      for (std::size_t call = 1; call <= callCount; ++call) {
        WatchedSystemCalls system;
        system.before = [&](std::string_view, std::size_t number) {
          if (number != call) return 0;
          fs::rename(change.item, aside);
          change.replace(change.item);
          return 0;
        };
        std::string outcome = "none";
        try {
          outcome = outcomeOf(path);
        } catch (const ManifestPathError& error) {
          outcome = error.what();  // Of capturing the root.
        }
        // What becomes the root before it was captured is not outside.
        if (change.item == root && call <= captureCount) outcome = kRootChanged;
        EXPECT_NE(outcome, outside) << path << ": " << change.what << " before call " << call;
        EXPECT_EQ(system.stillOpen, 0);
        wasNoticed = wasNoticed || outcome != inside;
        fs::remove(change.item);
        fs::rename(aside, change.item);  // Throws when nothing was changed.
      }
      EXPECT_TRUE(wasNoticed) << change.what;
    }
  }
}

class RacedVerification : public RootTest, public testing::WithParamInterface<std::tuple<const char*, bool>> {};

TEST_P(RacedVerification, NoByteFromOutsideIsEverHashed) {
  const auto [swapped, isOldSystem] = GetParam();
  fs::create_directories(folder.path() / "outside/dir/sub");
  const std::string inside = digestOf(folder.file("root/dir/sub/a", "inside"));
  const std::string outside = digestOf(folder.file("outside/dir/sub/a", "OUTSID"));
  link("dir/sub", "link");
  fs::create_symlink(folder.path() / "outside" / swapped, folder.path() / "swap");

  WatchedSystemCalls system;
  system.before = withoutOpenat2(isOldSystem ? ENOSYS : 0);
  std::map<std::string, int> outcomes;
  const OtherProgram swapper({FOLDER_SWAPPER, root / swapped, folder.path() / "swap"});
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  for (int run = 0; run < 3000 || outcomes[inside] == 0 || outcomes[kOutside] == 0; ++run) {
    ASSERT_LT(std::chrono::steady_clock::now(), limit) << testing::PrintToString(outcomes);
    system.names.clear();
    ManifestVerification verification = begun();
    for (const char* const path : {"dir/sub/a", "link/a", "../root/dir/sub/a"}) {
      ++outcomes[outcomeOf(verification, groupOf(path))];
    }
  }
  EXPECT_EQ(outcomes[outside], 0) << testing::PrintToString(outcomes);
}

// To swap what is in a folder of it leaves the root itself as it is.
INSTANTIATE_TEST_SUITE_P(Swapping, RacedVerification,
                         testing::Combine(testing::Values("dir/sub", "dir/sub/a"), testing::Bool()),
                         [](const auto& test) {
                           const bool isFolder = std::string_view(std::get<0>(test.param)) == "dir/sub";
                           return std::string(isFolder ? "Folder" : "File") +
                                  (std::get<1>(test.param) ? "OnAnOldSystem" : "");
                         });

using Names = std::vector<std::string>;

Names operator+(Names names, const Names& more) {
  names.insert(names.end(), more.begin(), more.end());
  return names;
}

class ListsOfOtherTools : public RootTest {
 protected:
  ListsOfOtherTools() {
    for (const std::string& name : allOfCoreutils) folder.file("root/" + name, "content of " + name);
  }

  /// What a tool writes about these files of the root.
  [[nodiscard]] std::string outputOf(const Names& tool, const Names& files) const {
    return test::outputOf(Names{"env", "--chdir=" + root.native()} + tool + files);
  }

  /// Expects of a list that so many entries match, and so many lines are none, when there is a number of these.
  void expectVerified(const fs::path& list, std::int64_t matches, std::int64_t unsupported,
                      std::optional<std::int64_t> ignored, const std::string& what) const {
    const ParseResult result = load(list, {});
    EXPECT_EQ(result.unsupportedLineCount, unsupported) << what;
    EXPECT_EQ(result.ignoredLineCount, ignored.value_or(result.ignoredLineCount)) << what;
    EXPECT_EQ(std::ssize(result.entries), matches) << what;
    ManifestVerification verification = begun();
    for (const ManifestFileGroup& group : groupEntries(result.entries, {})) {
      const ManifestGroupOutcome outcome = verification.verify(group, {});
      const auto* const digests = std::get_if<DigestMap>(&outcome);
      ASSERT_NE(digests, nullptr) << what << ": " << group.relativePath << ": " << std::get<std::string>(outcome);
      for (const ChecksumManifestEntry& entry : group.entries) {
        EXPECT_EQ(digests->find(entry.algorithm), entry.expectedHash) << what << ": " << group.relativePath;
      }
    }
  }

  const Names simple{"plain",           "my (copy).iso", "[brackets] {}", "  two leading",
                     "dir/in a folder", "caf\u00E9",     "cafe\u0301",    "a) = b"};
  const Names more = simple + Names{"trailing  ", "#hash", "*star", " *"};
  const Names all = more + Names{"new\nline", "back\\slash"};
  const Names allOfCoreutils = all + Names{"re\rturn"};
};

TEST_F(ListsOfOtherTools, AreVerifiedOrSaidToBeUnsupported) {
  struct {
    Names command;
    std::string list;
    Names files;
    bool isSupported = true;
    std::optional<std::int64_t> comments = {};
  } const tools[]{
      {{"md5sum"}, "sums.txt", allOfCoreutils, true, 0},
      {{"sha256sum"}, "SHA256SUMS", allOfCoreutils, true, 0},
      {{"sha256sum"}, "sums.txt", allOfCoreutils, false},  // Perhaps BLAKE3.
      {{"sha256sum", "--binary"}, "a.sha256", allOfCoreutils, true, 0},
      {{"sha512sum"}, "sums.txt", allOfCoreutils, true, 0},
      {{"sha256sum", "--tag"}, "sums.txt", more, true, 0},
      {{"cksum", "-a", "sha256"}, "sums.txt", more, true, 0},
      {{"cksum", "-a", "sha1", "--untagged"}, "sums.txt", allOfCoreutils, true, 0},
      {{"cksum", "-a", "crc"}, "sums.txt", more, false},
      {{"cksum", "-a", "blake2b"}, "sums.txt", more, false},
      {{"b3sum"}, "B3SUMS", all, true, 0},
      {{"b3sum"}, "sums.txt", all, false},
      {{"rhash", "--bsd", "--sha224"}, "sums.txt", more},
      {{"rhash", "--bsd", "--md5", "--sha1", "--crc32"}, "sums.txt", simple},
      {{"rhash", "--sha1"}, "sums.txt", simple},
      {{"rhash", "--sfv"}, "sums.sfv", simple},
      {{"cksfv", "-q"}, "sums.sfv", simple},
      {{"cksfv"}, "sums.sfv", simple},
      {{"openssl", "dgst", "-sha256"}, "sums.txt", more, false},
      {{"openssl", "dgst", "-r", "-sha1"}, "sums.txt", all, true, 0},
      {{"openssl", "dgst", "-r", "-sha256"}, "SHA256SUMS", all, true, 0},
  };
  for (const auto& [command, name, files, isSupported, comments] : tools) {
    const auto count = std::ssize(files);
    const int algorithms = std::ranges::count(command, "--md5") != 0 ? 3 : 1;
    expectVerified(folder.file(name, outputOf(command, files)), isSupported ? algorithms * count : 0,
                   isSupported ? 0 : count, comments, testing::PrintToString(command) + " " + name);
  }
}

TEST_F(ListsOfOtherTools, FormIsNoMatter) {
  const std::string list = outputOf({"sha256sum"}, allOfCoreutils);
  const auto withBreaks = [&](const std::string& lineBreak) {
    std::string text;
    for (const char c : list) text += c == '\n' ? lineBreak : std::string(1, c);
    return text;
  };
  const auto inEncoding = [&](const std::string& encoding, std::string_view text) {
    const fs::path source = folder.file("source", text);
    return test::outputOf({"iconv", "--from-code=UTF-8", "--to-code=" + encoding, source});
  };
  const auto count = std::ssize(allOfCoreutils);
  struct {
    std::string what;
    std::string text;
    std::int64_t ignored = 0;
    std::int64_t unsupported = 0;
  } const forms[]{
      {"CR LF", withBreaks("\r\n")},
      {"CR", withBreaks("\r")},
      {"CR CR LF", withBreaks("\r\r\n"), count},
      {"byte-order mark", "\uFEFF" + list},
      {"UTF-16LE with a mark", inEncoding("UTF-16LE", "\uFEFF" + list)},
      {"UTF-16BE with a mark", inEncoding("UTF-16BE", "\uFEFF" + withBreaks("\r\n"))},
      {"UTF-16LE", inEncoding("UTF-16LE", withBreaks("\r\n"))},
      {"UTF-16BE", inEncoding("UTF-16BE", list)},
      {"signed",
       "-----BEGIN PGP SIGNED MESSAGE-----\nHash: SHA512\n\n" + list +
           "-----BEGIN PGP SIGNATURE-----\n\niHUEARYKAB0WIQ\n=Ab3d\n-----END PGP SIGNATURE-----\n",
       2, 6},
      {"sections", "# first\n\n" + list + "\n; second\n  # third", 5},
  };
  for (const auto& [what, text, ignored, unsupported] : forms) {
    expectVerified(folder.file("SHA256SUMS", text), count, unsupported, ignored, what);
  }
  const std::string several = "# SHA-1\r\n" + outputOf({"sha1sum"}, simple) + "\n; CRC-32\n" +
                              outputOf({"rhash", "--sfv"}, simple) + outputOf({"cksum", "-a", "sha512"}, simple);
  expectVerified(folder.file("sums.txt", several), 3 * std::ssize(simple), 0, {}, "several algorithms");
  std::string windows = outputOf({"sha1sum"}, {"dir/in a folder"});
  std::ranges::replace(windows, '/', '\\');
  expectVerified(folder.file("sums.txt", windows), 1, 0, 0, "of another system");
}

}  // namespace

}  // namespace tallyfold::test
