// The program as it is installed, as a process of its own, met only through the display.

#include <fstream>
#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>

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

  void start(const QString& command = TALLY_FOLD, const QStringList& arguments = {}) {
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.start(command, arguments);
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
  [[nodiscard]] std::string processId() const {
    std::string id = std::to_string(program.processId());
    if (program.program() == TALLY_FOLD) return id;
    std::ifstream children("/proc/" + id + "/task/" + id + "/children");
    std::string child;
    children >> child;
    return child;
  }

  [[nodiscard]] bool hasOpen(const fs::path& file) const {
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/proc/" + processId() + "/fd", gone)) {
      if (fs::read_symlink(entry, gone) == file) return true;
    }
    return false;
  }

  // Starts the program under a tracer of its network calls, whose notes go to the file that is returned.
  fs::path startTraced() {
    const fs::path trace = folder.path() / "trace";
    // The leak checker cannot work under a tracer.
    qputenv("ASAN_OPTIONS", qgetenv("ASAN_OPTIONS") + ":detect_leaks=0");
    const QStringList tracer = {"-f", "-e", "trace=network", "-o", QString::fromStdString(trace.string())};
    if (QProcess::execute("strace", tracer + QStringList{"true"}) != 0) {
      throw std::runtime_error("strace cannot trace here: what the program does was not seen.");
    }
    start("strace", tracer + QStringList{TALLY_FOLD});
    return trace;
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

TEST_F(ProgramTest, StartsInTheMiddleOfTheScreenAndEndsWithItsWindow) {
  start();
  const OtherWindow window("Tally Fold");
  EXPECT_EQ(window.geometry().size(), QSize(1000, 680));
  EXPECT_LE((window.geometry().center() - QRect(0, 0, 1920, 1200).center()).manhattanLength(), 2);
  EXPECT_GE(window.minimumSize().width(), 165 + 720);
  EXPECT_GE(window.minimumSize().height(), 520);
  window.close();
  expectExit();
}

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

TEST_F(ProgramTest, NoInternetSocketIsEverOpened) {
  const fs::path trace = startTraced();
  const OtherWindow window("Tally Fold");
  // Large enough to be seen open.
  const fs::path file = folder.file("file", "");
  fs::resize_file(file, 256U << 20U);
  add(window, file);
  calculate(file);
  const std::string sha256 = outputOf({"sha256sum", file.string()}).substr(0, 64);
  XInput::waitFor("the checksums", [&] {
    input.press({"Control_L", "c"});
    return input.clipboard().find("SHA-256: " + sha256) != std::string::npos;
  });
  input.press({"Control_L", "e"});
  input.press({"Down"});
  input.press({"Return"});
  answerPanel("Save Report", folder.path() / "report.txt");
  XInput::waitFor("the report", [&] { return fs::exists(folder.path() / "report.txt"); });
  window.focus();
  input.press({"Control_L", "q"});
  expectExit();

  const QString calls = QString::fromStdString(contentOf(trace));
  QStringList families;
  static const QRegularExpression socket(QStringLiteral("\\bsocket\\((\\w+),"));
  for (auto match = socket.globalMatch(calls); match.hasNext();) families.append(match.next().captured(1));
  EXPECT_THAT(families, testing::Contains(QStringLiteral("AF_UNIX"))) << "The display's own socket must be there.";
  EXPECT_THAT(families, testing::Each(testing::AnyOf(QStringLiteral("AF_UNIX"), QStringLiteral("AF_NETLINK"))));
  EXPECT_FALSE(calls.contains(QStringLiteral("AF_INET")));
}

}  // namespace

}  // namespace tallyfold::test
