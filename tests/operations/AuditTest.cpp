// What is said of files that a list does not name, while other programs change them.

#include "tests/operations/Operations.h"

namespace tallyfold::test {
namespace {

class Moved : public testing::Test {
 protected:
  Moved() {
    fs::create_directories(root / "dir");
    fs::create_directories(outside / "dir");
    folder.file("root/dir/moved", "inside");
    for (const char* const name : {"outside/dir/moved", "outside/moved"}) folder.file(name, "OUTSID");
    add("old/name", root / "dir/moved");
    add("stolen", outside / "moved");
  }

  void add(const std::string& name, const fs::path& content) {
    missing.push_back(static_cast<std::uint32_t>(entries.size()));
    const std::string digest = outcomeOf(content, {HashAlgorithm::sha256});
    entries.push_back({Uuid(), 1, name, HashAlgorithm::sha256, digest});
  }

  TemporaryFolder folder;
  const fs::path root = fs::canonical(folder.path()) / "root";
  const fs::path outside = folder.path() / "outside";
  const fs::path replacement = folder.path() / "replacement";
  std::vector<ChecksumManifestEntry> entries;
  std::vector<std::uint32_t> missing;
  const Lines undisturbed{"unlisted dir/moved", "old/name is at dir/moved"};
};

TEST_F(Moved, FilesAreNeverReadOutsideWhateverChanges) {
  const fs::path aside = folder.path() / "aside";
  EXPECT_EQ(outcomesOfAudit(root, entries, missing), undisturbed);
  for (const fs::path& item : {root, root / "dir", root / "dir/moved"}) {
    const fs::path target = outside / fs::relative(item, root);
    for (const auto& [error, backAfter] :
         {std::pair(0, 0U), std::pair(ENOSYS, 0U), std::pair(0, 1U), std::pair(0, 2U)}) {
      std::size_t captureCount = 0;
      {
        WatchedSystemCalls system;
        system.before = [error = error](std::string_view name, std::size_t) { return name == "openat2" ? error : 0; };
        (void)ChecksumManifestService::captureRootIdentity(root, {});
        captureCount = system.names.size();
      }
      bool wasNoticed = false;
      bool isOver = false;
      for (std::size_t call = 1; !isOver; ++call) {
        bool isChanged = false;
        const auto putBack = [&] {
          if (!std::exchange(isChanged, false)) return;
          fs::remove(item);
          fs::rename(aside, item);
        };
        WatchedSystemCalls system;
        system.before = [&, error = error, backAfter = backAfter](std::string_view name, std::size_t number) {
          if (backAfter > 0 && number == call + backAfter) putBack();
          if (number == call) {
            fs::create_symlink(target, replacement);
            fs::rename(item, aside);
            fs::rename(replacement, item);
            isChanged = true;
          }
          return name == "openat2" ? error : 0;
        };
        const Lines lines = outcomesOfAudit(root, entries, missing);
        isOver = system.names.size() < call;
        // What becomes the root before it was captured is not outside.
        if (call > captureCount) {
          EXPECT_THAT(lines, Each(Not(StartsWith("stolen is at")))) << item << ": " << call << ", " << backAfter;
        }
        EXPECT_EQ(system.stillOpen, 0);
        wasNoticed = wasNoticed || lines != undisturbed;
        putBack();
      }
      EXPECT_TRUE(wasNoticed || backAfter > 0) << item;
    }
  }
  EXPECT_EQ(outcomesOfAudit(root, entries, missing), undisturbed);
}

TEST_F(Moved, FileThatChangesBeforeTheLastLookIsNotSaidToBeIt) {
  const fs::path file = root / "dir/moved";
  add("dir/MOVED", file);
  Lines all = undisturbed;
  all.emplace_back("dir/MOVED is at dir/moved");
  const struct {
    const char* what;
    std::function<void()> make;
    std::string sentence = "The file has changed since it was read.";
  } changes[]{
      {"append", [&] { std::ofstream(file, std::ios::app) << "more"; }},
      {"rewrite",
       [&] {
         const auto time = fs::last_write_time(file);
         folder.file("root/dir/moved", "INSIDE");
         fs::last_write_time(file, time);
       }},
      {"replacement", [&] { fs::rename(folder.file("replacement", "INSIDE"), file); }},
      {"removal", [&] { fs::remove(file); }, "No such file or directory"},
      {"link", [&] { fs::remove(file), fs::create_symlink(outside / "moved", file); }},
      {"pipe", [&] { fs::remove(file), makePipe(file); }},
  };
  const auto restore = [&] {
    fs::remove(file);
    folder.file("root/dir/moved", "inside");
  };
  std::size_t lastLook = 0;
  {
    const WatchedSystemCalls system;
    EXPECT_EQ(outcomesOfAudit(root, entries, missing), all);
    for (std::size_t call = 1; call <= system.names.size(); ++call) {
      if (system.names[call - 1] == "fstatat") lastLook = call;
    }
  }
  for (const auto& change : changes) {
    for (std::size_t call = 1; call <= lastLook + 1; ++call) {
      restore();
      WatchedSystemCalls system;
      system.before = [&](std::string_view, std::size_t number) {
        if (number == call) change.make();
        return 0;
      };
      const Lines lines = outcomesOfAudit(root, entries, missing);
      const bool isSaid = std::ranges::any_of(lines, [](auto& line) { return line.ends_with(" is at dir/moved"); });
      EXPECT_EQ(isSaid, call > lastLook) << change.what << " before call " << call;
      const bool isToldOf = std::ranges::any_of(lines, [](auto& line) { return line.starts_with("dir/moved: error"); });
      const auto isNamed = [](auto& line) { return line.starts_with("dir/MOVED is"); };
      EXPECT_FALSE(isToldOf && std::ranges::any_of(lines, isNamed)) << change.what << " before call " << call;
      if (call == lastLook) {
        EXPECT_THAT(lines, Contains("dir/moved: error: " + change.sentence));
      }
    }
  }
}

// Where the likeliest file has changed, the next one may be it, unless that has changed, too.
TEST_F(Moved, AnotherFileTakesThePlaceOfOneThatChanged) {
  for (const char* const name : {"name", "other", "third"}) folder.file("root/"s + name, "inside");
  for (const int changed : {0, 1, 2}) {
    WatchedSystemCalls system;
    system.before = [&, reads = 0](std::string_view name, std::size_t) mutable {
      // Where the last of the four files is read, each in one piece.
      if (name != "read" || ++reads != 4) return 0;
      if (changed > 0) folder.file("root/name", "INSIDE");
      if (changed > 1) folder.file("root/dir/moved", "INSIDE");
      return 0;
    };
    const Lines lines = outcomesOfAudit(root, entries, missing);
    const char* const likeliest[]{"name", "dir/moved", "other"};
    EXPECT_THAT(lines, testing::Contains("old/name is at "s + likeliest[changed]));
    EXPECT_EQ(std::ranges::count_if(lines, [](auto& line) { return line.find("changed since") != line.npos; }),
              changed);
  }
}

}  // namespace
}  // namespace tallyfold::test
