// Input that was made to stop the window, in the real window as users have it: the longest turn of the event loop in
// CPU time, and resident memory, each in a process of its own. Needs a display (tools/with-display gives one).
//
//     hostile_input_bench                  a table of all, each figure the median of three
//     hostile_input_bench NUMBER FOLDER    one of them, whose files are in that folder

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <QClipboard>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

#include "app/shared/FileLocation.h"
#include "app/tasks/BackgroundTask.h"
#include "bench/Measure.h"
#include "core/files/SystemCalls.h"
#include "tests/support/CollidingNames.h"
#include "tests/support/Process.h"
#include "tests/support/TurnWatcher.h"
#include "tests/ui/SilentClipboardOwner.h"
#include "tour/Driver.h"
#include "ui/window/TallyfoldApp.h"

namespace tallyfold {

namespace {

namespace fs = std::filesystem;

constexpr int limit = 100'000;
constexpr int rounds = 3;
constexpr int patience = 120;  // Seconds of CPU time.
constexpr int isLate = 3;      // Exit status: something was waited for in vain.

const std::string md5 = "900150983cd24fb0d6963f7d28e17f72  ";

constexpr std::string_view scripts =
    "words слова λέξεις מילים كلمات शब्द কথা சொற்கள் คำ 言葉 단어 字詞 բառեր სიტყვები 😀 e\u0301 ";

std::string repeated(std::string_view part, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += part;
  return all;
}

std::string lettersOfAllScripts() {
  QString letters;
  for (char32_t letter = 0x370; letter < 0x1F000; letter += 0x20) {
    if (QChar::isLetter(letter)) letters += QString::fromUcs4(&letter, 1) + u' ';
  }
  return letters.toStdString();
}

std::string uriList(const std::vector<std::string>& paths) {
  std::string lines;
  for (const std::string& path : paths) lines += fileUrl(path).toEncoded().toStdString() + "\r\n";
  return lines;
}

std::vector<std::string> collidingPaths(const std::string& prefix) {
  std::vector<std::string> paths = test::collidingNames(prefix, 16);
  paths.resize(40'000);
  return paths;
}

/// A file system that does not answer is below /dead.
class DeadDisk : public SystemCalls {
 public:
  DeadDisk() { replace(this); }

  int look(const char* path, struct stat* status) override {
    while (std::string_view(path).starts_with("/dead")) pause();
    return SystemCalls::look(path, status);
  }
};

/// The window, and what is done to it.
struct Victim {
  AppViewModel& model;
  QQuickWindow& window;
  fs::path file;  // What was made for the input.
  Driver driver{window};
  test::TurnWatcher turns{};
  std::optional<test::OtherProgram> other{};
  double before = 0;

  void draw() {
    bool isDrawn = false;
    QObject context;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &context, [&] { isDrawn = true; });
    window.update();
    Driver::waitFor("a frame", [&] { return isDrawn; });
  }

  void enter(AppMode::Case mode) {
    model.setMode(mode);
    draw();
  }

  /// From here on it is measured.
  void begin() {
    draw();
    test::resetPeakMemory();
    before = test::peakMemory();
    (void)turns.takeLongest();
  }

  void load() {
    enter(AppMode::Manifest);
    model.manifest()->setManifestRoot({fileUrl(file.parent_path())});
    begin();
    model.manifest()->setManifestFile({fileUrl(file)});
    Driver::waitFor("the list", [&] { return !model.manifest()->isLoadingManifest(); });
  }

  void verify() {
    load();
    model.manifest()->verifyManifest();
    Driver::waitFor("the run", [&] { return !model.manifest()->isManifestVerifying(); });
  }

  /// Another program offers the file's content, to be dragged and on the clipboard.
  void offer(const std::string& type) {
    other.emplace(std::vector<std::string>{DRAG_SOURCE, type, std::string("@").append(file)});
    Driver::waitFor("the other program", [&] { return other->hasSaid("ready"); });
    driver.focus(window);
  }

  void paste(const QString& editor, const std::function<qsizetype()>& size) {
    offer("text/plain");
    driver.click(editor);
    begin();
    driver.press({"Control_L", "v"});
    Driver::waitFor("the text", [&] { return size() > 0; });
  }

  void pasteIntoText() {
    enter(AppMode::Text);
    paste(QStringLiteral("textEditor"), [&] { return model.text()->textInput().size(); });
    Driver::waitFor("the digests", [&] { return !model.text()->textHashes().algorithms().empty(); });
  }

  void resizeWithText() {
    pasteIntoText();
    begin();
    for (const int width : {1100, 1200, 900}) {
      window.resize(width, 700);
      Driver::waitFor("the size", [&] { return window.contentItem()->width() == width; });
      draw();
    }
  }

  void drop(const std::string& type) {
    offer(type);
    int step = 0;
    const auto moveUntil = [&](const QPoint& place, const char* word) {
      Driver::waitFor(word, [&] {
        driver.movePointer(place + QPoint(++step % 2, 0));
        return other->hasSaid(word);
      });
    };
    driver.movePointer({80, 60});
    driver.button(1, true);
    moveUntil({80, 60}, "dragging");
    begin();
    moveUntil(window.mapToGlobal(QPoint(500, 450)), "accepted");
    driver.button(1, false);
    Driver::waitFor("the drop", [&] { return other->hasSaid("copy"); });
  }

  void dropFiles(int count) {
    drop("text/uri-list");
    Driver::waitFor("the run",
                    [&] { return model.files()->jobs()->count() == count && !model.files()->isProcessing(); });
  }
};

struct Input {
  const char* name;
  std::function<std::string()> content;  // Of a file, made by another process.
  std::function<void(Victim&)> use;
};

std::vector<Input> inputs() {
  const auto nothing = [] { return std::string(); };
  const auto controls = [](int count) { return repeated(md5 + std::string(1'040'000, '\x01') + "\n", count); };
  const auto arabic = [](int count) { return repeated(md5 + repeated("\u0643\u0644 ", 200'000) + "\n", count); };
  const auto text = [] { return std::string(1'000'000, 'a'); };
  const auto files = [](int count) {
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) paths.push_back("/nowhere/folder " + std::to_string(i) + "/a file");
    return uriList(paths);
  };
  const auto fullList = [] {
    std::string lines;
    for (int i = 0; i < limit; ++i) {
      const std::string name = std::to_string(i);
      lines += md5 + name + '/' + std::string(606 - name.size(), 'x') + '\n';
    }
    return lines;
  };
  const auto load = [](Victim& victim) { victim.load(); };
  const auto verify = [](Victim& victim) { victim.verify(); };
  return {
      {"none", nothing, [](Victim& victim) { victim.begin(); }},
      {"list line of 1,040,000 control characters", [=] { return controls(1); }, load},
      {"list line of 200,000 Arabic words", [=] { return arabic(1); }, load},
      {"60 lines of 1,040,000 control characters", [=] { return controls(60); }, load},
      {"60 lines of 200,000 Arabic words", [=] { return arabic(60); }, load},
      {"60 lines of 1,024 hyphens", [] { return repeated(md5 + std::string(1'024, '-') + "\n", 60); }, load},
      {"60 lines of 300 words in Hebrew and Latin",
       [] { return repeated(md5 + repeated("\u05E9\u05DC a ", 300) + "\n", 60); }, load},
      {"the 60 lines of control characters copied", [=] { return controls(60); },
       [](Victim& victim) {
         victim.load();
         victim.driver.focus(victim.window);
         victim.begin();
         victim.driver.press({"Control_L", "Shift_L", "c"});
         Driver::waitFor("the copy", [&] { return QGuiApplication::clipboard()->ownsClipboard(); });
       }},
      {"1,000,000 characters pasted into Verify", text,
       [](Victim& victim) {
         victim.enter(AppMode::Verify);
         victim.paste(QStringLiteral("checksumField"), [&] { return victim.model.verify()->expectedHash().size(); });
       }},
      {"1,000,000 characters pasted into Text", text, [](Victim& victim) { victim.pasteIntoText(); }},
      {"64 MB pasted into Text", [] { return repeated("all of these words. ", 3'200'000); },
       [](Victim& victim) { victim.pasteIntoText(); }},
      {"words in 14 scripts, the first since the start, pasted into Text", [] { return repeated(scripts, 200); },
       [](Victim& victim) { victim.pasteIntoText(); }},
      {"letters of all scripts, the first since the start, pasted into Text", lettersOfAllScripts,
       [](Victim& victim) { victim.pasteIntoText(); }},
      {"window resized with 5,000 lines in Text", [] { return repeated("a\n", 5'000); },
       [](Victim& victim) { victim.resizeWithText(); }},
      {"window resized with 10,000 hyphens in Text", [] { return std::string(10'000, '-'); },
       [](Victim& victim) { victim.resizeWithText(); }},
      {"Ctrl+V in Text where the clipboard's owner is silent", nothing,
       [](Victim& victim) {
         const test::SilentClipboardOwner owner;
         victim.enter(AppMode::Text);
         victim.driver.focus(victim.window);
         victim.driver.click(QStringLiteral("textEditor"));
         victim.begin();
         victim.driver.press({"Control_L", "v"});
         victim.driver.type("a");
         Driver::waitFor("what was typed after", [&] { return victim.model.text()->textInput() == u"a"; });
       }},
      {"file on a dead disk chosen to be verified, and dropped", [] { return uriList({"/dead/file"}); },
       [](Victim& victim) {
         new DeadDisk;  // For as long as the process.
         victim.enter(AppMode::Verify);
         victim.drop("text/uri-list");
         victim.model.verify()->setVerifyFile({fileUrl("/dead/file")});
         victim.draw();
       }},
      {"path of 1 MB in a list", [] { return md5 + repeated("a/", 500'000) + "a\n"; }, verify},
      {"2,000 paths of 4 KB in a list", [] { return repeated(md5 + repeated("a/", 2'000) + "a\n", 2'000); }, verify},
      {"40,000 entries with names made to collide",
       [] {
         std::string lines;
         for (const std::string& path : collidingPaths("")) lines += md5 + path + '\n';
         return lines;
       },
       verify},
      {"20 files dropped", [=] { return files(20); }, [](Victim& victim) { victim.dropFiles(20); }},
      {"40,000 files with names made to collide dropped", [] { return uriList(collidingPaths("/nowhere")); },
       [](Victim& victim) { victim.dropFiles(40'000); }},
      {"100,000 files dropped, and their run", [=] { return files(limit); },
       [](Victim& victim) { victim.dropFiles(limit); }},
      {"one of 100,000 files removed", [=] { return files(limit); },
       [](Victim& victim) {
         victim.dropFiles(limit);
         victim.begin();
         victim.model.files()->removeJob(victim.model.files()->jobs()->idAt(0));
       }},
      {"100,000 files cleared", [=] { return files(limit); },
       [](Victim& victim) {
         victim.dropFiles(limit);
         victim.begin();
         victim.model.files()->clearFiles();
       }},
      {"100,000 entries of two files in turn, filtered by \"Waiting\"",
       [] { return repeated(md5 + "a\n" + md5 + "b\n", limit / 2); },
       [](Victim& victim) {
         std::ofstream(victim.file.parent_path() / "a") << "abc";
         std::ofstream(victim.file.parent_path() / "b");
         fs::resize_file(victim.file.parent_path() / "b", 1 << 30);
         victim.load();
         victim.model.manifest()->manifestJobs()->setFilter(ManifestJobListModel::Waiting);
         victim.model.manifest()->verifyManifest();
         Driver::waitFor("the run", [&] { return !victim.model.manifest()->isManifestVerifying(); });
       }},
      {"list of 100,000 entries that fill 64 MiB", fullList, verify},
      {"the same cleared", fullList,
       [](Victim& victim) {
         victim.verify();
         victim.begin();
         victim.model.manifest()->clearManifest();
       }},
      {"15 MB of plain text dropped", [] { return repeated("not a location\n", 1'000'000); },
       [](Victim& victim) { victim.drop("text/plain"); }},
  };
}

// One input: its figures are a line in a file beside it.
void measure(TallyfoldApp& app, const Input& input, const fs::path& folder) {
  while (!app.window().isExposed()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  Victim victim{app.viewModel(), app.window(), folder / "list.md5"};
  try {
    input.use(victim);
    victim.draw();
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s: %s\n", input.name, exception.what());
    victim.other.reset();
    _exit(isLate);
  }
  victim.other.reset();
  const double turn = victim.turns.takeLongest();
  const double peak = test::peakMemory();
  // What hangs is not waited for longer.
  (void)BackgroundTask::waitForAll(std::chrono::seconds(5));
  std::ofstream("/proc/self/clear_refs") << 5;
  std::ofstream(folder / "figures") << turn << ' ' << victim.before << ' ' << peak << ' ' << test::peakMemory();
  _exit(0);
}

// In a process of its own, and then as a line of the table.
void print(const Input& input, std::size_t number) {
  const test::TemporaryFolder folder;
  folder.file("list.md5", input.content());
  std::array<std::vector<double>, 4> figures;  // Turn; memory before, at most and after.
  for (int round = 0; round < rounds; ++round) {
    const int status = bench::statusOf({"/proc/self/exe", std::to_string(number), folder.path()});
    if (status != 0) {
      const bool isLong =
          (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) || (WIFEXITED(status) && WEXITSTATUS(status) == isLate);
      std::printf("| %s | %s (wait status %d) | | | |\n", input.name, isLong ? "not done in time" : "crashed", status);
      return;
    }
    std::ifstream line(folder.path() / "figures");
    for (std::vector<double>& values : figures) line >> values.emplace_back();
  }
  std::printf("| %s |", input.name);
  for (const std::vector<double>& values : figures) std::printf(" %.0f |", bench::median(values));
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

}  // namespace tallyfold

int main(int argc, char** argv) {
  using namespace tallyfold;
  const std::vector<Input> inputs = tallyfold::inputs();
  if (argc == 3) {
    const rlimit time{patience, patience + 1};
    setrlimit(RLIMIT_CPU, &time);
    TallyfoldApp app(argc, argv);
    measure(app, inputs.at(std::stoul(argv[1])), argv[2]);
  }
  std::printf("| input | longest turn, ms of CPU | memory before, MiB | at most | after |\n|---|---|---|---|---|\n");
  std::fflush(stdout);
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (argc < 2 || std::stoul(argv[1]) == i) print(inputs[i], i);
  }
}
