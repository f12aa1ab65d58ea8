#include "tour/XInput.h"

#include <stdexcept>
#include <vector>

#include <QCoreApplication>
#include <QTest>

// Last: it defines macros with everyday names.
#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace tallyfold {

struct XInput::Connection {
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

XInput::XInput() : connection_(std::make_unique<Connection>()) {}

XInput::~XInput() = default;

void XInput::waitFor(const std::string& what, const std::function<bool()>& condition, int milliseconds) {
  if (!QTest::qWaitFor(condition, milliseconds)) throw std::runtime_error("Waited in vain for " + what + ".");
}

unsigned long XInput::windowWithKeyboard() const {
  Window window = None;
  int revert = 0;
  XGetInputFocus(connection_->display, &window, &revert);
  return window;
}

void XInput::movePointer(const QPoint& pixel) {
  XTestFakeMotionEvent(connection_->display, -1, pixel.x(), pixel.y(), CurrentTime);
  XSync(connection_->display, False);
}

void XInput::button(unsigned number, bool isDown) {
  XTestFakeButtonEvent(connection_->display, number, isDown ? True : False, CurrentTime);
  XSync(connection_->display, False);
}

void XInput::press(std::initializer_list<const char*> keys, const std::function<void()>& meanwhile) {
  std::vector<KeySym> symbols;
  for (const char* key : keys) symbols.push_back(XStringToKeysym(key));
  for (const KeySym symbol : symbols) connection_->key(symbol, true);
  if (meanwhile) meanwhile();
  for (auto symbol = symbols.rbegin(); symbol != symbols.rend(); ++symbol) connection_->key(*symbol, false);
  XSync(connection_->display, False);
  QCoreApplication::processEvents();
}

void XInput::type(const std::string& text) {
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

std::string XInput::clipboard() {
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

}  // namespace tallyfold
