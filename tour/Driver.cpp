#include "tour/Driver.h"

#include <stdexcept>

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>

namespace tallyfold {

namespace {

QQuickItem* find(QQuickItem* item, const QString& objectName) {
  if (item->isVisible() && item->objectName() == objectName) return item;
  for (QQuickItem* child : item->childItems()) {
    if (QQuickItem* found = find(child, objectName)) return found;
  }
  return nullptr;
}

QPoint centerOf(const QQuickItem& item) { return item.mapToGlobal(item.boundingRect().center()).toPoint(); }

}  // namespace

Driver::Driver(QQuickWindow& window) : window_(window) {
  waitFor("the window", [&] { return window_.isExposed(); });
  focus(window_);
}

QQuickItem* Driver::findItem(const QString& objectName) const {
  for (QWindow* window : QGuiApplication::topLevelWindows()) {
    auto* scene = qobject_cast<QQuickWindow*>(window);
    if (scene == nullptr || !scene->isVisible()) continue;
    if (QQuickItem* found = find(scene->contentItem(), objectName)) return found;
  }
  return nullptr;
}

QQuickItem* Driver::item(const QString& objectName) const {
  QQuickItem* found = nullptr;
  waitFor(objectName.toStdString(), [&] { return (found = findItem(objectName)) != nullptr; });
  return found;
}

QQuickItem* Driver::usableItem(const QString& objectName) const {
  QQuickItem* found = item(objectName);
  waitForRest(objectName.toStdString(), [&] {
    found = findItem(objectName);
    return found == nullptr ? std::nullopt : std::optional(QPointF(centerOf(*found)));
  });
  return found;
}

void Driver::drawFrame() {
  for (QWindow* each : QGuiApplication::topLevelWindows()) {
    const QPointer scene = qobject_cast<QQuickWindow*>(each);
    if (scene == nullptr || !scene->isExposed()) continue;
    bool isDrawn = false;
    QObject context;
    QObject::connect(scene, &QQuickWindow::frameSwapped, &context, [&] { isDrawn = true; });
    scene->update();
    waitFor("a frame", [&] { return isDrawn || scene == nullptr || !scene->isExposed(); });
  }
}

void Driver::waitForRest(const std::string& what, const std::function<std::optional<QPointF>()>& place) {
  waitFor(what + " to come to rest", [&] {
    const auto before = place();
    drawFrame();
    return before && place() == before;
  });
}

void Driver::moveTo(const QPoint& global) {
  const double ratio = window_.devicePixelRatio();
  movePointer({qRound(global.x() * ratio), qRound(global.y() * ratio)});
}

void Driver::moveTo(const QString& objectName) { moveTo(centerOf(*usableItem(objectName))); }

void Driver::click(const QString& objectName, unsigned number) { clickAt(centerOf(*usableItem(objectName)), number); }

void Driver::clickAt(const QPoint& global, unsigned number) {
  moveTo(global);
  button(number, true);
  button(number, false);
  QCoreApplication::processEvents();
}

void Driver::drag(const QPoint& from, const QPoint& to) {
  moveTo(from);
  button(1, true);
  moveTo((from + to) / 2);
  moveTo(to);
  button(1, false);
  QCoreApplication::processEvents();
}

void Driver::focus(QWindow& window) {
  waitFor("the keyboard", [&] {
    if (QGuiApplication::focusWindow() == &window && windowWithKeyboard() == window.winId()) return true;
    window.requestActivate();
    return false;
  });
}

QFileDialog* Driver::panel(const QString& objectName) {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->objectName() == objectName && widget->isVisible()) return qobject_cast<QFileDialog*>(widget);
  }
  return nullptr;
}

void Driver::answerPanel(const QString& objectName, const std::filesystem::path& path) {
  QPointer<QFileDialog> open;
  waitFor(objectName.toStdString(), [&] { return (open = panel(objectName)) != nullptr; });
  focus(*open->windowHandle());
  auto* field = open->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  if (field == nullptr) throw std::runtime_error("The panel has no field for a name.");
  waitFor("the field", [&] { return field->hasFocus(); });
  press({"Control_L", "a"});
  type(path.string());
  waitFor("the typed path", [&] { return field->text().toStdString() == path.string(); });
  press({"Return"});
  waitFor("the panel to close", [&] { return open == nullptr || !open->isVisible(); });
  focus(window_);
}

void Driver::screenshot(const std::filesystem::path& file) const {
  // What was asked for is on the screen once every window has drawn two frames more.
  drawFrame();
  drawFrame();
  if (!window_.screen()->grabWindow(0).save(QString::fromStdString(file.string()), "PNG")) {
    throw std::runtime_error("Cannot save " + file.string());
  }
}

}  // namespace tallyfold
