// The pictures of the README: each screen in the size in which the window opens, with files that are made for it.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include <QElapsedTimer>
#include <QImage>
#include <QQuickWindow>
#include <QTimer>

#include "app/shared/FileLocation.h"
#include "tour/Driver.h"
#include "ui/window/TallyfoldApp.h"

namespace fs = std::filesystem;

namespace tallyfold {

namespace {

class Pictures {
 public:
  Pictures(TallyfoldApp& app, fs::path folder, fs::path output)
      : model_(app.viewModel()), window_(app.window()), folder_(std::move(folder)), output_(std::move(output)) {}

  void take() {
    Driver(window_).movePointer({1, 1});
    showFiles();
    showText();
    showVerify();
    showManifest();
    showCompare();
  }

 private:
  // Of random bytes, the same each time.
  fs::path file(const std::string& name, std::size_t size) const {
    std::string content(size, '\0');
    std::minstd_rand bytes(static_cast<unsigned>(size));
    for (char& byte : content) byte = static_cast<char>(bytes());
    fs::create_directories((folder_ / name).parent_path());
    std::ofstream(folder_ / name, std::ios::binary) << content;
    return folder_ / name;
  }

  // Differs from `original` in one byte.
  fs::path damagedCopy(const fs::path& original, const std::string& name, std::streamoff place) const {
    fs::copy_file(original, folder_ / name);
    std::fstream(folder_ / name, std::ios::binary | std::ios::in | std::ios::out).seekp(place).put('!');
    return folder_ / name;
  }

  void showFiles() {
    model_.setMode(AppMode::Files);
    FilesFlow& files = *model_.files();
    QList<QUrl> urls = {fileUrl(report_), fileUrl(photo_), fileUrl(folder_ / "gone.tar.zst")};
    const fs::path large = file("archive/photos-2019.tar", 0);
    fs::resize_file(large, 98'700'000'000);
    urls.append(fileUrl(large));
    urls.append(fileUrl(file("archive/letters.zip", 81'234'567)));
    files.addFiles(urls);
    Driver::waitFor("the files", [&] { return files.jobs()->count() == urls.size(); });
    files.startProcessing();
    Driver::waitFor("the time left", [&] { return files.runStatus()->figures().endsWith(QStringLiteral("left")); });
    for (std::size_t i = 0; i < 2; ++i) digests_[i] = files.results().at(i)->hashes.find(HashAlgorithm::sha256).value();
    keep("files");
    files.cancelProcessing();
    Driver::waitFor("the end", [&] { return !files.isProcessing(); });
    files.clearFiles();
  }

  void showText() {
    model_.setMode(AppMode::Text);
    model_.text()->setTextInput(QStringLiteral("Grüße aus Zürich.\nThis is the text as it was signed.\n"));
    Driver::waitFor("the checksums", [&] { return !model_.text()->textHashes().algorithms().empty(); });
    keep("text");
  }

  void showVerify() {
    model_.setMode(AppMode::Verify);
    model_.verify()->setVerifyFile({fileUrl(report_)});
    model_.verify()->setExpectedHash(
        QString::fromStdString("SHA256 (" + report_.filename().string() + ") = " + digests_[0]));
    model_.verify()->verify();
    Driver::waitFor("the verdict", [&] { return model_.verify()->verifyResult().has_value(); });
    keep("verify");
  }

  void showManifest() {
    model_.setMode(AppMode::Manifest);
    ManifestFlow& manifest = *model_.manifest();
    std::string lines = digests_[0] + "  " + report_.filename().string() + "\n";
    lines += digests_[0] + "  " + copy_.filename().string() + "\n";
    lines += digests_[1] + "  " + fs::relative(photo_, folder_).string() + "\n";
    lines += digests_[1] + "  gone.tar.zst\n";
    manifest.setManifestRoot({fileUrl(folder_)});
    std::ofstream(folder_ / "SHA256SUMS") << lines;
    manifest.setManifestFile({fileUrl(folder_ / "SHA256SUMS")});
    Driver::waitFor("the list", [&] { return manifest.manifestRefusal().isEmpty(); });
    manifest.verifyManifestOrChoose();
    Driver::waitFor("the list's verdict", [&] { return !manifest.isBusy() && manifest.manifestProgress() == 1; });
    keep("manifest");
  }

  void showCompare() {
    model_.setMode(AppMode::Compare);
    model_.compare()->setCompareFiles({fileUrl(report_), fileUrl(copy_)}, false);
    model_.compare()->compare();
    Driver::waitFor("the comparison", [&] { return model_.compare()->compareResult().has_value(); });
    keep("compare");
  }

  void keep(const char* name) const {
    // Colours and heights change for some frames.
    QElapsedTimer time;
    time.start();
    Driver::waitFor("rest", [&] {
      Driver::drawFrame();
      return time.hasExpired(500);
    });
    QImage picture = window_.grabWindow().convertToFormat(QImage::Format_RGB888);
    // Half the shades are not told apart, and take less room.
    for (int y = 0; y < picture.height(); ++y) {
      uchar* line = picture.scanLine(y);
      for (int x = 0; x < 3 * picture.width(); ++x) line[x] &= 0xFEU;
    }
    picture.save(QString::fromStdString((output_ / name).string() + ".png"), "PNG", 0);
  }

  AppViewModel& model_;
  QQuickWindow& window_;
  const fs::path folder_;
  const fs::path output_;
  const fs::path report_ = file("Quarterly report.pdf", 4'812'345);
  const fs::path photo_ = file("photos/IMG_2041.jpg", 2'345'678);
  const fs::path copy_ = damagedCopy(report_, "Quarterly report (copy).pdf", 1'234'567);
  std::string digests_[2];  // SHA-256 of the report and of the photo.
};

}  // namespace

}  // namespace tallyfold

int main(int argc, char** argv) {
  tallyfold::TallyfoldApp app(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  QTimer::singleShot(0, [&] {
    int status = 1;
    try {
      tallyfold::Driver::waitFor("the window", [&] { return app.window().isExposed(); });
      tallyfold::Pictures(app, arguments.at(1).toStdString(), arguments.at(2).toStdString()).take();
      status = 0;
    } catch (const std::exception& error) {
      std::fprintf(stderr, "The pictures are not whole. %s\n", error.what());
    }
    QCoreApplication::exit(status);
  });
  return app.leave(QApplication::exec());
}
