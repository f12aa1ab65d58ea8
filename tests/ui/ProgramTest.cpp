// The program as it is installed, as a process of its own, met only through the display.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QProcess>

#include "export/ManifestService.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/ui/OtherWindow.h"
#include "tour/XInput.h"

namespace tallyfold::test {

namespace fs = std::filesystem;

namespace {

class ProgramTest : public testing::Test {
 protected:
  void SetUp() override { input.movePointer({1, 1}); }

  void TearDown() override {
    if (program.state() == QProcess::NotRunning) return;
    program.kill();
    program.waitForFinished();
  }

  // In a folder with what the program could take for parts of itself.
  void start() {
    fs::create_directories(folder.path() / "qrc:/qml/TallyFold");
    for (const char* const planted : {"libQt6Svg.so.6", "qrc:/qml/TallyFold/ContentView.qml"}) {
      folder.file(planted, "planted");
    }
    program.setWorkingDirectory(QString::fromStdString(folder.path()));
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.start(QStringLiteral(TALLY_FOLD), QStringList{});
  }

  // Adds a file from the keyboard.
  void add(const OtherWindow& window, const fs::path& file) {
    window.focus();
    input.press({"Control_L", "o"});
    answerPanel("Choose Files", file);
    window.focus();
  }

  void answerPanel(const std::string& title, const fs::path& file) {
    const OtherWindow panel(title);
    panel.focus();
    input.press({"Control_L", "a"});
    input.type(file.string());
    input.press({"Return"});
    XInput::waitFor("the panel to close", [&] { return !panel.isVisible(); });
  }

  // Of the program itself, also when a tracer runs it.
  [[nodiscard]] bool hasOpen(const fs::path& file) const {
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(program.processId()) + "/fd", gone)) {
      if (fs::read_symlink(entry, gone) == file) return true;
    }
    return false;
  }

  // Starts a run over the file that was added, as soon as the program has taken it in.
  void calculate(const fs::path& file) {
    XInput::waitFor("the run", [&] {
      if (!hasOpen(file)) input.press({"Control_L", "Return"});
      return hasOpen(file);
    });
  }

  void expectExit() {
    XInput::waitFor("the end of the program", [&] { return program.state() == QProcess::NotRunning; });
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
  }

  XInput input;
  QProcess program;
  TemporaryFolder folder;
};

TEST_F(ProgramTest, ClosingInMidRunEndsEveryWorkerWithinASecond) {
  const fs::path endless = folder.file("endless", "");
  fs::resize_file(endless, 256ULL << 30U);
  const std::vector<std::function<void(const OtherWindow&)>> ways = {
      [](const OtherWindow& window) { window.close(); },
      [this](const OtherWindow&) {
        input.press({"Control_L", "q"});
      },
  };
  for (const auto& way : ways) {
    start();
    const OtherWindow window("Tally Fold");
    add(window, endless);
    calculate(endless);
    QElapsedTimer timer;
    timer.start();
    way(window);
    XInput::waitFor("the end of the work", [&] { return !hasOpen(endless); });
    EXPECT_LT(timer.elapsed(), 1000);
    expectExit();
    // A sanitizer has its own work to do at the end.
    EXPECT_LT(timer.elapsed(), IS_SANITIZED ? 20'000 : 1000);
  }
}

TEST_F(ProgramTest, ClosingWhileAReportGoesToASlowDiskLeavesNothingBehindIfTheDiskAnswers) {
  const fs::path pipe = folder.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const fs::path file = folder.file("file", "abc");
  fs::create_directory(folder.path() / "reports");
  const fs::path report = folder.path() / "reports/report.txt";
  const auto items = [&] { return std::distance(fs::directory_iterator(report.parent_path()), {}); };
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(SLOW_DISK));
  environment.insert(QStringLiteral("SLOW_DISK"), QString::fromStdString(pipe));
  environment.insert(QStringLiteral("ASAN_OPTIONS"),
                     environment.value(QStringLiteral("ASAN_OPTIONS")) + QStringLiteral(":verify_asan_link_order=0"));
  program.setProcessEnvironment(environment);

  const struct {
    bool isCancelled;
    bool answers;
  } cases[]{{false, true}, {true, true}, {false, false}};
  for (const auto& [isCancelled, answers] : cases) {
    start();
    const OtherWindow window("Tally Fold");
    add(window, file);
    int attempts = 0;
    XInput::waitFor("the checksums", [&] {
      if (attempts++ % 10 == 0) input.press({"Control_L", "Return"});
      input.press({"Control_L", "c"});
      return input.clipboard().starts_with("SHA-256: ba7816bf");
    });
    input.press({"Control_L", "e"});
    input.press({"Down"});
    input.press({"Return"});
    answerPanel("Save Report", report);
    int disk = -1;
    XInput::waitFor("the report to be forced to the disk",
                    [&] { return (disk = open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; });
    EXPECT_EQ(items(), 1) << "the private folder";

    QElapsedTimer timer;
    timer.start();
    if (isCancelled) {
      window.focus();
      input.press({"Escape"});
      XInput::waitFor("the export to end without its disk", [&] { return timer.elapsed() >= 3000; });
      timer.start();
    }
    window.close();
    XInput::waitFor("the window to go", [&] { return !window.isVisible(); });
    XInput::waitFor("a disk that takes two seconds", [&] { return timer.elapsed() >= 2000; });
    EXPECT_EQ(program.state(), QProcess::Running);
    if (answers) close(disk);
    expectExit();
    if (!answers) close(disk);
    EXPECT_FALSE(fs::exists(report));
    EXPECT_EQ(items(), answers ? 0 : 1);
  }
  ManifestService::write({}, ManifestService::Format::plainText, report, {});
  EXPECT_EQ(items(), 1) << "the report";
}

}  // namespace

}  // namespace tallyfold::test
