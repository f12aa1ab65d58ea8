#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "checksums/ManifestVerification.h"
#include "core/Errors.h"
#include "core/HashService.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold {
namespace {

using namespace ChecksumManifestService;
namespace fs = std::filesystem;
using testing::AnyOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

const std::string kOutside = "A manifest path resolves outside the selected root folder.";
const std::string kAbsolute = "Absolute paths are not allowed in manifest verification.";
const std::string kNotRegular = "The selected item is not a regular file.";
const std::string kMissing = "No such file or directory";
const std::string kFileChanged = "The file changed while it was being read. Run the operation again on a stable file.";
const std::string kRootChanged =
    "The manifest root folder changed while verification was running. Run verification again on a stable folder tree.";
const std::string kPathChanged =
    "A manifest path changed while it was being verified. Run verification again on a stable folder tree.";

std::string digestOf(const fs::path& file, HashAlgorithm algorithm = HashAlgorithm::sha256) {
  return std::string(*HashService::hashFile(file, Uuid(), {algorithm}, {}, [](double) {}).hashes.find(algorithm));
}

ManifestFileGroup groupOf(const std::string& path, HashAlgorithmSet algorithms = {HashAlgorithm::sha256}) {
  ManifestFileGroup group{.relativePath = path, .entries = {}};
  for (const HashAlgorithm algorithm : algorithms) group.entries.push_back({Uuid::random(), 1, path, algorithm, ""});
  return group;
}

/// The digest of the first algorithm of a group, or the sentence about it.
std::string outcomeOf(ManifestVerification& verification, const ManifestFileGroup& group) {
  const ManifestGroupOutcome outcome = verification.verify(group, {});
  if (const auto* const sentence = std::get_if<std::string>(&outcome)) return *sentence;
  const DigestMap& digests = std::get<DigestMap>(outcome);
  for (const HashAlgorithm algorithm : group.algorithms()) EXPECT_TRUE(digests.find(algorithm));
  return std::string(digests.find(group.entries.front().algorithm).value_or("none"));
}

class Verification : public testing::Test {
 protected:
  Verification() { fs::create_directories(root / "dir"); }

  [[nodiscard]] ManifestVerification begun() const { return {root, captureRootIdentity(root, {})}; }

  [[nodiscard]] std::string outcomeOf(const ManifestFileGroup& group) const {
    ManifestVerification verification = begun();
    return tallyfold::outcomeOf(verification, group);
  }

  test::TemporaryFolder folder;
  const fs::path root = fs::canonical(folder.path()) / "root";
};

TEST_F(Verification, OutcomesInWords) {
  const std::string in = digestOf(folder.file("root/dir/in.txt", "inside"));
  folder.file("out.txt", "outside");
  ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
  const auto link = [&](const fs::path& target, const std::string& name) { fs::create_symlink(target, root / name); };
  link("dir/in.txt", "link");
  link(root / "dir", "absolute link");
  link("../out.txt", "link out");
  link("..", "link up");
  link("dangling", "dangling");
  link("missing/../dir/in.txt", "link through nothing");
  link("dir/in.txt/../in.txt", "link through a file");
  link("nowhere", "link to nowhere");
  link("pipe", "link to pipe");
  link("/dev/zero", "link to device");
  const std::vector<std::pair<std::string, std::string>> outcomes{
      {"dir/in.txt", in},
      {"./dir//../dir/in.txt", in},
      {"../root/dir/in.txt", in},
      {R"(dir\in.txt)", in},
      {"link", in},
      {"absolute link/in.txt", in},
      {"link up/root/dir/in.txt", in},
      {"missing.txt", kMissing},
      {R"(dir\missing.txt)", kMissing},
      {"link to nowhere", kMissing},
      {"link through nothing", kMissing},
      {"link through a file", "Not a directory"},
      {"dir/in.txt/x", "Not a directory"},
      {"dangling", "Too many levels of symbolic links"},
      {std::string(300, 'x'), "File name too long"},
      {"dir", kNotRegular},
      {"pipe", kNotRegular},
      {"link to pipe", kNotRegular},
      {"link to device", kOutside},
      {"link out", kOutside},
      {"link up/out.txt", kOutside},
      {"../out.txt", kOutside},
      {".", kOutside},
      {"/etc/passwd", kAbsolute},
      {R"(C:\dir\in.txt)", kAbsolute},
      {"", "The manifest contains an empty file path."},
      {std::string("a\0b", 3), "The manifest contains a file path that cannot exist on macOS."},
  };
  test::WatchedSystemCalls system;
  for (const bool isOldSystem : {false, true}) {
    system.before = [=](std::string_view name, std::size_t) { return isOldSystem && name == "openat2" ? ENOSYS : 0; };
    for (const auto& [path, outcome] : outcomes) {
      EXPECT_EQ(outcomeOf(groupOf(path)), outcome) << testing::PrintToString(path) << (isOldSystem ? " (old)" : "");
    }
  }
  EXPECT_EQ(system.stillOpen, 0);
}

TEST_F(Verification, RootThatIsAnotherFolderByNowFailsEveryGroup) {
  folder.file("root/dir/in.txt", "inside");
  ManifestVerification verification = begun();
  fs::rename(root, folder.path() / "moved");
  EXPECT_EQ(tallyfold::outcomeOf(verification, groupOf("dir/in.txt")), kRootChanged);
  fs::create_directories(root / "dir");
  folder.file("root/dir/in.txt", "inside");
  EXPECT_EQ(tallyfold::outcomeOf(verification, groupOf("dir/in.txt")), kRootChanged);
  EXPECT_EQ(tallyfold::outcomeOf(verification, groupOf("missing")), kRootChanged);
}

/// Calls while a group is verified, but for those that look at the root.
std::vector<std::string_view> callsFor(ManifestVerification& verification, const ManifestFileGroup& group) {
  test::WatchedSystemCalls system;
  EXPECT_EQ(tallyfold::outcomeOf(verification, group).size(), group.entries.front().algorithm.hexLength());
  const auto end = std::find(system.names.begin(), system.names.end(), "stat");
  EXPECT_EQ(system.stillOpen, 0);
  return {end, system.names.end()};
}

TEST_F(Verification, FileIsReadOncePerAlgorithmWhateverItIsCalled) {
  using enum HashAlgorithm::Case;
  folder.file("root/a", "content");
  fs::create_hard_link(root / "a", root / "dir/b");
  fs::create_symlink("../a", root / "dir/link");
  folder.file("root/same content", "content");
  ManifestVerification verification = begun();
  EXPECT_EQ(tallyfold::outcomeOf(verification, groupOf("a")), digestOf(root / "a"));  // Opens the root.

  const std::vector<std::string_view> hashed{"stat", "fstatat", "openat2", "fstat", "read", "fstat", "fstatat"};
  const auto readsFor = [&](const std::string& path, HashAlgorithmSet algorithms) {
    return std::ranges::count(callsFor(verification, groupOf(path, algorithms)), "read");
  };
  EXPECT_EQ(readsFor("a", {sha256}), 0);
  EXPECT_EQ(readsFor("dir/b", {sha256}), 0);
  EXPECT_THAT(callsFor(verification, groupOf("dir/b", {sha256, blake3, crc32})), testing::Contains("read").Times(1));
  EXPECT_EQ(readsFor("dir/link", {crc32}), 0);
  EXPECT_EQ(readsFor("a", {sha256, blake3, crc32}), 0);
  EXPECT_EQ(readsFor("a", HashAlgorithmSet::all()), 1);
  EXPECT_THAT(callsFor(verification, groupOf("same content", HashAlgorithmSet::all())), ElementsAreArray(hashed));
  EXPECT_EQ(readsFor("same content", HashAlgorithmSet::all()), 0);

  const std::string before = digestOf(root / "a");
  folder.file("root/a", "CONTENT");
  EXPECT_NE(digestOf(root / "a"), before);
  EXPECT_EQ(tallyfold::outcomeOf(verification, groupOf("a")), digestOf(root / "a"));
}

TEST_F(Verification, CancellationEndsTheGroupAndKeepsNothingOfIt) {
  folder.file("root/a", test::period251(20'000'000));
  ManifestVerification verification = begun();
  std::stop_source source;
  {
    test::WatchedSystemCalls system;
    system.before = [&](std::string_view name, std::size_t) {
      if (name == "read") source.request_stop();
      return 0;
    };
    EXPECT_THROW(verification.verify(groupOf("a"), source.get_token()), CancellationError);
    EXPECT_EQ(std::ranges::count(system.names, "read"), 1);
  }
  EXPECT_EQ(tallyfold::outcomeOf(verification, groupOf("a")), digestOf(root / "a"));
  EXPECT_THROW(verification.verify(groupOf("a"), source.get_token()), CancellationError);
}

/// The tree changes right before every call: what is inside, or a sentence.
TEST_F(Verification, ChangeAtAnyMomentIsNeverAMatchOfWhatIsOutside) {
  const fs::path file = folder.file("root/dir/a", "inside");
  fs::create_directories(folder.path() / "outside");
  const std::string outside = digestOf(folder.file("outside/a", "OUTSID"));
  const std::string inside = digestOf(file);
  fs::create_symlink("dir", root / "link");
  const fs::path aside = folder.path() / "aside";
  struct {
    std::string what;
    std::function<void()> change;
    std::function<void()> undo;
  } const changes[]{
      {"file becomes a link", [&] { fs::rename(file, aside), fs::create_symlink(folder.path() / "outside/a", file); },
       [&] { fs::remove(file), fs::rename(aside, file); }},
      {"folder becomes a link",
       [&] { fs::rename(root / "dir", aside), fs::create_symlink(folder.path() / "outside", root / "dir"); },
       [&] { fs::remove(root / "dir"), fs::rename(aside, root / "dir"); }},
      {"root becomes a link", [&] { fs::rename(root, aside), fs::create_symlink("outside", root); },
       [&] { fs::remove(root), fs::rename(aside, root); }},
      {"file is replaced", [&] { fs::rename(file, aside), std::ofstream(file) << "INSIDE"; },
       [&] { fs::rename(aside, file); }},
      {"file becomes a pipe", [&] { fs::rename(file, aside), mkfifo(file.c_str(), 0600); },
       [&] { fs::rename(aside, file); }},
      {"file is removed", [&] { fs::rename(file, aside); }, [&] { fs::rename(aside, file); }},
  };
  for (const char* const path : {"dir/a", "link/a"}) {
    std::size_t callCount = 0;
    {
      const test::WatchedSystemCalls system;
      EXPECT_EQ(outcomeOf(groupOf(path)), inside);
      callCount = system.names.size();
    }
    for (const auto& [what, change, undo] : changes) {
      bool wasNoticed = false;
      for (std::size_t call = 1; call <= callCount; ++call) {
        test::WatchedSystemCalls system;
        bool isChanged = false;
        system.before = [&, make = change](std::string_view, std::size_t number) {
          if (number == call) make(), isChanged = true;
          return 0;
        };
        std::string outcome = "none";
        try {
          outcome = outcomeOf(groupOf(path));
        } catch (const ManifestPathError& error) {
          outcome = error.what();  // Of capturing the root.
        }
        EXPECT_TRUE(isChanged);
        EXPECT_NE(outcome, outside) << path << ": " << what << " before call " << call;
        EXPECT_EQ(system.stillOpen, 0);
        wasNoticed = wasNoticed || outcome != inside;
        undo();
      }
      EXPECT_TRUE(wasNoticed) << what;
    }
  }
}

/// Another process that exchanges two items for as long as this lives.
class Swapper {
 public:
  Swapper(const fs::path& a, const fs::path& b) {
    std::vector<std::string> words{FOLDER_SWAPPER, a, b};
    std::vector<char*> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
    if (posix_spawn(&process_, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
      throw std::runtime_error("cannot start " + words[0]);
    }
  }
  ~Swapper() {
    kill(process_, SIGKILL);
    int status = 0;
    waitpid(process_, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "it could not swap";
  }
  Swapper(const Swapper&) = delete;
  Swapper& operator=(const Swapper&) = delete;

 private:
  pid_t process_ = 0;
};

class RacedVerification : public Verification, public testing::WithParamInterface<std::tuple<const char*, bool>> {};

TEST_P(RacedVerification, NoByteFromOutsideIsEverHashed) {
  const auto [swapped, isOldSystem] = GetParam();
  fs::create_directories(root / "dir/sub");  // To swap it leaves the root itself as it is.
  fs::create_directories(folder.path() / "outside/dir/sub");
  const std::string inside = digestOf(folder.file("root/dir/sub/a", "inside"));
  const std::string outside = digestOf(folder.file("outside/dir/sub/a", "OUTSID"));
  fs::create_symlink("dir/sub", root / "link");
  fs::create_symlink(folder.path() / "outside" / swapped, folder.path() / "swap");

  test::WatchedSystemCalls system;
  system.before = [old = isOldSystem](std::string_view name, std::size_t) {
    return old && name == "openat2" ? ENOSYS : 0;
  };
  std::map<std::string, int> outcomes;
  const Swapper swapper(root / swapped, folder.path() / "swap");
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  for (int run = 0; run < 3000 || outcomes.size() < 2; ++run) {
    ASSERT_LT(std::chrono::steady_clock::now(), limit) << testing::PrintToString(outcomes);
    system.names.clear();
    ManifestVerification verification = begun();
    for (const char* const path : {"dir/sub/a", "link/a", "../root/dir/sub/a"}) {
      ++outcomes[tallyfold::outcomeOf(verification, groupOf(path))];
    }
  }
  EXPECT_EQ(outcomes[outside], 0) << testing::PrintToString(outcomes);
  EXPECT_GT(outcomes[inside], 0) << testing::PrintToString(outcomes);
  EXPECT_GT(outcomes[kOutside], 0) << testing::PrintToString(outcomes);
}

INSTANTIATE_TEST_SUITE_P(Swapping, RacedVerification,
                         testing::Combine(testing::Values("dir/sub", "dir/sub/a"), testing::Bool()),
                         [](const auto& test) {
                           const bool isFolder = std::string_view(std::get<0>(test.param)) == "dir/sub";
                           return std::string(isFolder ? "Folder" : "File") +
                                  (std::get<1>(test.param) ? "OnAnOldSystem" : "");
                         });

/// What verifying a whole list came to.
struct Summary {
  int matches = 0;
  int mismatches = 0;
  std::vector<std::string> failures;
  std::int64_t ignored = 0;
  std::int64_t unsupported = 0;
};

Summary verified(const fs::path& list, const fs::path& root) {
  const ParseResult result = load(list, {});
  Summary summary{.failures = {}, .ignored = result.ignoredLineCount, .unsupported = result.unsupportedLineCount};
  ManifestVerification verification(root, captureRootIdentity(root, {}));
  for (const ManifestFileGroup& group : groupEntries(result.entries, {})) {
    const ManifestGroupOutcome outcome = verification.verify(group, {});
    for (const ChecksumManifestEntry& entry : group.entries) {
      if (const auto* const sentence = std::get_if<std::string>(&outcome)) {
        summary.failures.push_back(entry.relativePath + ": " + *sentence);
      } else {
        const bool isMatch = std::get<DigestMap>(outcome).find(entry.algorithm) == entry.expectedHash;
        ++(isMatch ? summary.matches : summary.mismatches);
      }
    }
  }
  return summary;
}

class ListsOfOtherTools : public Verification {
 protected:
  ListsOfOtherTools() {
    for (const std::string& name : {plain, spaced, escaped, std::string("re\rturn")}) {
      for (const std::string& file : names(name)) folder.file("root/" + file, "content of " + file);
    }
  }

  static std::vector<std::string> names(std::string_view text) {
    std::vector<std::string> result;
    for (; !text.empty(); text.remove_prefix(std::min(text.find('|') + 1, text.size()))) {
      result.emplace_back(text.substr(0, text.find('|')));
      if (text.find('|') == std::string_view::npos) break;
    }
    return result;
  }

  /// What a tool writes about these files of the root.
  [[nodiscard]] std::string outputOf(std::vector<std::string> tool, const std::vector<std::string>& files) const {
    tool.insert(tool.begin(), {"env", "--chdir=" + root.native()});
    tool.insert(tool.end(), files.begin(), files.end());
    return test::outputOf(tool);
  }

  const std::string plain =
      "plain|my (copy).iso|[brackets] {}|  two leading|dir/in a folder|caf\u00E9|cafe\u0301|a) = b";
  const std::string spaced = "trailing  |#hash|*star| *";
  const std::string escaped = "new\nline|back\\slash";
};

TEST_F(ListsOfOtherTools, AreVerifiedOrSaidToBeUnsupported) {
  const std::vector<std::string> simple = names(plain);
  std::vector<std::string> more = simple;
  for (const std::string& name : names(spaced)) more.push_back(name);
  std::vector<std::string> all = more;
  for (const std::string& name : names(escaped)) all.push_back(name);
  std::vector<std::string> allOfCoreutils = all;
  allOfCoreutils.push_back("re\rturn");

  struct {
    std::vector<std::string> command;
    std::string list;
    std::vector<std::string> files;
    bool isSupported = true;
    std::int64_t comments = -1;  // As many as there may be when negative.
    std::int64_t unsupported = 0;
  } const tools[]{
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
      {{"rhash", "--bsd", "--sha256"}, "sums.txt", more},
      {{"rhash", "--bsd", "--md5", "--sha1", "--crc32"}, "sums.txt", simple},
      {{"rhash", "--sfv"}, "sums.sfv", simple},
      {{"cksfv", "-q"}, "sums.sfv", simple},
      {{"cksfv"}, "sums.sfv", simple},
      {{"openssl", "dgst", "-sha256"}, "sums.txt", more, false},
      {{"openssl", "dgst", "-r", "-sha1"}, "sums.txt", all, true, 0},
      {{"openssl", "dgst", "-r", "-sha256"}, "SHA256SUMS", all, true, 0},
  };
  for (const auto& [command, name, files, isSupported, comments, unsupported] : tools) {
    const std::string what = testing::PrintToString(command) + " " + name;
    const Summary summary = verified(folder.file(name, outputOf(command, files)), root);
    const auto algorithms = std::ranges::count(command, "--md5") != 0 ? 3U : 1U;
    EXPECT_EQ(static_cast<std::size_t>(summary.matches), isSupported ? algorithms * files.size() : 0) << what;
    EXPECT_THAT(summary.failures, IsEmpty()) << what;
    EXPECT_EQ(summary.mismatches, 0) << what;
    EXPECT_EQ(summary.unsupported, isSupported ? unsupported : std::ssize(files)) << what;
    EXPECT_TRUE(comments < 0 || summary.ignored == comments) << what << summary.ignored;
  }
}

TEST_F(ListsOfOtherTools, FormIsNoMatter) {
  std::vector<std::string> files = names(plain);
  for (const std::string& name : names(spaced)) files.push_back(name);
  for (const std::string& name : names(escaped)) files.push_back(name);
  files.push_back("re\rturn");
  const std::string list = outputOf({"sha256sum"}, files);
  const auto withBreaks = [&](std::string_view lineBreak) {
    std::string text;
    for (const char c : list) c == '\n' ? text += lineBreak : text += c;
    return text;
  };
  std::string upperCase = list;
  for (std::size_t start = 0; start < upperCase.size(); start = upperCase.find('\n', start) + 1) {
    for (std::size_t i = start; i < start + 65; ++i) {
      if (upperCase[i] >= 'a' && upperCase[i] <= 'f') upperCase[i] = static_cast<char>(upperCase[i] - 'a' + 'A');
    }
  }
  const auto inEncoding = [&](const std::string& encoding, std::string_view text) {
    const fs::path source = folder.file("source", text);
    return test::outputOf({"iconv", "--from-code=UTF-8", "--to-code=" + encoding, source});
  };
  const auto count = std::ssize(files);
  struct {
    std::string what;
    std::string text;
    std::int64_t ignored = 0;
    std::int64_t unsupported = 0;
  } const forms[]{
      {"as it is", list},
      {"CR LF", withBreaks("\r\n")},
      {"CR", withBreaks("\r")},
      {"CR CR LF", withBreaks("\r\r\n"), count},
      {"empty lines", withBreaks("\n\n"), count},
      {"byte-order mark", "\uFEFF" + list},
      {"upper case", upperCase},
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
    const Summary summary = verified(folder.file("SHA256SUMS", text), root);
    EXPECT_EQ(summary.matches, count) << what;
    EXPECT_THAT(summary.failures, IsEmpty()) << what;
    EXPECT_EQ(summary.ignored, ignored) << what;
    EXPECT_EQ(summary.unsupported, unsupported) << what;
  }
}

TEST_F(ListsOfOtherTools, OneListOfSeveralAlgorithmsAndOfAnotherSystem) {
  const std::vector<std::string> files = names(plain);
  std::string text = "# SHA-1\r\n" + outputOf({"sha1sum"}, files) + "\n; CRC-32\n" +
                     outputOf({"rhash", "--sfv"}, files) + outputOf({"cksum", "-a", "sha512"}, files);
  const Summary summary = verified(folder.file("sums.txt", text), root);
  EXPECT_EQ(summary.matches, 3 * std::ssize(files));
  EXPECT_THAT(summary.failures, IsEmpty());
  EXPECT_EQ(summary.unsupported, 0);

  std::string windows = outputOf({"sha1sum"}, {"dir/in a folder"});
  std::ranges::replace(windows, '/', '\\');
  EXPECT_EQ(verified(folder.file("sums.txt", windows), root).matches, 1);
}

TEST_F(ListsOfOtherTools, ExactlyWhatIsWrongIsReported) {
  const std::vector<std::string> files = names(plain);
  const fs::path list = folder.file("SHA256SUMS", outputOf({"sha256sum"}, files));
  fs::resize_file(root / "plain", 3);
  fs::remove(root / "my (copy).iso");
  fs::remove(root / "[brackets] {}");
  fs::create_symlink(folder.file("elsewhere", "content of [brackets] {}"), root / "[brackets] {}");
  const Summary summary = verified(list, root);
  EXPECT_EQ(summary.matches, std::ssize(files) - 3);
  EXPECT_EQ(summary.mismatches, 1);
  EXPECT_THAT(summary.failures, ElementsAre("my (copy).iso: " + kMissing, "[brackets] {}: " + kOutside));
}

}  // namespace
}  // namespace tallyfold
