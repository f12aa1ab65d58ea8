#include "ui/desktop/Notifications.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QStringList>
#include <QVariantMap>
#include <QWindow>

namespace tallyfold {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");

QDBusMessage callOf(const char* method) {
  return QDBusMessage::createMethodCall(service, path, service, QLatin1String(method));
}

}  // namespace

void Notifications::show(QWindow* window, const QString& title, const QString& body) {
  connectOnce(window);
  QDBusMessage call = callOf("Notify");
  const QStringList actions{QStringLiteral("default"), tr("Show")};
  const QVariantMap hints{{QStringLiteral("desktop-entry"), QGuiApplication::desktopFileName()}};
  constexpr int asTheDesktopLikes = -1;
  call << QStringLiteral("Tally Fold") << id_ << QStringLiteral("tally-fold") << title << body << actions << hints
       << asTheDesktopLikes;
  auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* watcher) {
    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isValid()) id_ = reply.value();
    watcher->deleteLater();
    if (window_ != nullptr && window_->isActive()) close();
  });
}

void Notifications::connectOnce(QWindow* window) {
  if (std::exchange(window_, window) == window) return;
  QDBusConnection::sessionBus().connect(service, path, service, QStringLiteral("ActionInvoked"), this,
                                        SLOT(actionInvoked(uint, QString)));
  connect(window, &QWindow::activeChanged, this, [this] {
    if (window_->isActive()) close();
  });
}

void Notifications::actionInvoked(uint id, const QString& /*action*/) {
  if (id != id_ || id == 0 || window_ == nullptr) return;
  window_->raise();
  window_->requestActivate();
}

void Notifications::close() {
  if (id_ == 0) return;
  QDBusConnection::sessionBus().asyncCall(callOf("CloseNotification") << std::exchange(id_, 0));
}

}  // namespace tallyfold
