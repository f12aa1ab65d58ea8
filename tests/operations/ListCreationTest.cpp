// Lists of whole folders: what is found, written, and understood by other programs and by ourselves.

#include <dirent.h>

#include "checksums/paths/FolderFiles.h"
#include "export/lists/ChecksumList.h"
#include "tests/operations/Operations.h"
#include "tests/support/Process.h"

namespace tallyfold::test {
namespace {

using ChecksumList::Form;

/// What names may hold that lines of lists, or the programs that read them, give a meaning to.
std::vector<std::string> hostileNames() {
  std::vector<std::string> names;
  for (const std::string_view part :
       {"\n", "\r", "\\",   "\"",   "'",        "-",      "--",     "*",      " ",      "  ",      "\t", "#",    ";",
        "(",  ")",  " = ",  ") = ", "SHA256 (", "%0A",    "\\n",    "\\r",    "$(a)",   "`",       "&",  "?",    "[a]",
        "~",  ".",  "\x01", "\x7F", "\u0085",   "\u00A0", "\u2028", "\u202E", "\uFEFF", "e\u0301", "é",  "日本", "😀"}) {
    for (const std::string_view pattern :
         {"@a", "a@", "a@b", "@@c@@", "d@/@e", "@f@00000000", "0123456789abcdef@", "@/g"}) {
      std::string name;
      for (const char character : pattern) name.append(character == '@' ? part : std::string_view(&character, 1));
      if (name == "-/g") name = "-";  // To most programs it is the standard input.
      if (name != "./g") names.push_back(std::move(name));
    }
  }
  return names;
}

TEST(ListCreation, ListsOfHostileNamesAreUnderstood) {
  using enum HashAlgorithm::Case;
  const TemporaryFolder folder;
  const fs::path root = folder.path() / "root";
  std::vector<std::string> names = hostileNames();
  for (const std::string& name : names) {
    fs::create_directories((root / name).parent_path());
    std::ofstream(root / name) << name;
  }
  std::ranges::sort(names);
  const FolderFiles files(ChecksumManifestService::captureRootIdentity(root, {}));
  std::vector<std::string> found;
  EXPECT_TRUE(files.walk({}, [&](std::string path) { return found.push_back(std::move(path)), true; }).isComplete);
  std::ranges::sort(found);
  EXPECT_EQ(found, names);
  EXPECT_FALSE(files.walk({}, [&](const std::string&) { return false; }).isComplete);
  using Names = bool (*)(const std::string& name);
  const Names all = [](auto&) { return true; };
  // It reads no escapes, takes control characters for those of a program, and strips names.
  const Names ofRhash = [](auto& name) {
    return name.find_first_of("\x01\n\r\\") == name.npos && name.find_first_of(" \t*") != 0 &&
           name.find_last_of(" \t") != name.size() - 1;
  };
  const Names ofB3sum = [](auto& name) { return name.find('\r') == name.npos; };
  struct Checker {
    std::string command;
    Names understands;
  };
  struct {
    Form form;
    HashAlgorithmSet algorithms;
    std::size_t carried;
    std::vector<Checker> checkers;
  } const lists[]{
      {Form::gnu, {md5}, 311, {{"md5sum -c --strict --quiet", all}, {"rhash -c --skip-ok", ofRhash}}},
      {Form::gnu, {sha256}, 311, {{"sha256sum -c --strict --quiet", all}, {"rhash -c --skip-ok", ofRhash}}},
      {Form::gnu, {blake3}, 311, {{"b3sum -c --quiet", ofB3sum}}},
      {Form::bsd, {sha256}, 310, {{"sha256sum -c --strict --quiet", all}, {"rhash -c --skip-ok", ofRhash}}},
      {Form::bsd, {sha1, sha512}, 310, {{"rhash -c --skip-ok", ofRhash}}},
      {Form::sfv, {crc32}, 263, {{"cksfv -q -f", all}, {"rhash -c --skip-ok", ofRhash}}},
  };
  const fs::path list = folder.path() / "list";
  for (const auto& [form, algorithms, carried, checkers] : lists) {
    std::vector<ChecksumList::File> carriedFiles;
    for (const std::string& name : names) {
      std::string line;
      const HashAlgorithm algorithm = *algorithms.begin();
      ChecksumList::appendLine(line, form, name, algorithm, std::string(algorithm.hexLength(), '0'));
      if (!ChecksumManifestService::isReadBack(line, name, algorithm)) continue;
      carriedFiles.push_back({name, files.hash(name, algorithms, {}, [](auto...) {})});
    }
    EXPECT_EQ(carriedFiles.size(), carried);
    for (const Checker& checker : checkers) {
      std::vector<ChecksumList::File> understood = carriedFiles;
      std::erase_if(understood, [&](const ChecksumList::File& file) { return !checker.understands(file.path); });
      ChecksumList::write(understood, form, list, {});
      EXPECT_NO_THROW(outputOf({"sh", "-c", "cd '" + root.native() + "' && " + checker.command + " ../list >&2"}))
          << checker.command;
    }
  }
}

/// A file system that does not say in its folders what their items are.
class SilentFolders : public WatchedSystemCalls {
 public:
  ssize_t getdents(int folder, void* entries, std::size_t count) override {
    const ssize_t size = WatchedSystemCalls::getdents(folder, entries, count);
    for (ssize_t place = 0; place < size;) {
      auto* const entry = reinterpret_cast<dirent64*>(static_cast<char*>(entries) + place);
      entry->d_type = DT_UNKNOWN;
      place += entry->d_reclen;
    }
    return size;
  }
};

class Walk : public testing::Test {
 protected:
  Walk() {
    fs::create_directories(root / "dir/sub");
    fs::create_directories(folder.path() / "outside/sub");
    for (const char* const name : {"root/dir/sub/a", "root/.hidden", "root/dir/b"}) folder.file(name, "inside");
    for (const char* const name : {"outside/b", "outside/sub/a", "outside/other"}) folder.file(name, "OUTSID");
    const std::string inside = outcomeOf(root / "dir/b", {HashAlgorithm::sha256});
    all = {".hidden: " + inside, "dir/b: " + inside, "dir/sub/a: " + inside, "0 links, 0 others"};
  }

  TemporaryFolder folder;
  const fs::path root = fs::canonical(folder.path()) / "root";
  Lines all;  ///< What a walk finds.
};

TEST_F(Walk, MeetsAllThatIsBelowAndFollowsNoLink) {
  EXPECT_EQ(outcomesOfWalk(root), all);
  fs::create_directory_symlink("..", root / "dir/up");
  fs::create_symlink(".hidden", root / "link");
  makePipe(root / "pipe");
  Lines expected = all;
  expected.back() = "2 links, 1 others";
  EXPECT_EQ(outcomesOfWalk(root), expected);
  SilentFolders system;
  EXPECT_EQ(outcomesOfWalk(root), expected);
  system.before = [](std::string_view name, std::size_t) { return name == "openat2" ? ENOSYS : 0; };
  EXPECT_EQ(outcomesOfWalk(root), expected);
}

TEST_F(Walk, CountsFoldersThatCannotBeReadAndNamesAHundred) {
  for (int i = 0; i < 100; ++i) fs::create_directory(root / std::to_string(i));
  const FolderFiles files(ChecksumManifestService::captureRootIdentity(root, {}));
  WatchedSystemCalls system;
  system.before = [isRoot = true](std::string_view name, std::size_t) mutable {
    return name == "openat2" && !std::exchange(isRoot, false) ? EACCES : 0;
  };
  const FolderWalk walk = files.walk({}, [](auto) { return true; });
  EXPECT_TRUE(walk.isComplete);
  EXPECT_EQ(walk.unreadFolderCount, 101) << "with dir";
  EXPECT_EQ(walk.unreadFolders.size(), 100);
}

TEST_F(Walk, NeverLeadsOutsideWhateverChanges) {
  const fs::path outside = folder.path() / "outside";
  const fs::path aside = folder.path() / "aside";
  const fs::path replacement = folder.path() / "replacement";
  for (const fs::path& item : {root, root / "dir", root / "dir/sub", root / "dir/b"}) {
    bool wasNoticed = false;
    for (const int error : {0, ENOSYS}) {
      const auto refusal = [&](std::string_view name, std::size_t) { return name == "openat2" ? error : 0; };
      std::size_t calls = 0;
      {
        WatchedSystemCalls system;
        system.before = refusal;
        (void)ChecksumManifestService::captureRootIdentity(root, {});
        calls = system.names.size() + 1;
      }
      for (std::size_t call = calls; call <= calls; ++call) {
        Lines lines;
        {
          WatchedSystemCalls system;
          system.before = [&](std::string_view name, std::size_t number) {
            if (number == call) {
              fs::create_symlink(fs::is_directory(item) ? outside : outside / "b", replacement);
              fs::rename(item, aside);
              fs::rename(replacement, item);
            }
            return refusal(name, number);
          };
          lines = outcomesOfWalk(root);
          calls = system.names.size();
        }
        if (fs::exists(aside)) {
          fs::remove(item);
          fs::rename(aside, item);
        }
        for (const std::string& line : lines) {
          const bool isKnown = std::ranges::find(all, line) != all.end();
          EXPECT_TRUE(isKnown || line.find("error: ") != line.npos || line.ends_with(" others")) << line;
          wasNoticed = wasNoticed || !isKnown;
        }
      }
    }
    EXPECT_TRUE(wasNoticed) << item;
  }
}

}  // namespace
}  // namespace tallyfold::test
