#include "tour/Driver.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QTest>

// Last: it defines macros with everyday names.
#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

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

struct Driver::Connection {
  Connection() : display(XOpenDisplay(nullptr)) {
    if (display == nullptr) throw std::runtime_error("There is no X display.");
  }
  ~Connection() { XCloseDisplay(display); }

  void key(KeySym symbol, bool isDown) const {
    const KeyCode code = XKeysymToKeycode(display, symbol);
    if (code == 0) throw std::runtime_error("There is no such key.");
    XTestFakeKeyEvent(display, code, isDown ? True : False, CurrentTime);
    XFlush(display);
  }

  [[nodiscard]] bool needsShift(KeySym symbol) const {
    return XkbKeycodeToKeysym(display, XKeysymToKeycode(display, symbol), 0, 0) != symbol;
  }

  Display* display;
};

Driver::Driver(QQuickWindow& window) : window_(window), connection_(std::make_unique<Connection>()) {
  waitFor("the window", [&] { return window_.isExposed(); });
  focus(window_);
}

Driver::~Driver() = default;

void Driver::waitFor(const std::string& what, const std::function<bool()>& condition, int milliseconds) {
  if (!QTest::qWaitFor(condition, milliseconds)) throw std::runtime_error("Waited in vain for " + what + ".");
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
  QPoint before;
  waitFor(objectName.toStdString() + " to come to rest", [&] {
    found = findItem(objectName);
    if (found == nullptr) return false;
    const QPoint center = centerOf(*found);
    return std::exchange(before, center) == center;
  });
  return found;
}

void Driver::moveTo(const QPoint& global) {
  const double ratio = window_.devicePixelRatio();
  XTestFakeMotionEvent(connection_->display, -1, qRound(global.x() * ratio), qRound(global.y() * ratio), CurrentTime);
  XSync(connection_->display, False);
}

void Driver::moveTo(const QString& objectName) { moveTo(centerOf(*usableItem(objectName))); }

void Driver::button(unsigned number, bool isDown) {
  XTestFakeButtonEvent(connection_->display, number, isDown ? True : False, CurrentTime);
  XSync(connection_->display, False);
}

void Driver::click(const QString& objectName, unsigned number) { clickAt(centerOf(*usableItem(objectName)), number); }

void Driver::clickAt(const QPoint& global, unsigned number) {
  moveTo(global);
  button(number, true);
  button(number, false);
  QCoreApplication::processEvents();
}

void Driver::focus(QWindow& window) {
  waitFor("the keyboard", [&] {
    if (QGuiApplication::focusWindow() != &window) window.requestActivate();
    return QGuiApplication::focusWindow() == &window;
  });
}

void Driver::press(std::initializer_list<const char*> keys) {
  std::vector<KeySym> symbols;
  for (const char* key : keys) symbols.push_back(XStringToKeysym(key));
  for (const KeySym symbol : symbols) connection_->key(symbol, true);
  for (auto symbol = symbols.rbegin(); symbol != symbols.rend(); ++symbol) connection_->key(*symbol, false);
  XSync(connection_->display, False);
  QCoreApplication::processEvents();
}

void Driver::type(const std::string& text) {
  for (const char character : text) {
    // The keysyms of Latin-1 are its code points.
    const auto symbol = static_cast<KeySym>(static_cast<unsigned char>(character));
    const bool isShifted = connection_->needsShift(symbol);
    if (isShifted) connection_->key(XK_Shift_L, true);
    connection_->key(symbol, true);
    connection_->key(symbol, false);
    if (isShifted) connection_->key(XK_Shift_L, false);
  }
  XSync(connection_->display, False);
  QCoreApplication::processEvents();
}

void Driver::answerPanel(const QString& objectName, const std::filesystem::path& path) {
  QPointer<QFileDialog> panel;
  waitFor(objectName.toStdString(), [&] {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      if (widget->objectName() == objectName && widget->isVisible()) panel = qobject_cast<QFileDialog*>(widget);
    }
    return panel != nullptr;
  });
  focus(*panel->windowHandle());
  auto* field = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  if (field == nullptr) throw std::runtime_error("The panel has no field for a name.");
  waitFor("the field", [&] { return field->hasFocus(); });
  press({"Control_L", "a"});
  type(path.string());
  waitFor("the typed path", [&] { return field->text().toStdString() == path.string(); });
  press({"Return"});
  waitFor("the panel to close", [&] { return panel == nullptr || !panel->isVisible(); });
  focus(window_);
}

std::string Driver::clipboard() {
  Display* display = connection_->display;
  const Window receiver = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
  const Atom property = XInternAtom(display, "TALLYFOLD_DRIVER", False);
  XConvertSelection(display, XInternAtom(display, "CLIPBOARD", False), XInternAtom(display, "UTF8_STRING", False),
                    property, receiver, CurrentTime);
  XFlush(display);
  XEvent event;
  waitFor("the clipboard", [&] { return XCheckTypedWindowEvent(display, receiver, SelectionNotify, &event) == True; });
  std::string text;
  if (event.xselection.property != None) {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* bytes = nullptr;
    XGetWindowProperty(display, receiver, property, 0, 1L << 20, True, AnyPropertyType, &type, &format, &count, &rest,
                       &bytes);
    text.assign(bytes, bytes + count);
    XFree(bytes);
  }
  XDestroyWindow(display, receiver);
  return text;
}

void Driver::screenshot(const std::filesystem::path& file) const {
  // What was asked for is on the screen once every window has drawn two frames more.
  for (int frame = 0; frame < 2; ++frame) {
    for (QWindow* each : QGuiApplication::topLevelWindows()) {
      auto* scene = qobject_cast<QQuickWindow*>(each);
      if (scene == nullptr || !scene->isExposed()) continue;
      bool isDrawn = false;
      QObject context;
      QObject::connect(scene, &QQuickWindow::frameSwapped, &context, [&] { isDrawn = true; });
      scene->update();
      waitFor("a frame", [&] { return isDrawn; });
    }
  }
  if (!window_.screen()->grabWindow(0).save(QString::fromStdString(file.string()), "PNG")) {
    throw std::runtime_error("Cannot save " + file.string());
  }
}

}  // namespace tallyfold
