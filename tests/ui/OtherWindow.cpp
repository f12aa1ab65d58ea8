#include "tests/ui/OtherWindow.h"

#include <stdexcept>

#include "tour/XInput.h"

// Last: it defines macros with everyday names.
#include <X11/Xlib.h>

namespace tallyfold::test {

struct OtherWindow::Connection {
  Display* display = nullptr;
  Window window = None;

  [[nodiscard]] bool isViewable(Window which) const {
    XWindowAttributes attributes;
    return XGetWindowAttributes(display, which, &attributes) != 0 && attributes.map_state == IsViewable;
  }

  // Without a window manager, windows of programs are children of the root.
  [[nodiscard]] Window find(const std::string& title) const {
    Window root = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned count = 0;
    Window found = None;
    if (XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count) == 0) return None;
    for (unsigned i = 0; i < count; ++i) {
      char* name = nullptr;
      if (!isViewable(children[i]) || XFetchName(display, children[i], &name) == 0) continue;
      if (name == title) found = children[i];
      XFree(name);
    }
    XFree(children);
    return found;
  }
};

OtherWindow::OtherWindow(const std::string& title) : connection_(new Connection) {
  connection_->display = XOpenDisplay(nullptr);
  if (connection_->display == nullptr) throw std::runtime_error("There is no X display.");
  // Another program's window may go at any moment.
  XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
  XInput::waitFor("the window \"" + title + "\"",
                  [&] { return (connection_->window = connection_->find(title)) != None; });
}

OtherWindow::~OtherWindow() {
  XCloseDisplay(connection_->display);
  delete connection_;
}

bool OtherWindow::isVisible() const { return connection_->isViewable(connection_->window); }

void OtherWindow::focus() const {
  XInput::waitFor("the keyboard", [&] {
    Window owner = None;
    int revert = 0;
    XGetInputFocus(connection_->display, &owner, &revert);
    if (owner == connection_->window) return true;
    XSetInputFocus(connection_->display, connection_->window, RevertToParent, CurrentTime);
    XSync(connection_->display, False);
    return false;
  });
}

void OtherWindow::close() const {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = connection_->window;
  event.xclient.message_type = XInternAtom(connection_->display, "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XInternAtom(connection_->display, "WM_DELETE_WINDOW", False));
  event.xclient.data.l[1] = CurrentTime;
  XSendEvent(connection_->display, connection_->window, False, NoEventMask, &event);
  XSync(connection_->display, False);
}

}  // namespace tallyfold::test
