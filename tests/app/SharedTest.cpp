// What all modes show and copy of names, sizes and times.

#include <atomic>
#include <cmath>
#include <fcntl.h>
#include <limits>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/shared/NameSearch.h"
#include "app/shared/RunMeter.h"
#include "app/shared/RunStatus.h"
#include "app/tasks/ReadAhead.h"
#include "checksums/paths/FolderFiles.h"
#include "core/files/Paths.h"
#include "tests/app/ModelTest.h"
#include "tests/support/ThreadLimit.h"

namespace tallyfold::test {

namespace {

struct Fetched {
  explicit Fetched(bool onDisk) : isOnDisk(onDisk) {}

  const bool isOnDisk;
  std::mutex mutex;
  std::set<std::size_t> files;
  int running = 0;
  int mostRunning = 0;

  bool fetch(std::size_t file) {
    {
      const std::lock_guard lock(mutex);
      files.insert(file);
      mostRunning = std::max(mostRunning, ++running);
    }
    std::this_thread::yield();
    const std::lock_guard lock(mutex);
    --running;
    return isOnDisk;
  }
  bool isExactly(std::size_t first, std::size_t last, std::size_t count) {
    const std::lock_guard lock(mutex);
    return files.contains(first) && files.size() == count && *files.rbegin() == last;
  }
};

TEST(ReadAhead, FetchesWhatComesNextOnlyWhereThatIsNotInMemory) {
  constexpr std::size_t window = ReadAhead::window;
  for (const bool isOnDisk : {true, false}) {
    const auto fetched = std::make_shared<Fetched>(isOnDisk);
    std::stop_source cancellation;
    {
      ReadAhead ahead(
          10'000, [fetched](std::size_t file) { return fetched->fetch(file); }, cancellation.get_token());
      if (isOnDisk) {
        EXPECT_TRUE(reached([&] { return fetched->isExactly(1, window, window); }));
        ahead.reached(5'000);
        EXPECT_TRUE(reached([&] { return fetched->isExactly(1, 5'000 + window, 2 * window); }));
        cancellation.request_stop();
        ahead.reached(7'000);
      } else {
        for (std::size_t file = 0; file < 10'000; ++file) ahead.reached(file);
      }
    }
    EXPECT_TRUE(BackgroundTask::waitForAll(patience));
    EXPECT_EQ(fetched->isExactly(1, 5'000 + window, 2 * window), isOnDisk);
    EXPECT_LE(fetched->files.size(), isOnDisk ? 2 * window : window);
    EXPECT_LE(fetched->mostRunning, isOnDisk ? ReadAhead::mostThreads : 1);
  }
}

TEST(ReadAhead, FetchesNoMoreThanRegularFilesBelowTheRoot) {
  const TemporaryFolder folder;
  const fs::path root = folder.path() / "root";
  fs::create_directories(root / "folder");
  const fs::path file = folder.file("root/file", std::string(8'192, 'x'));
  folder.file("outside", "x");
  folder.file("root/empty", "");
  fs::create_symlink("../outside", root / "link");
  ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
  struct System : SystemCalls {
    System() { replace(this); }
    ~System() override { replace(nullptr); }
    int fetch(int at, const char* path, std::uint64_t resolve, off_t count) override {
      return last = SystemCalls::fetch(at, path, resolve, count);
    }
    int last = 0;
  } system;
  const FolderFiles files(ChecksumManifestService::captureRootIdentity(root, {}));
  const auto fetch = [&](const char* path) {
    system.last = 99;
    const bool wasOnDisk = files.fetchBeginning(path);
    EXPECT_EQ(wasOnDisk, system.last == 1);
    return system.last;
  };
  EXPECT_EQ(fetch("file"), 0);
  EXPECT_EQ(fetch("empty"), 0);
  for (const char* path : {"folder", "link", "pipe", "missing"}) EXPECT_EQ(fetch(path), -1) << path;
  for (const char* path : {"../outside", "/etc/passwd", ""}) EXPECT_EQ(fetch(path), 99) << path;
  EXPECT_FALSE(fetchBeginning(root / "pipe"));

  // A disk is told to bring what the system has forgotten.
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(fsync(descriptor), 0);
  EXPECT_EQ(posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED), 0);
  close(descriptor);
  if (fetch("file") == 0) GTEST_SKIP() << "The files here stay in memory.";
  EXPECT_TRUE(reached([&] { return fetch("file") == 0; }));
}

TEST(ShownText, ShowsWhatANameHides) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"report.pdf", "report.pdf"},
      {"caf\u00E9 \u4F60\u597D \U0001F600 \u0627\u0644", "caf\u00E9 \u4F60\u597D \U0001F600 \u0627\u0644"},
      {"a\nb\tc\rd\x1B[31m", "a<U+000A>b<U+0009>c<U+000D>d<U+001B>[31m"},
      {"a\x7F\u0085", "a<U+007F><U+0085>"},
      {"\u202Efdp.exe", "<U+202E>fdp.exe"},
      {"\u2066\u2069\u200F\u061C", "<U+2066><U+2069><U+200F><U+061C>"},
      {"a\u2028b\u2029c", "a<U+2028>b<U+2029>c"},
      {"\xFF"
       "a\xC3",
       "\uFFFDa\uFFFD"},
      // What shows as nothing, or as a blank.
      {"\u00AD\u034F\u180E\u200B\u2060\u3164\uFEFF", "<U+00AD><U+034F><U+180E><U+200B><U+2060><U+3164><U+FEFF>"},
      {"\u00A0\u2003\u2800\u3000\uFFFA\uFFFC", "<U+00A0><U+2003><U+2800><U+3000><U+FFFA><U+FFFC>"},
      {"\U0001F3F4\U000E0067\U000E007F\u0601", "\U0001F3F4<U+E0067><U+E007F>\u0601"},
      // Joiners that writing wants: behind a virama, and between letters that join, marks aside.
      {"\u0915\u094D\u200D\u0937 \u0915\u094D\u200C\u0937", "\u0915\u094D\u200D\u0937 \u0915\u094D\u200C\u0937"},
      {"\u0645\u06CC\u200C\u062E \u0628\u064E\u200C\u064E\u0627",
       "\u0645\u06CC\u200C\u062E \u0628\u064E\u200C\u064E\u0627"},
      {"a\u200Db\u200Cc", "a<U+200D>b<U+200C>c"},
      {"\u0627\u200C\u0628 \u0628\u200C", "\u0627<U+200C>\u0628 \u0628<U+200C>"},
      {"\u0915\u094D\u200D\u200D \u0628\u200D\u0628", "\u0915\u094D\u200D<U+200D> \u0628<U+200D>\u0628"},
      // Marks with nothing to stand on.
      {"\u0301\u0301a\u0301/\u0301", "<U+0301>\u0301a\u0301/<U+0301>"},
      {"\u094D\u200D", "<U+094D><U+200D>"},
      // Emoji: a heart, a family, a pilot with skin, a keycap; and what is not one of them.
      {"\u2764\uFE0F \U0001F468\u200D\U0001F469\u200D\U0001F467",
       "\u2764\uFE0F \U0001F468\u200D\U0001F469\u200D\U0001F467"},
      {"\U0001F469\U0001F3FD\u200D\u2708\uFE0F 1\uFE0F\u20E3", "\U0001F469\U0001F3FD\u200D\u2708\uFE0F 1\uFE0F\u20E3"},
      {"1\uFE0F \u2764\uFE0F\uFE0F", "1<U+FE0F> \u2764\uFE0F<U+FE0F>"},
      {"\U0001F600\u200D\U0001F600 \u845B\U000E0100", "\U0001F600<U+200D>\U0001F600 \u845B<U+E0100>"},
  };
  for (const auto& [name, shown] : cases) EXPECT_EQ(shownText(name), QString::fromUtf8(shown));
}

TEST(ShownText, IsShortenedInItsMiddleAndNeverWithinACharacter) {
  const auto times = [](int count, const char* text) { return QByteArray(text).repeated(count).toStdString(); };
  const std::pair<std::string, std::string> cases[] = {
      {times(1'024, "x"), times(1'024, "x")},
      {"a" + times(1'023, "x") + "b", "a" + times(511, "x") + "\u2026" + times(510, "x") + "b"},
      {times(1'024, "\U0001F600"), times(1'024, "\U0001F600")},
      {times(1'025, "\U0001F600"), times(512, "\U0001F600") + "\u2026" + times(511, "\U0001F600")},
      {times(128, "\x01"), times(128, "<U+0001>")},
      {times(127, "\x01") + times(9, "x"), times(64, "<U+0001>") + "\u2026" + times(62, "<U+0001>") + times(9, "x")},
      {times(1'040'000, "\x01"), times(64, "<U+0001>") + "\u2026" + times(63, "<U+0001>")},
      {times(300'000, "\u2764\uFE0F"), times(256, "\u2764\uFE0F") + "\u2026" + times(255, "\u2764\uFE0F")},
      {times(2'000, "\xFF"), times(512, "\uFFFD") + "\u2026" + times(511, "\uFFFD")},
  };
  for (const auto& [name, shown] : cases) {
    EXPECT_EQ(shownText(name).toStdString(), shown);
    EXPECT_GE(copiedText(name).size(), static_cast<qsizetype>(name.size()));
  }
}

TEST(RunMeterTest, TellsWhatIsKnownAndGuessesNothing) {
  constexpr std::int64_t MB = 1'000'000;
  using Sizes = std::vector<RunMeter::Size>;
  const struct {
    double time;  // Seconds since the start.
    Sizes sizes;
    std::size_t filesDone;
    std::int64_t megabytesRead;
    std::int64_t ofRunning;
    const char* expected;  // Total, speed, seconds left.
  } turns[] = {
      {0, {}, 0, 0, 0, "- - -"},
      {0.4, {100 * MB, std::nullopt}, 0, 40, 40, "- - -"},  // Too short for a speed.
      {1.0, {}, 0, 100, 100, "- 100 -"},                    // One size is unknown, one was not asked yet.
      {1.0, {50 * MB}, 1, 100, 0, "- 100 -"},               //
      {2.0, {}, 2, 200, 0, "250 100 0.5"},                  // What was unknown was of 100 MB.
      {2.04, {}, 2, 206, 6, "250 101 0.4"},                 //
      {2.05, {}, 2, 210, 10, "250 102 0.4"},                // Too soon for a sample of its own.
      {3.0, {}, 2, 210, 10, "250 102 0.4"},                 // Silence of the usual length,
      {21.0, {}, 2, 210, 10, "250 - -"},                    // and a longer one.
      {21.0, {}, 2, 220, 20, "250 1 56.9"},                 // The speed is that of the last ten seconds,
      {31.0, {}, 2, 230, 30, "250 1 20.0"},                 //
      {32.0, {}, 2, 260, 60, "260 4 0.0"},                  // A file that has grown.
      {32.0, {}, 3, 260, 0, "260 4 0.0"},
  };
  RunMeter meter;
  const RunMeter::Time start{std::chrono::hours(5)};
  meter.start(3, start);
  for (const auto& [time, sizes, filesDone, megabytesRead, ofRunning, expected] : turns) {
    const auto now = start + std::chrono::duration_cast<RunMeter::Time::duration>(std::chrono::duration<double>(time));
    meter.addSizes(sizes);
    meter.advance(filesDone, megabytesRead * MB, ofRunning * MB, now);
    const auto total = meter.totalBytes();
    const auto speed = meter.bytesPerSecond(now);
    const auto left = meter.secondsLeft(now);
    const QString told = (total ? QString::number(*total / MB) : "-") + " " +
                         (speed ? QString::number(*speed / MB, 'f', 0) : "-") + " " +
                         (left ? QString::number(*left, 'f', 1) : "-");
    EXPECT_EQ(told.toStdString(), expected) << "after " << time << " s";
  }
}

TEST(RunStatusTest, TellsThatTheNextFileBeginsAndNoFigureTwice) {
  RunStatus status;
  status.start(2, std::make_shared<const ReadCounter>());
  status.advance({.fraction = 1});
  const QSignalSpy fractions(&status, &RunStatus::fractionChanged);
  status.advance({.filesDone = 1});
  EXPECT_EQ(status.fraction(), 0);
  EXPECT_EQ(fractions.count(), 1) << "though as much of the run is over as before";
  EXPECT_EQ(status.figuresBehind("").size(), 2) << "with " << status.figures().toStdString();
  status.addSizes({1'000, 1'000});
  status.advance({.filesDone = 1, .file = "b"});
  EXPECT_THAT(status.figuresBehind("1 of 2 files"),
              ElementsAre("1 of 2 files · 0% of 1 KB", "1 of 2 files · 0%", "0%"));
  EXPECT_THAT(status.figuresBehind(""), ElementsAre("0% of 1 KB", "0%"));
  status.end();
  EXPECT_THAT(status.figuresBehind("2 of 2 files"), ElementsAre("2 of 2 files", ""));
}

TEST(RunStatusTest, TellsNoWholeOfTheBytesWhileFilesWithoutAnyAreLeft) {
  const auto counter = std::make_shared<ReadCounter>(0);
  RunStatus status;
  status.start(3, counter);
  status.addSizes({4, 0, 0});
  status.advance({.file = "four bytes"});
  EXPECT_EQ(status.figures(), "0% of 4 bytes");
  *counter = 4;
  status.end();
  status.start(3, counter);
  status.addSizes({4, 0, 0});
  status.advance({.filesDone = 1, .counted = 4, .file = "empty"});
  EXPECT_THAT(status.figuresBehind("1 of 3 files"), ElementsAre("1 of 3 files", ""));
}

TEST(NameSearchTest, FindsATextInWhateverWayItIsWritten) {
  const struct {
    const char* text;
    const char* name;
    bool isFound;
  } cases[] = {
      {"a to z", "FROM A TO Z.pdf", true},
      {"PORT", "report.pdf", true},
      {"rt.", "report", false},
      {"report.pdf", "port", false},
      {"\u00C9t", "ma\u00EEtre d'\u00E9t\u00E9", true},
      {"\u00E9", "e\u0301", true},
      {"e\u0301", "\u00C9", true},
      {"e", "\u00E9", false},
      {"a",
       "\xFF"
       "a",
       true},
  };
  for (const auto& [text, name, isFound] : cases) {
    EXPECT_EQ(NameSearch(QString::fromUtf8(text)).matches(name), isFound) << text << " in " << name;
  }
}

TEST(FileLocationTest, UrlOfAnyPathLeadsBackToItsBytes) {
  std::string everyByte = "/";
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') everyByte += static_cast<char>(byte);
  }
  for (const std::string& path : {everyByte, std::string("/a?b#c%20d;e"), std::string("/caf\xC3\xA9")}) {
    const QUrl url = fileUrl(path);
    EXPECT_TRUE(url.isValid());
    EXPECT_EQ(fileLocation(url), std::filesystem::path(path));
    // What a drag or a panel hands over is text.
    EXPECT_EQ(fileLocation(QUrl::fromEncoded(url.toEncoded())), std::filesystem::path(path));
  }
}

TEST(Formats, HaveTheirUnitAndNeverAThousandOfIt) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const std::pair<double, const char*> durations[] = {{0, "0 ms"},        {0.0004, "0 ms"}, {0.5, "500 ms"},
                                                      {0.9994, "999 ms"}, {1.0, "1.00 s"},  {61.239, "61.24 s"}};
  for (const auto& [seconds, text] : durations) EXPECT_EQ(compactDuration(seconds), QLatin1String(text));

  const std::pair<double, const char*> rests[] = {{0, "0 s left"},
                                                  {0.1, "1 s left"},
                                                  {88.5, "89 s left"},
                                                  {89.5, "2 min left"},
                                                  {89 * 60, "89 min left"},
                                                  {89 * 60 + 1, "1 h 30 min left"},
                                                  {48 * 3600 - 60, "47 h 59 min left"},
                                                  {48 * 3600 + 1, "3 days left"}};
  for (const auto& [seconds, text] : rests) EXPECT_EQ(timeLeft(seconds), QLatin1String(text)) << seconds;

  const std::pair<qint64, const char*> counts[] = {{0, "0 bytes"},
                                                   {1, "1 byte"},
                                                   {1'000, "1 KB"},
                                                   {1'500, "2 KB"},
                                                   {999'500, "1 MB"},
                                                   {999'949, "1 MB"},
                                                   {4'200'000, "4.2 MB"},
                                                   {999'949'999, "999.9 MB"},
                                                   {999'950'000, "1 GB"},
                                                   {1'250'000'000, "1.25 GB"},
                                                   {100'000'000'000, "100 GB"},
                                                   {999'995'000'000, "1 TB"},
                                                   {std::numeric_limits<qint64>::max(), "9.22 EB"}};
  for (const auto& [bytes, text] : counts) EXPECT_EQ(formattedByteCount(bytes), QLatin1String(text)) << bytes;

  const std::pair<double, const char*> speeds[] = {{0.9, "0 bytes/s"},
                                                   {1.9, "1 byte/s"},
                                                   {1'499.9, "1 KB/s"},
                                                   {233e6, "233 MB/s"},
                                                   {std::nextafter(0x1p63, 0), "9.22 EB/s"},
                                                   {0x1p63, "—"},
                                                   {infinity, "—"},
                                                   {-infinity, "—"},
                                                   {std::nan(""), "—"}};
  for (const auto& [speed, text] : speeds) EXPECT_EQ(formattedThroughput(speed), QString::fromUtf8(text)) << speed;
}

using FileSizes = ModelTest;

TEST_F(FileSizes, AreAskedOnceAndNotAwaited) {
  constexpr int most = ShownFileSize::mostAsking;
  std::atomic<int> hanging = 0;
  std::atomic<int> answered = 0;
  calls_.looked = [&](std::string_view path) {
    if (path.starts_with("/dead/")) {
      ++hanging;
      gate_.pass();
    } else if (!path.ends_with("/file")) {
      return;  // A list that may be beside it.
    }
    ++answered;
  };
  model_->files()->addFiles({urlOf("/dead/file")});
  const auto sizes = [&] {
    std::vector<std::string> list;
    for (const FileCard& card :
         {model_->verify()->verifyFile(), model_->compare()->compareFirstFile(), model_->compare()->compareSecondFile(),
          model_->manifest()->manifestFile(), model_->manifest()->manifestRoot()}) {
      list.push_back(card.size.toStdString());
    }
    return list;
  };
  const auto file = folder_.file("file", "abc");
  model_->manifest()->setManifestRoot({urlOf("/dead")});
  model_->compare()->setCompareFiles({urlOf("/dead/first"), urlOf(file)}, false);
  for (int i = 1; i < most; ++i) {
    ASSERT_TRUE(reached([&] { return hanging == i; }));
    if (i < most - 1) model_->verify()->setVerifyFile({urlOf("/dead/" + std::to_string(i))});
  }
  model_->manifest()->setManifestFile({urlOf(file)});
  ASSERT_TRUE(reached([&] { return sizes()[2] == "3 bytes" && sizes()[3] == "3 bytes"; }));
  model_->compare()->swapCompareFiles();
  EXPECT_THAT(sizes(), ElementsAre("…", "3 bytes", "…", "3 bytes", ""));
  EXPECT_EQ(answered, 2);

  model_->verify()->setVerifyFile({urlOf("/dead/more")});
  ASSERT_TRUE(reached([&] { return hanging == most; }));
  const int threads = threadsStarted;
  for (int i = 0; i < 20; ++i) model_->verify()->setVerifyFile({urlOf("/dead/never asked")});
  model_->verify()->setVerifyFile({urlOf(file)});
  EXPECT_EQ(threadsStarted, threads) << "more than may hang";
  EXPECT_EQ(sizes()[0], "…");
  gate_.open();
  ASSERT_TRUE(reached([&] { return sizes()[0] == "3 bytes" && sizes()[2].empty(); }));
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_EQ(hanging, most);
  EXPECT_EQ(answered, most + 3);
}

}  // namespace

}  // namespace tallyfold::test
