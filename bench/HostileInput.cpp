// Input that was made to stop the window, in the real window: the longest turn of the event loop in CPU time, and the
// peak of resident memory, each in a process of its own. Needs a display (packaging/with-display gives one).
//
//     hostile_input_bench             a table of all
//     hostile_input_bench NUMBER      one of them

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QQuickWindow>
#include <QTest>

#include "app/FileLocation.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TurnWatcher.h"
#include "ui/TallyfoldApp.h"

namespace tallyfold {

namespace {

constexpr int limit = 100'000;
constexpr int patience = 120;  // Seconds of CPU time, or of waiting.

const std::string md5 = "900150983cd24fb0d6963f7d28e17f72  ";

std::string repeated(std::string_view part, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += part;
  return all;
}

/// The window, and what is done to it.
struct Victim {
  AppViewModel& model;
  QQuickWindow& window;
  test::TurnWatcher& turns;
  test::TemporaryFolder folder;

  static void waitFor(const std::function<bool()>& condition) { (void)QTest::qWaitFor(condition, patience * 1'000); }

  void load(const std::string& lines) {
    model.setMode(AppMode::Manifest);
    model.setManifestRoot({fileUrl(folder.path())});
    model.setManifestFile({fileUrl(folder.file("list.md5", lines))});
    waitFor([&] { return !model.isLoadingManifest(); });
  }

  void verify(const std::string& lines) {
    load(lines);
    model.verifyManifest();
    waitFor([&] { return !model.isManifestVerifying(); });
  }

  void drop(const QString& type, const QByteArray& content) {
    QMimeData data;
    data.setData(type, content);
    const QPointF place(300, 400);
    QDragEnterEvent enter(place.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    QDropEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
  }

  void fill(const QByteArray& files) {
    drop(QStringLiteral("text/uri-list"), files);
    waitFor([&] { return model.jobs()->count() == limit && !model.isProcessing(); });
  }
};

struct Input {
  const char* name;
  std::function<void(Victim&)> use;
};

const std::vector<Input>& inputs() {
  const static std::string arabic = md5 + repeated("\u0643\u0644 ", 200'000) + "\n";
  const static QByteArray text = QByteArray::fromStdString(repeated("not a location\n", 4'500'000));
  const static QByteArray files = [] {
    QByteArray lines;
    for (int i = 0; i < limit; ++i) lines += "file:///nowhere/folder%20" + QByteArray::number(i) + "/a%20file\r\n";
    return lines;
  }();
  const static std::vector<Input> all = {
      {"none", [](Victim&) {}},
      {"list line of 1,040,000 control characters",
       [](Victim& victim) { victim.load(md5 + std::string(1'040'000, '\x01') + "\n"); }},
      {"list line of 200,000 Arabic words", [](Victim& victim) { victim.load(arabic); }},
      {"60 such lines", [](Victim& victim) { victim.load(repeated(arabic, 60)); }},
      {"1,000,000 characters pasted into Verify",
       [](Victim& victim) {
         victim.model.setMode(AppMode::Verify);
         QGuiApplication::clipboard()->setText(QString(1'000'000, u'a'));
         victim.model.pasteExpectedHash();
       }},
      {"1,000,000 characters pasted into Text",
       [](Victim& victim) {
         victim.model.setMode(AppMode::Text);
         QGuiApplication::clipboard()->setText(QString(1'000'000, u'a'));
         victim.model.pasteText();
         Victim::waitFor([&] { return !victim.model.textHashes().algorithms().empty(); });
       }},
      {"path of 1 MB in a list", [](Victim& victim) { victim.verify(md5 + repeated("a/", 500'000) + "a\n"); }},
      {"2,000 paths of 4 KB in a list",
       [](Victim& victim) { victim.verify(repeated(md5 + repeated("a/", 2'000) + "a\n", 2'000)); }},
      {"100,000 files dropped", [](Victim& victim) { victim.fill(files); }},
      {"one of 100,000 files removed",
       [](Victim& victim) {
         victim.fill(files);
         (void)victim.turns.takeLongest();
         victim.model.removeJob(victim.model.jobs()->idAt(0));
       }},
      {"100,000 files cleared",
       [](Victim& victim) {
         victim.fill(files);
         (void)victim.turns.takeLongest();
         victim.model.clearFiles();
       }},
      {"100,000 entries of two files in turn, filtered by \"Waiting\"",
       [](Victim& victim) {
         victim.folder.file("a", "abc");
         std::filesystem::resize_file(victim.folder.file("b", ""), 1 << 30);
         victim.load(repeated(md5 + "a\n" + md5 + "b\n", limit / 2));
         victim.model.manifestJobs()->setFilter(ManifestJobListModel::Waiting);
         victim.model.verifyManifest();
         Victim::waitFor([&] { return !victim.model.isManifestVerifying(); });
       }},
      {"64 MB of plain text dropped", [](Victim& victim) { victim.drop(QStringLiteral("text/plain"), text); }},
  };
  return all;
}

void measure(TallyfoldApp& app, const Input& input) {
  QQuickWindow& window = app.window();
  test::TurnWatcher turns;
  Victim victim{app.viewModel(), window, turns, {}};
  const auto draw = [&] {
    bool isDrawn = false;
    QObject context;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &context, [&] { isDrawn = true; });
    window.update();
    Victim::waitFor([&] { return isDrawn; });
  };
  for (const AppMode::Case mode : AppMode::allCases()) {  // The screens are made when they are first shown.
    victim.model.setMode(mode);
    draw();
  }
  victim.model.setMode(AppMode::Files);
  draw();
  (void)turns.takeLongest();
  test::resetPeakMemory();
  input.use(victim);
  draw();
  std::printf("| %s | %.0f | %.0f |\n", input.name, turns.takeLongest(), test::peakMemory());
  std::fflush(stdout);
  _exit(0);
}

}  // namespace

}  // namespace tallyfold

int main(int argc, char** argv) {
  using namespace tallyfold;
  const auto& inputs = tallyfold::inputs();
  if (argc == 2) {
    const rlimit time{patience, patience};
    setrlimit(RLIMIT_CPU, &time);
    TallyfoldApp app(argc, argv);
    while (!app.window().isExposed()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    measure(app, inputs.at(std::stoul(argv[1])));
  }
  std::printf("| input | longest turn, ms of CPU | peak memory, MiB |\n|---|---|---|\n");
  std::fflush(stdout);
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const pid_t child = fork();
    if (child == 0) execl("/proc/self/exe", argv[0], std::to_string(i).c_str(), nullptr);
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) std::printf("| %s | over %d | |\n", inputs[i].name, patience * 1'000);
  }
}
