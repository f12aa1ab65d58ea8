#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QWindow;

namespace tallyfold {

/// The desktop's notifications, where it has any: one at a time, until the window is looked at. On the interface
/// thread; nothing waits for the desktop. https://specifications.freedesktop.org/notification-spec/
class Notifications : public QObject {
  Q_OBJECT

 public:
  /// In the place of the last one. A click on it brings `window` to the front. Both texts are plain, and none is from a
  /// file's name.
  void show(QWindow* window, const QString& title, const QString& body);

 private:
  Q_SLOT void actionInvoked(uint id, const QString& action);
  void connectOnce(QWindow* window);
  void close();

  QPointer<QWindow> window_;
  uint id_ = 0;  // Of the notification that may be shown; 0 when there is none.
};

}  // namespace tallyfold
