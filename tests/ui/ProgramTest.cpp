// The program as it is installed, as a process of its own, met only through the display.

#include <fstream>
#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QProcess>

#include "tests/support/Process.h"
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

}  // namespace

}  // namespace tallyfold::test
