#pragma once

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include <QQuickItem>
#include <QQuickWindow>

#include "app/AppViewModel.h"
#include "tests/support/TemporaryFolder.h"
#include "tour/Driver.h"
#include "ui/window/TallyfoldApp.h"

namespace tallyfold::test {

/// The program as its user meets it: one window for all tests of the process, which each test finds in Files mode, with
/// an empty list and the usual selection. A warning of the toolkit or of a screen fails a test. A screenshot is kept of
/// the screen on which a test failed.
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
  void add(const std::vector<std::filesystem::path>& files);
  /// Queues new files with this content.
  void add(const std::vector<std::string>& names, std::string_view content);
  /// Starts a run from the keyboard and waits for its end.
  void calculate();
  /// A file that takes minutes to hash.
  std::filesystem::path endlessFile();

  /// The row of the list, scrolled into view, and what is in it.
  QQuickItem* row(int index);
  QQuickItem* inRow(int index, const QString& objectName);
  [[nodiscard]] QString selectedName() const;
  [[nodiscard]] FileJobListModel::State state(int index) const;

  /// The visible item that shows or carries exactly this text; null when there is none.
  QQuickItem* itemWithText(const QString& text);

  TemporaryFolder folder;
  AppViewModel& model = program->viewModel();
  QQuickWindow& window = program->window();
  Driver driver{program->window()};

 private:
  void keepScreenshot();
};

/// Every item of the tree below `root`, itself included, that is visible.
std::vector<QQuickItem*> visibleItems(QQuickItem* root);

}  // namespace tallyfold::test
