#include "ui/window/WindowGuard.h"

#include <QCoreApplication>
#include <QDragLeaveEvent>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

namespace tallyfold {

WindowGuard::WindowGuard(QQuickWindow& window, AppViewModel& model) : window_(window), model_(model) {
  QCoreApplication::instance()->installEventFilter(this);
}

QWindow* WindowGuard::panel() const {
  QWindow* const panel = QGuiApplication::modalWindow();
  return panel != nullptr && window_.isAncestorOf(panel, QWindow::IncludeTransients) ? panel : nullptr;
}

bool WindowGuard::isCovered() const {
  return panel() != nullptr || !model_.errorMessage().isEmpty() || model_.listCreation()->isOpen();
}

bool WindowGuard::eventFilter(QObject* object, QEvent* event) {
  switch (event->type()) {
    case QEvent::Shortcut: {
      const auto isOfWindow = [&] {
        const QObject* owner = object;
        const QQuickItem* item = nullptr;
        while (owner != nullptr && owner != &window_ && item == nullptr) {
          owner = owner->parent();
          item = qobject_cast<const QQuickItem*>(owner);
        }
        return item != nullptr ? item->window() == &window_ : owner == &window_;
      };
      // A sheet's own are none of these: the toolkit asks those of items whether a sheet is above them.
      const bool isBelow = panel() != nullptr ? isOfWindow() : object->parent() == &window_ && isCovered();
      if (isBelow && panel() != nullptr) {
        panel()->raise();
        panel()->requestActivate();
      }
      return isBelow;
    }
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop: {
      if (object != &window_ || !isCovered()) return false;
      QDragLeaveEvent leaving;
      QCoreApplication::sendEvent(&window_, &leaving);
      event->ignore();
      return true;
    }
    default:
      return false;
  }
}

}  // namespace tallyfold
