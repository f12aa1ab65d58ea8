// Shows all five screens with content that is hard to place, in windows of several sizes, and leaves a picture of each
// and a sheet of all of one size. Tells which texts and controls overlap, which are cut off by the edge of the window,
// and which texts are elided. The exit status is 0 only when nothing overlaps and nothing is cut off.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <QCommandLineParser>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include "app/shared/FileLocation.h"
#include "tour/Driver.h"
#include "ui/window/TallyfoldApp.h"

namespace fs = std::filesystem;

namespace tallyfold {

namespace {

constexpr QSize sizes[] = {{886, 520}, {1000, 680}, {1280, 720}, {1920, 1080}};

// Names of files whose runs last.
const std::string kEndless = "Backup of the machine below the stairs, as it was before the move to the new house.img";
const std::string kAnother = "another.img";
const std::string kLink = "a link.pdf";

class ContactSheet {
 public:
  ContactSheet(TallyfoldApp& app, fs::path output)
      : model_(app.viewModel()), window_(app.window()), output_(std::move(output)) {}

  bool make() {
    Driver(window_).movePointer({1, 1});
    for (const QSize& size : sizes) makeSheet(size, "empty");
    fillScreens();
    for (const QSize& size : sizes) makeSheet(size, "full");
    makeList();
    startRuns();
    for (const QSize& size : sizes) makeSheet(size, "running");
    return isSound_;
  }

 private:
  fs::path file(const std::string& name, const std::string& content) const {
    fs::create_directories((folder_ / name).parent_path());
    std::ofstream(folder_ / name, std::ios::binary) << content;
    return folder_ / name;
  }

  void fillScreens() {
    const std::string name = "Quarterly report of the department of long names, with all its appendices, final (3).pdf";
    const fs::path first = file(name, std::string(5'000'000, 'a'));
    const fs::path second = file("تقرير 2024 نهائي.pdf", std::string(5'000'000, 'b'));
    QList<QUrl> urls = {fileUrl(first), fileUrl(second), fileUrl(file("deep/er/and/deeper/still/a", "a"))};
    const fs::path gone = file("gone.iso", "");
    urls.append(fileUrl(gone));
    for (int i = 0; i < 8; ++i) urls.append(fileUrl(file("photo-" + std::to_string(i) + ".jpg", std::to_string(i))));
    model_.files()->addFiles(urls);
    Driver::waitFor("the files", [&] { return model_.files()->jobs()->rowCount({}) == urls.size(); });
    fs::remove(gone);
    model_.files()->startProcessing();
    Driver::waitFor("the checksums", [&] { return !model_.files()->isProcessing(); });

    model_.text()->setTextInput(QStringLiteral("The quick brown fox jumps over the lazy dog.\n").repeated(4));

    model_.verify()->setVerifyFile({fileUrl(first)});
    model_.verify()->setExpectedHash(QStringLiteral("SHA512 (a) = ") + QString(128, QLatin1Char('0')));
    model_.verify()->verify();
    Driver::waitFor("the verdict", [&] { return model_.verify()->verifyResult().has_value(); });

    const std::string digest(64, '0');
    std::string lines;
    for (const std::string& listed : {name, std::string("gone.iso"), std::string("deep/er/and/deeper/still/a")})
      lines.append("SHA256 (").append(listed).append(") = ").append(digest).append("\n");
    lines += "cfcd208495d565ef66e7dff9f98764da  photo-0.jpg\n";
    const fs::path list = file("MD5SUMS of everything that was released in this quarter.txt", lines + "not a line\n");
    model_.manifest()->setManifestRoot({fileUrl(folder_)});
    model_.manifest()->setManifestFile({fileUrl(list)});
    Driver::waitFor("the list", [&] { return model_.manifest()->manifestRefusal().isEmpty(); });
    model_.manifest()->verifyManifestOrChoose();
    Driver::waitFor("the list's verdict",
                    [&] { return !model_.manifest()->isBusy() && model_.manifest()->manifestProgress() == 1; });

    model_.compare()->setCompareFiles({fileUrl(first), fileUrl(second)}, false);
    model_.compare()->compare();
    Driver::waitFor("the comparison", [&] { return model_.compare()->compareResult().has_value(); });
  }

  // Everything at once, and each on its last file.
  void startRuns() {
    const fs::path endless = file(kEndless, "");
    const fs::path another = file(kAnother, "");
    for (const fs::path& large : {endless, another}) fs::resize_file(large, 32ULL << 30U);

    FilesFlow& files = *model_.files();
    const int count = files.jobs()->rowCount({});
    files.addFiles({fileUrl(endless)});
    Driver::waitFor("the last file", [&] { return files.jobs()->rowCount({}) > count; });
    files.startProcessing();

    ManifestFlow& manifest = *model_.manifest();
    const std::string digest(64, '0');
    manifest.setManifestFile(
        {fileUrl(file("SHA256SUMS", digest + "  photo-0.jpg\n" + digest + "  " + kEndless + "\n"))});
    Driver::waitFor("the last list", [&] { return manifest.manifestRefusal().isEmpty(); });
    manifest.verifyManifestOrChoose();

    model_.verify()->setVerifyFile({fileUrl(endless)});
    model_.verify()->verify();
    model_.compare()->setCompareFiles({fileUrl(endless), fileUrl(another)}, false);
    model_.compare()->compare();
    for (const RunStatus* status : {files.runStatus(), manifest.runStatus()}) {
      Driver::waitFor("the time left", [&] { return status->figures().contains(QStringLiteral("left")); });
    }
  }

  // The sheet over the window in which a list was made, and the alert over that.
  void makeList() {
    ListCreationFlow& creation = *model_.listCreation();
    // Of an earlier call.
    for (const std::string& name : {kEndless, kAnother, kLink}) fs::remove(folder_ / name);
    fs::create_symlink("nowhere", folder_ / kLink);
    Driver driver(window_);
    for (const QSize& size : sizes) {
      model_.setMode(AppMode::Manifest);
      window_.resize(size);
      QQuickItem* open = driver.usableItem(QStringLiteral("manifestRootAction"));
      QMetaObject::invokeMethod(open, "clicked");
      takePicture(size, "Creation-empty");
      creation.create();
      Driver::waitFor("the new list", [&] { return creation.saveRefusal().isEmpty(); });
      takePicture(size, "Creation-full");
      model_.setErrorMessage(QStringLiteral("The list was not saved. No space left on device"));
      takePicture(size, "Creation-alert");
      model_.setErrorMessage({});
      QMetaObject::invokeMethod(driver.usableItem(QStringLiteral("closeList")), "clicked");
      Driver::waitFor("the sheet to close", [&] { return driver.findItem(QStringLiteral("closeList")) == nullptr; });
      creation.reset();
    }
  }

  static std::string named(const std::string& screen, const QSize& size) {
    return screen + "-" + std::to_string(size.width()) + "x" + std::to_string(size.height());
  }

  QImage takePicture(const QSize& size, const std::string& name) {
    const std::string screen = named(name, size);
    QImage picture;
    // Rows take their heights in the first frames.
    for (int frame = 0; frame < 3; ++frame) Driver::drawFrame();
    Driver::waitFor(screen, [&] {
      Driver::drawFrame();
      picture = window_.grabWindow();
      return picture.size() == size * window_.devicePixelRatio();
    });
    picture.save(QString::fromStdString((output_ / (screen + ".png")).string()));
    examine(screen);
    return picture;
  }

  void makeSheet(const QSize& size, const std::string& name) {
    window_.resize(size);
    constexpr int cellWidth = 760;
    const QSize cell(cellWidth, cellWidth * size.height() / size.width());
    QImage sheet(2 * cell.width(), 3 * cell.height(), QImage::Format_RGB32);
    sheet.fill(Qt::black);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (const AppMode::Case mode : AppMode::allCases()) {
      model_.setMode(mode);
      const QImage picture = takePicture(size, AppMode::rawValue(mode).toStdString() + "-" + name);
      painter.drawImage(QRect(QPoint(mode % 2 * cell.width(), mode / 2 * cell.height()), cell), picture);
    }
    painter.end();
    sheet.save(QString::fromStdString((output_ / (named("sheet-" + name, size) + ".png")).string()));
  }

  struct Part {
    QQuickItem* item;
    QRectF place;  // What can be seen of it, in the window.
    QString text;
  };

  // Texts, icons and whole controls, in the order in which they are drawn.
  static void collect(QQuickItem* item, QRectF clip, std::vector<Part>& parts) {
    if (!item->isVisible() || item->opacity() == 0 || item->inherits("QQuickOverlay")) return;
    const QRectF place = item->mapRectToScene(item->boundingRect());
    const bool isText = item->inherits("QQuickText") || item->inherits("QQuickTextEdit");
    const bool isIcon = item->inherits("QQuickImage") && !item->property("name").toString().isEmpty();
    if (isText || isIcon || item->inherits("QQuickButton") || item->inherits("QQuickProgressBar")) {
      const QString text = item->property(isIcon ? "name" : "text").toString();
      if (!isText || !text.isEmpty()) parts.push_back({item, place & clip, text.left(60)});
    }
    if (item->clip()) clip &= place;
    for (QQuickItem* child : item->childItems()) collect(child, clip, parts);
  }

  void examine(const std::string& screen) {
    std::vector<Part> parts;
    const QRectF all(QPointF(), window_.size());
    QQuickItem* content = window_.contentItem();
    collect(content, all, parts);
    // Of what lies over other things, only the topmost.
    for (QQuickItem* over : content->childItems()) {
      if (!over->inherits("QQuickOverlay") || !over->isVisible()) continue;
      for (QQuickItem* sheet : over->childItems()) {
        if (!sheet->inherits("QQuickPopupItem")) continue;
        parts.clear();
        collect(sheet, all, parts);
      }
    }
    const auto tell = [&](const char* what, const Part& part, const QString& more = {}) {
      std::printf("%s: %s: %s %s\n", screen.c_str(), what, qPrintable(part.text), qPrintable(more));
    };
    for (auto part = parts.begin(); part != parts.end(); ++part) {
      if (part->item->property("truncated").toBool()) tell("elided", *part);
      const QRectF whole = part->item->mapRectToScene(part->item->boundingRect());
      if (!part->place.isEmpty() && (whole.left() < -1 || whole.right() > all.right() + 1)) {
        tell("CUT OFF", *part);
        isSound_ = false;
      }
      for (auto other = parts.begin(); other != part; ++other) {
        const QRectF common = part->place & other->place;
        if (common.width() <= 1 || common.height() <= 1) continue;
        if (part->item->isAncestorOf(other->item) || other->item->isAncestorOf(part->item)) continue;
        tell("OVERLAP", *part, "and " + other->text);
        isSound_ = false;
      }
    }
  }

  AppViewModel& model_;
  QQuickWindow& window_;
  fs::path output_;
  fs::path folder_ = output_ / "files";
  bool isSound_ = true;
};

}  // namespace

}  // namespace tallyfold

int main(int argc, char** argv) {
  tallyfold::TallyfoldApp app(argc, argv);
  QCommandLineParser parser;
  parser.addPositionalArgument(QStringLiteral("folder"), QStringLiteral("Where the pictures go."));
  parser.process(QCoreApplication::arguments());
  const fs::path output = fs::absolute(parser.positionalArguments().value(0, QStringLiteral(".")).toStdString());
  QTimer::singleShot(0, [&] {
    int status = 1;
    try {
      fs::create_directories(output);
      tallyfold::Driver::waitFor("the window", [&] { return app.window().isExposed(); });
      status = tallyfold::ContactSheet(app, output).make() ? 0 : 1;
    } catch (const std::exception& error) {
      std::fprintf(stderr, "The sheet is not whole. %s\n", error.what());
    }
    QCoreApplication::exit(status);
  });
  return app.leave(QApplication::exec());
}
