// A walk through all five modes with real input, on the files that are given: every step leaves a screenshot, and the
// three reports are saved as a user saves them. The exit status is 0 only when everything was there that should be.

#include <atomic>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <variant>
#include <vector>

#include <QCommandLineParser>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include "tour/Driver.h"
#include "ui/window/TallyfoldApp.h"

namespace fs = std::filesystem;

namespace tallyfold {

namespace {

std::atomic<int> warnings = 0;  // Of the toolkit and the screens, in any thread.

void note(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
  std::fprintf(stderr, "%s\n", qUtf8Printable(message));
  // Of a small window of the toolkit's that is shown again before the server has told that it was hidden: on a busy
  // machine, typing into a file panel is faster.
  const bool isOfHaste = message.contains(QStringLiteral("setNetWmStateOnUnmappedWindow"));
  if (type != QtDebugMsg && type != QtInfoMsg && !isOfHaste) ++warnings;
}

class Tour {
 public:
  Tour(TallyfoldApp& app, fs::path output, std::vector<fs::path> files)
      : model_(app.viewModel()),
        window_(app.window()),
        driver_(window_),
        output_(std::move(output)),
        files_(std::move(files)) {}

  void walk() {
    require(window_.size() == QSize(1000, 680), "The window opens in its size");
    show("empty");
    addFiles();
    selectAllAlgorithms();
    calculate();
    copy();
    for (const char* format : {"Text", "Csv", "Json"}) exportAs(format);
    hashText();
    verify();
    verifyManifest();
    compare();
    lookAround();
    leaveInMidRun();
  }

 private:
  void addFiles() {
    driver_.press({"Control_L", "o"});
    std::string names;
    for (const fs::path& file : files_) names += '"' + file.string() + "\" ";
    driver_.answerPanel("openPanel", names);
    Driver::waitFor("the files", [&] { return model_.files()->jobs()->count() == static_cast<int>(files_.size()); });
    show("added");
  }

  void selectAllAlgorithms() {
    driver_.click("presets");
    driver_.moveTo("presetAll");
    show("presets");
    driver_.click("presetAll");
    Driver::waitFor("all algorithms", [&] { return model_.selectedAlgorithms() == HashAlgorithmSet::all(); });
  }

  void calculate() {
    driver_.click("calculate");
    Driver::waitFor("the checksums", [&] {
      return !model_.files()->isProcessing() && model_.files()->results().size() == files_.size();
    });
    show("calculated");
  }

  void copy() {
    const FileHashResult& first = *model_.files()->results().front();
    std::string lines;
    for (const HashAlgorithm algorithm : HashAlgorithm::allCases()) {
      if (!lines.empty()) lines += '\n';
      lines.append(algorithm.rawValue()).append(": ").append(first.hashes.find(algorithm).value());
    }
    driver_.click("copyAll");
    Driver::waitFor("all checksums of the selected file", [&] { return driver_.clipboard() == lines; });
    driver_.click("copy SHA-256");
    Driver::waitFor("the one digest",
                    [&] { return driver_.clipboard() == first.hashes.find(HashAlgorithm::sha256).value(); });
    show("copied");
  }

  void exportAs(const std::string& format) {
    driver_.press({"Control_L", "e"});
    driver_.moveTo(QString::fromStdString("export" + format));
    show("export");
    driver_.click(QString::fromStdString("export" + format));
    const std::string extension = format == "Text" ? "txt" : format == "Csv" ? "csv" : "json";
    const fs::path report = output_ / ("checksums." + extension);
    driver_.answerPanel("savePanel", report);
    Driver::waitFor(report.string(), [&] { return !model_.files()->isExporting() && fs::exists(report); });
    require(model_.errorMessage().isEmpty(), "The report is saved without an error");
  }

  void hashText() {
    enter(AppMode::Text, "2");
    driver_.click("textEditor");
    driver_.type("abc");
    Driver::waitFor("the text's checksums", [&] {
      return model_.text()->textInput() == u"abc" &&
             model_.text()->textHashes().algorithms() == HashAlgorithmSet::all();
    });
    // FIPS 180-4, appendix to SHA-256.
    require(model_.text()->textHashes().find(HashAlgorithm::sha256) ==
                "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
            "The text has its published digest");
    show("text");
  }

  void verify() {
    enter(AppMode::Verify, "3");
    driver_.press({"Control_L", "o"});
    driver_.answerPanel("openPanel", files_.front());
    Driver::waitFor("the file", [&] { return model_.verify()->verifyURL() == files_.front(); });
    driver_.click("pasteChecksum");
    driver_.click("verify");
    expectVerdict<Verification::AmbiguousExpectedHash>("ambiguous");
    driver_.click("verifyAlgorithm");
    driver_.click("verifyAlgorithm SHA-256");
    driver_.click("verify");
    expectVerdict<Verification::Match>("match");
    driver_.click("checksumField");
    driver_.press({"Control_L", "a"});
    const std::string wrong = "SHA256 (a) = " + std::string(64, '0');
    driver_.type(wrong);
    Driver::waitFor("the typed checksum",
                    [&] { return model_.verify()->expectedHash() == QString::fromStdString(wrong); });
    driver_.press({"Return"});
    expectVerdict<Verification::Mismatch>("mismatch");
  }

  template <typename Verdict>
  void expectVerdict(const std::string& name) {
    Driver::waitFor("the verdict " + name, [&] {
      const auto& result = model_.verify()->verifyResult();
      return !model_.verify()->isVerifying() && result && std::holds_alternative<Verdict>(*result);
    });
    show("verify-" + name);
  }

  // Has sha256sum write a list of the files, as they lie in `folder`.
  void writeList(const fs::path& folder, const fs::path& list) const {
    std::vector<std::string> words = {"env", "--chdir=" + folder.string(), "sha256sum"};
    for (const fs::path& file : files_) words.push_back(file.filename());
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t toList;
    posix_spawn_file_actions_init(&toList);
    posix_spawn_file_actions_addopen(&toList, STDOUT_FILENO, list.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t child = 0;
    int status = 0;
    const bool isStarted = posix_spawnp(&child, arguments[0], &toList, nullptr, arguments.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&toList);
    require(isStarted && waitpid(child, &status, 0) == child && status == 0, "sha256sum writes a list");
  }

  // A list that another program wrote of copies of the files; then three of the copies are no longer what they were.
  void verifyManifest() {
    fs::create_directory(copies_);
    for (const fs::path& file : files_) fs::copy_file(file, copies_ / file.filename());
    const fs::path list = output_ / "SHA256SUMS";
    writeList(copies_, list);

    enter(AppMode::Manifest, "4");
    show("manifest-empty");
    driver_.press({"Control_L", "o"});
    driver_.answerPanel("openPanel", list);
    Driver::waitFor("the list",
                    [&] { return model_.manifest()->manifestJobs()->total() == static_cast<int>(files_.size()); });
    show("manifest-list");
    driver_.press({"Control_L", "Shift_L", "o"});
    driver_.answerPanel("openPanel", copies_);
    Driver::waitFor("the root folder", [&] { return model_.manifest()->manifestRootURL() == copies_; });
    driver_.press({"Control_L", "Return"});
    const int count = model_.manifest()->manifestJobs()->total();
    Driver::waitFor("the verdict", [&] {
      return !model_.manifest()->isManifestVerifying() && model_.manifest()->manifestMatchedCount() == count;
    });
    require(model_.manifest()->manifestVerdict().tone == Tone::Good, "A list of unchanged files verifies wholly");
    show("manifest-match");

    std::ofstream(copies_ / files_[0].filename(), std::ios::app) << '\n';
    fs::remove(copies_ / files_[1].filename());
    fs::remove(copies_ / files_[2].filename());
    fs::create_symlink(files_[2], copies_ / files_[2].filename());
    driver_.click("verifyManifest");
    Driver::waitFor("the verdict", [&] {
      return !model_.manifest()->isManifestVerifying() && model_.manifest()->manifestErrorCount() == 2;
    });
    for (std::size_t job = 0; job < files_.size(); ++job) {
      const ManifestJob::State& state = model_.manifest()->manifestJobs()->jobs().at(job).state;
      const auto* failed = std::get_if<ManifestJob::Failed>(&state);
      switch (job) {
        case 0:
          require(std::holds_alternative<ManifestJob::Mismatch>(state), "The changed file is a mismatch");
          break;
        case 1:
          require(failed != nullptr && failed->message == "No such file or directory", "The removed file is missing");
          break;
        case 2:
          require(failed != nullptr && failed->message == "A manifest path resolves outside the selected root folder.",
                  "The link to the outside is refused");
          break;
        default:
          require(std::holds_alternative<ManifestJob::Match>(state), "All others match");
      }
    }
    show("manifest-mismatch");
    fs::remove_all(copies_);
  }

  void compare() {
    enter(AppMode::Compare, "5");
    driver_.click("compareFirstChoose");
    driver_.answerPanel("openPanel", files_.front());
    Driver::waitFor("the first file", [&] { return model_.compare()->compareFirstURL() == files_.front(); });
    driver_.click("compareSecondChoose");
    driver_.answerPanel("openPanel", files_.back());
    Driver::waitFor("the second file", [&] { return model_.compare()->compareSecondURL() == files_.back(); });
    driver_.click("compare");
    expectComparison("different", false);
    driver_.click("compareSecondChoose");
    driver_.answerPanel("openPanel", files_.front());
    Driver::waitFor("the same file", [&] { return model_.compare()->compareSecondURL() == files_.front(); });
    driver_.press({"Return"});
    expectComparison("identical", true);
    driver_.click("compareFirstChoose");
    driver_.answerPanel("openPanel", files_.back());
    driver_.click("swapFiles");
    Driver::waitFor("the swap", [&] { return model_.compare()->compareSecondURL() == files_.back(); });
  }

  void expectComparison(const std::string& name, bool isIdentical) {
    Driver::waitFor("the comparison " + name, [&] {
      const auto& result = model_.compare()->compareResult();
      return !model_.compare()->isComparing() && result &&
             std::holds_alternative<FileComparison::Identical>(*result) == isIdentical;
    });
    show("compare-" + name);
  }

  void enter(AppMode::Case mode, const char* digit) {
    driver_.press({"Control_L", digit});
    Driver::waitFor("the mode", [&] { return model_.mode() == mode; });
  }

  void lookAround() {
    enter(AppMode::Files, "1");
    driver_.press({"Control_L", "comma"});
    const QQuickItem* title = driver_.usableItem("aboutTitle");
    QQuickWindow& settings = *title->window();
    driver_.focus(settings);
    const double content = title->parentItem()->height();
    require(settings.size() == QSize(420, qRound(content) + 48), "The settings window is as large as what it shows");
    show("settings");
    driver_.press({"Escape"});
    Driver::waitFor("the settings to close", [&] { return driver_.findItem("aboutTitle") == nullptr; });
    driver_.focus(window_);
  }

  void leaveInMidRun() {
    fs::create_directory(copies_);
    const fs::path endless = copies_ / "endless";
    std::ofstream(endless).close();
    fs::resize_file(endless, 256ULL << 30U);
    driver_.press({"Control_L", "o"});
    driver_.answerPanel("openPanel", endless);
    Driver::waitFor("the endless file",
                    [&] { return model_.files()->jobs()->count() > static_cast<int>(files_.size()); });
    driver_.click("calculate");
    Driver::waitFor("the run", [&] { return model_.files()->isProcessing(); });
    driver_.press({"Control_L", "q"});
    Driver::waitFor("the end of the run", [&] { return !model_.files()->isProcessing(); });
    fs::remove_all(copies_);
  }

  void show(const std::string& step) {
    const QString name =
        QStringLiteral("%1-%2.png").arg(++steps_, 2, 10, QLatin1Char('0')).arg(QString::fromStdString(step));
    driver_.screenshot(output_ / name.toStdString());
  }

  static void require(bool condition, const std::string& statement) {
    if (!condition) throw std::runtime_error("Not so: " + statement + ".");
  }

  AppViewModel& model_;
  QQuickWindow& window_;
  Driver driver_;
  fs::path output_;
  fs::path copies_ = output_ / "copies";
  std::vector<fs::path> files_;
  int steps_ = 0;
};

}  // namespace

}  // namespace tallyfold

int main(int argc, char** argv) {
  qInstallMessageHandler(tallyfold::note);
  tallyfold::TallyfoldApp app(argc, argv);
  QCommandLineParser parser;
  parser.addOption(
      {QStringLiteral("output"), QStringLiteral("Folder for screenshots and reports."), QStringLiteral("folder")});
  parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Files to calculate checksums of."));
  parser.process(QCoreApplication::arguments());
  const fs::path output = fs::absolute(parser.value(QStringLiteral("output")).toStdString());
  std::vector<fs::path> files;
  for (const QString& file : parser.positionalArguments())
    files.push_back(fs::absolute(file.toStdString()).lexically_normal());
  // As a user leaves: the last step closes the window, with which the program ends.
  QTimer::singleShot(0, [&] {
    try {
      tallyfold::Tour(app, output, files).walk();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "The tour ended early. %s\n", error.what());
      app.window().screen()->grabWindow(0).save(QString::fromStdString((output / "failure.png").string()));
      QCoreApplication::exit(1);
    }
  });
  const int status = app.run();
  if (tallyfold::warnings == 0) return status;
  std::fprintf(stderr, "Not so: The tour is walked without a warning. There were %d.\n", tallyfold::warnings.load());
  return 1;
}
