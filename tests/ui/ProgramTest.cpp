// The program as it is installed, as a process of its own, met only through the display.

#include <fstream>
#include <gmock/gmock.h>
#include <set>

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

  void start(const QStringList& tracer = {}) {
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.setProgram(tracer.isEmpty() ? TALLY_FOLD : tracer.front());
    program.setArguments(tracer.isEmpty() ? QStringList() : tracer.mid(1) + QStringList{TALLY_FOLD});
    program.start();
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

  // Starts the program under a tracer of these calls, whose notes go to the file that is returned.
  fs::path startTraced(const QString& calls) {
    fs::path trace = folder.path() / "trace";
    // The leak checker cannot work under a tracer.
    if (!qgetenv("ASAN_OPTIONS").contains("detect_leaks=0")) {
      qputenv("ASAN_OPTIONS", qgetenv("ASAN_OPTIONS") + ":detect_leaks=0");
    }
    const QStringList tracer = {
        "strace", "-f", "-y", "-e", "trace=" + calls, "-o", QString::fromStdString(trace.string())};
    if (QProcess::execute(tracer.front(), tracer.mid(1) + QStringList{"true"}) != 0) {
      throw std::runtime_error("strace cannot trace here: what the program does was not seen.");
    }
    start(tracer);
    return trace;
  }

  // By all calls that the tracer noted. A call of one thread may be noted in two parts, before and after one of
  // another.
  static qint64 bytesReadFrom(const fs::path& file, const fs::path& trace) {
    const QRegularExpression call(
        QStringLiteral(R"(^(\d+) +(?:<\.\.\. )?(\w+)(.*?)(?:= (\d+)| <unfinished \.\.\.>)$)"));
    const QString place = QStringLiteral("<%1>").arg(QString::fromStdString(file.string()));
    std::set<QString> underWay;  // The threads that have begun to read from the file.
    qint64 bytes = 0;
    for (const QString& line : QString::fromStdString(contentOf(trace)).split(u'\n')) {
      const QRegularExpressionMatch match = call.match(line);
      const QString thread = match.captured(1);
      if (line.contains(place)) {
        EXPECT_TRUE(match.hasMatch()) << line.toStdString();
        EXPECT_NE(match.captured(2), QStringLiteral("mmap"));
        underWay.insert(thread);
      }
      if (!match.captured(4).isEmpty() && underWay.erase(thread) > 0) bytes += match.captured(4).toLongLong();
    }
    return bytes;
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

TEST_F(ProgramTest, FileListedUnderSeveralAlgorithmsAndNamesIsReadOnce) {
  constexpr qint64 size = 20'000'000;
  const fs::path root = folder.path() / "root";
  fs::create_directory(root);
  const fs::path file = folder.file("root/file", randomBytes(size, 1));
  fs::create_hard_link(file, root / "same file");
  const std::string sha256 = outputOf({"sha256sum", file.string()}).substr(0, 64);
  const std::string blake3 = outputOf({"b3sum", "--no-names", file.string()}).substr(0, 64);
  const fs::path list = folder.file(
      "list", "SHA256 (file) = " + sha256 + "\nBLAKE3 (file) = " + blake3 + "\nSHA256 (same file) = " + sha256 + "\n");

  const fs::path trace = startTraced("read,pread64,readv,preadv,mmap");
  const OtherWindow window("Tally Fold");
  window.focus();
  input.press({"Control_L", "4"});
  input.press({"Control_L", "o"});
  answerPanel("Choose File", list);
  window.focus();
  const auto allRowsAre = [&](const std::string& state) {
    input.press({"Control_L", "Shift_L", "c"});
    const QString rows = QString::fromStdString(input.clipboard());
    return rows.count(QString::fromStdString("\t" + state)) == 3;
  };
  XInput::waitFor("the list", [&] { return allRowsAre("Queued"); });
  input.press({"Control_L", "Shift_L", "o"});
  answerPanel("Choose Folder", root);
  window.focus();
  // What is typed while a panel closes is lost. A second verification would read once more.
  XInput::waitFor("the keyboard", [&] {
    input.press({"Control_L", "c"});
    return input.clipboard() == "1\tSHA-256\tfile\tQueued";
  });
  input.press({"Control_L", "Return"});
  XInput::waitFor("the verdict", [&] { return allRowsAre("Match"); });
  input.press({"Control_L", "q"});
  expectExit();
  EXPECT_EQ(bytesReadFrom(file, trace), size);
}

}  // namespace

}  // namespace tallyfold::test
