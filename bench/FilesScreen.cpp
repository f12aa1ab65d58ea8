// The Files screen over many files, in its real window: memory, and how fast a long list of eight digests each scrolls.
// Needs a display (tools/with-display gives one).
//
//     files_screen_bench FOLDER...        hashes all regular files in the folders

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <QElapsedTimer>
#include <QQuickItem>
#include <QQuickWindow>

#include "app/shared/FileLocation.h"
#include "bench/ModelBench.h"
#include "ui/window/TallyfoldApp.h"

int main(int argc, char** argv) {
  using namespace tallyfold;
  TallyfoldApp app(argc, argv);
  AppViewModel& model = app.viewModel();
  while (!app.window().isExposed()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  std::printf("window: %.0f MB\n", bench::peakMegabytes());
  {
    QList<QUrl> urls;
    for (int i = 1; i < argc; ++i) {
      for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
        if (entry.is_regular_file()) urls.append(fileUrl(std::filesystem::absolute(entry.path())));
      }
    }
    model.files()->addFiles(urls);
  }
  model.setSelectedAlgorithms(HashAlgorithmSet::all());
  QElapsedTimer clock;
  clock.start();
  model.files()->startProcessing();
  while (model.files()->isProcessing()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  std::printf("%zu files hashed in %.2f s: %.0f MB\n", model.files()->results().size(),
              static_cast<double>(clock.elapsed()) / 1e3, bench::peakMegabytes());

  // A flick through the list: so many pixels for each frame, timed from one frame to the next.
  auto* list = app.window().findChild<QQuickItem*>(QStringLiteral("jobList"));
  std::vector<double> frames;
  bool isSwapped = false;
  QObject::connect(&app.window(), &QQuickWindow::frameSwapped, &app.window(), [&] { isSwapped = true; });
  for (int frame = 0; frame < 300; ++frame) {
    clock.start();
    list->setProperty("contentY", list->property("contentY").toReal() + 97);
    isSwapped = false;
    app.window().update();
    while (!isSwapped) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    frames.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
  }
  std::sort(frames.begin(), frames.end());
  std::printf("scrolling 97 pixels a frame: median %.1f ms, 95th percentile %.1f ms, longest %.1f ms; %.0f MB\n",
              frames[frames.size() / 2], frames[frames.size() * 95 / 100], frames.back(), bench::peakMegabytes());
}
