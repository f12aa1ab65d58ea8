#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include <QApplication>
#include <QList>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QStringList>
#include <QUrl>

#include "app/AppViewModel.h"
#include "ui/desktop/ApplicationOnBus.h"
#include "ui/desktop/DesktopServices.h"
#include "ui/window/WindowGuard.h"

namespace tallyfold {

/// The program: the toolkit, the one model, the one window.
class TallyfoldApp {
 public:
  /// Builds and shows the window. `argc` must live as long as the program.
  TallyfoldApp(int& argc, char** argv);

  /// Until the window closes or the user quits; returns the exit status.
  int run();

  /// Hides the window, ends all background work, waits for it, and returns `status`; the model takes no more commands.
  /// Ends the process with `status` when the work does not end in time: in five seconds where a report is being saved,
  /// else in one.
  int leave(int status);

  [[nodiscard]] AppViewModel& viewModel() { return viewModel_; }
  [[nodiscard]] QQuickWindow& window() { return *window_; }

 private:
  void comeToFront(const QString& token);
  void open(const QStringList& locations);
  void openWaiting();

  struct Opened {
    QList<QUrl> files;
    std::optional<std::filesystem::path> listBefore;  ///< The checksum list that there was when they came.
  };

  /// What the model lets go of at last may be destroyed on threads that are to end before the program does.
  struct LastThreads {
    LastThreads() = default;
    LastThreads(const LastThreads&) = delete;
    LastThreads& operator=(const LastThreads&) = delete;
    ~LastThreads();
  };

  QApplication application_;
  DesktopServices desktop_;
  LastThreads lastThreads_;
  AppViewModel viewModel_{desktop_};
  QQmlApplicationEngine engine_;
  QQuickWindow* window_ = nullptr;    // The engine's.
  std::optional<WindowGuard> guard_;  // From the window on.
  ApplicationOnBus onBus_;
  QList<Opened> waiting_;  // What is opened once the user is done with what comes before.
};

}  // namespace tallyfold
