// A walk through the Files mode with real input, on the files that are given: every step leaves a screenshot, and the
// three reports are saved as a user saves them. The exit status is 0 only when everything was there that should be.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <QCommandLineParser>
#include <QQuickWindow>

#include "tour/Driver.h"
#include "ui/TallyfoldApp.h"

namespace fs = std::filesystem;

namespace tallyfold {

namespace {

class Tour {
 public:
  Tour(TallyfoldApp& app, fs::path output, std::vector<fs::path> files)
      : model_(app.viewModel()), driver_(app.window()), output_(std::move(output)), files_(std::move(files)) {}

  void walk() {
    show("empty");
    addFiles();
    selectAllAlgorithms();
    calculate();
    copy();
    for (const char* format : {"Text", "Csv", "Json"}) exportAs(format);
    lookAround();
  }

 private:
  void addFiles() {
    driver_.press({"Control_L", "o"});
    std::string names;
    for (const fs::path& file : files_) names += '"' + file.string() + "\" ";
    driver_.answerPanel("openPanel", names);
    Driver::waitFor("the files", [&] { return model_.jobs()->count() == static_cast<int>(files_.size()); });
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
    Driver::waitFor("the checksums",
                    [&] { return !model_.isProcessing() && model_.results().size() == files_.size(); });
    show("calculated");
  }

  void copy() {
    const FileHashResult& first = *model_.results().front();
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
    Driver::waitFor(report.string(), [&] { return !model_.isExporting() && fs::exists(report); });
    require(model_.errorMessage().isEmpty(), "The report is saved without an error");
  }

  void lookAround() {
    for (const char* digit : {"2", "3", "4", "5", "1"}) driver_.press({"Control_L", digit});
    Driver::waitFor("Files mode", [&] { return model_.mode() == AppMode::Files; });
    driver_.press({"Control_L", "comma"});
    driver_.usableItem("aboutTitle");
    show("settings");
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
  Driver driver_;
  fs::path output_;
  std::vector<fs::path> files_;
  int steps_ = 0;
};

}  // namespace

}  // namespace tallyfold

int main(int argc, char** argv) {
  tallyfold::TallyfoldApp app(argc, argv);
  QCommandLineParser parser;
  parser.addOption(
      {QStringLiteral("output"), QStringLiteral("Folder for screenshots and reports."), QStringLiteral("folder")});
  parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Files to calculate checksums of."));
  parser.process(QCoreApplication::arguments());
  const fs::path output = fs::absolute(parser.value(QStringLiteral("output")).toStdString());
  std::vector<fs::path> files;
  for (const QString& file : parser.positionalArguments()) files.push_back(fs::absolute(file.toStdString()));
  try {
    tallyfold::Tour(app, output, std::move(files)).walk();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "The tour ended early. %s\n", error.what());
    app.window().screen()->grabWindow(0).save(QString::fromStdString((output / "failure.png").string()));
    return 1;
  }
}
