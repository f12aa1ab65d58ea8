#include "tests/ui/SilentClipboardOwner.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace tallyfold::test {

struct SilentClipboardOwner::Connection {
  Display* display = XOpenDisplay(nullptr);
};

SilentClipboardOwner::SilentClipboardOwner() : connection_(new Connection) {
  Display* const display = connection_->display;
  const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
  for (const Atom selection : {XInternAtom(display, "CLIPBOARD", False), XA_PRIMARY}) {
    XSetSelectionOwner(display, selection, window, CurrentTime);
  }
  XSync(display, False);
}

SilentClipboardOwner::~SilentClipboardOwner() { XCloseDisplay(connection_->display); }

int SilentClipboardOwner::requests() {
  XEvent event;
  while (XCheckTypedEvent(connection_->display, SelectionRequest, &event) == True) ++requests_;
  return requests_;
}

}  // namespace tallyfold::test
