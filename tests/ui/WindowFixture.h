#pragma once

#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <QAccessible>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QStyleHints>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "app/tasks/BackgroundTask.h"
#include "tests/support/TemporaryFolder.h"
#include "tour/Driver.h"
#include "ui/window/TallyfoldApp.h"

namespace tallyfold::test {

namespace fs = std::filesystem;

using testing::ElementsAre;

/// The program as its user meets it: one window for all tests of the process, which each test finds in Files mode, with
/// an empty list and the usual selection. A warning of the toolkit or of a screen fails a test, and so does a screen at
/// its end on which a screen reader cannot tell or use everything. A screenshot is kept of the screen on which a test
/// failed.
class WindowFixture : public testing::Test {
 public:
  /// Made before the first test.
  static inline TallyfoldApp* program = nullptr;

 protected:
  void SetUp() override;
  void TearDown() override;

  static void waitFor(const std::string& what, const std::function<bool()>& condition) {
    Driver::waitFor(what, condition);
  }

  /// Queues files as the open panel does.
  void add(const std::vector<fs::path>& files);
  /// Queues new files with this content.
  void add(const std::vector<std::string>& names, std::string_view content);
  /// Enters a mode from the keyboard.
  void enter(AppMode::Case mode);
  void waitForClipboard(const std::string& text);
  /// Waits until no visible item has this name.
  void waitForNo(const QString& objectName);
  /// Starts a run from the keyboard and waits for its end.
  void calculate();
  /// A file that takes minutes to hash.
  fs::path endlessFile();

  /// The row of the list, scrolled into view, and what is in it.
  QQuickItem* row(int index);
  QQuickItem* inRow(int index, const QString& objectName);
  [[nodiscard]] QString selectedName() const;
  [[nodiscard]] FileJobListModel::State state(int index) const;

  /// The name of whatever has the focus, without what a row says besides.
  [[nodiscard]] std::string focusedName() const;

  /// What a screen reader is told: of an item and all below it, of the window, and the one with this role and name.
  static std::vector<QAccessibleInterface*> below(QAccessibleInterface* face);
  static std::string name(QAccessibleInterface* face) { return face->text(QAccessible::Name).toStdString(); }
  QAccessibleInterface* find(QAccessible::Role role, const std::string& wanted);
  static void press(QAccessibleInterface* face);
  /// What must hold of every screen.
  void expectSound();

  /// The visible item that shows or carries exactly this text; null when there is none.
  QQuickItem* itemWithText(const QString& text);

  TemporaryFolder folder;
  AppViewModel& model = program->viewModel();
  QQuickWindow& window = program->window();
  Driver driver{program->window()};

 private:
  void keepScreenshot();
};

/// The length of a double click, in milliseconds, for as long as it lives.
class DoubleClickInterval {
 public:
  explicit DoubleClickInterval(int interval) { set(interval); }
  ~DoubleClickInterval() { set(usual_); }
  DoubleClickInterval(const DoubleClickInterval&) = delete;
  DoubleClickInterval& operator=(const DoubleClickInterval&) = delete;

  void set(int interval) { hints_.setMouseDoubleClickInterval(interval); }

 private:
  QStyleHints& hints_ = *QGuiApplication::styleHints();
  const int usual_ = hints_.mouseDoubleClickInterval();
};

/// Every item of the tree below `root`, itself included, that is visible.
std::vector<QQuickItem*> visibleItems(QQuickItem* root);

}  // namespace tallyfold::test
