// The window and its sidebar.

#include <gmock/gmock.h>

#include <QWindow>

#include "tests/ui/WindowFixture.h"
#include "ui/window/StartupWindowConfigurator.h"

namespace tallyfold::test {

namespace {

class WindowTest : public WindowFixture {
 protected:
  // The selected row of the sidebar.
  QString selectedMode() {
    QQuickItem* row = driver.item("sidebar")->property("currentItem").value<QQuickItem*>();
    return row == nullptr ? QString() : row->property("text").toString();
  }
};

TEST_F(WindowTest, AWindowIsSizedAndCentredOnce) {
  const QRect theirs(40, 50, 1234, 777);
  window.setGeometry(theirs);
  waitFor("the new size", [&] { return window.geometry() == theirs; });
  StartupWindowConfigurator again(window.contentItem());
  window.hide();
  window.show();
  waitFor("the window", [&] { return window.isExposed(); });
  EXPECT_EQ(window.geometry(), theirs);

  QQuickWindow other;
  again.setParentItem(other.contentItem());
  EXPECT_EQ(other.size(), QSize(1000, 680));
  const QPoint off = other.geometry().center() - other.screen()->availableGeometry().center();
  EXPECT_LE(off.manhattanLength(), 2);
  again.setParentItem(window.contentItem());
  EXPECT_EQ(window.geometry(), theirs);
}

TEST_F(WindowTest, AtItsSmallestEverythingIsInside) {
  add({"a", "b", "c"}, "abc");
  model.setSelectedAlgorithms(HashAlgorithmSet::all());
  calculate();
  window.resize(window.minimumSize());
  waitFor("the size", [&] { return window.grabWindow().size() == window.minimumSize(); });
  EXPECT_GE(driver.item("sidebar")->parentItem()->width(), 165);
  EXPECT_GE(driver.item("filesView")->width(), 720);
  EXPECT_GE(driver.item("filesView")->height(), 520);
  for (const char* name : {"filesView", "presets", "chooseFiles", "algorithm CRC-32", "jobList", "copyAll", "export",
                           "clear", "calculate", "overallProgress", "remove", "copy SHA-512", "digest SHA-512"}) {
    const QQuickItem* item = driver.usableItem(name);
    const QRectF place = item->mapRectToScene(item->boundingRect());
    EXPECT_GE(place.left(), 0) << name;
    EXPECT_LE(place.right(), window.width()) << name;
    EXPECT_GT(place.width(), 20) << name;
  }
  EXPECT_GE(driver.item("jobList")->height(), 100);
}

TEST_F(WindowTest, TheSidebarSelectsTheMode) {
  qreal above = 0;
  for (const AppMode::Case mode : AppMode::allCases()) {
    const QString name = AppMode::rawValue(mode);
    driver.click("mode" + name);
    waitFor(name.toStdString(), [&] { return model.mode() == mode; });
    EXPECT_EQ(selectedMode(), name);
    const qreal y = driver.item("mode" + name)->mapToScene(QPointF()).y();
    EXPECT_GT(y, above);
    above = y;
    EXPECT_NE(itemWithText(mode == AppMode::Files ? "File Hashing" : name), nullptr);
  }
  // In both directions, and with the arrow keys.
  model.setMode(AppMode::Verify);
  waitFor("the selection", [&] { return selectedMode() == "Verify"; });
  driver.press({"Tab"});
  const auto expectAfter = [&](const char* key, const QStringList& names) {
    for (const QString& name : names) {
      driver.press({key});
      waitFor(name.toStdString(), [&] { return selectedMode() == name; });
    }
  };
  expectAfter("Down", {"Manifest", "Compare", "Compare"});
  expectAfter("Up", {"Manifest", "Verify", "Text", "Files", "Files"});
}

TEST_F(WindowTest, TheSidebarIsAsWideAsTheUserWants) {
  const QQuickItem* sidebar = driver.item("sidebar")->parentItem();
  window.resize(1600, 700);
  waitFor("the size", [&] { return window.grabWindow().size() == QSize(1600, 700); });
  EXPECT_EQ(sidebar->width(), 190);
  const auto dragEdge = [&](int by) {
    const QPoint edge = sidebar->mapToGlobal(QPointF(sidebar->width(), 300)).toPoint();
    driver.drag(edge, edge + QPoint(by, 0));
  };
  dragEdge(+400);
  waitFor("a wide sidebar", [&] { return qAbs(sidebar->width() - 590) <= 1; });
  dragEdge(-580);
  waitFor("a narrow sidebar", [&] { return sidebar->width() == 165; });
}

TEST_F(WindowTest, ItIsDarkEverywhere) {
  const QImage picture = window.grabWindow();
  for (const QPoint& place : {QPoint(2, 2), QPoint(2, 677), QPoint(500, 2), QPoint(997, 677)}) {
    EXPECT_LT(picture.pixelColor(place).lightness(), 50);
  }
}

}  // namespace

}  // namespace tallyfold::test
