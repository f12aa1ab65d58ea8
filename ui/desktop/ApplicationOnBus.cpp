#include "ui/desktop/ApplicationOnBus.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFileInfo>
#include <QVariantList>
#include <QVariantMap>

namespace tallyfold {

namespace {

// Where there is none, the toolkit would start one.
bool hasBus() {
  return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
         QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

// Without waiting for an answer: a bus that does not give one must not keep the window.
void askBus(const char* what, const QVariantList& arguments) {
  auto call =
      QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                     QStringLiteral("org.freedesktop.DBus"), QString::fromLatin1(what));
  call.setArguments(arguments);
  QDBusConnection::sessionBus().asyncCall(call);
}

}  // namespace

/// What of it is seen on the bus: slots with the names that the interface gives them.
class ApplicationOnBus::Adaptor : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  explicit Adaptor(ApplicationOnBus& application) : QDBusAbstractAdaptor(&application), application_(application) {}

  Q_SLOT void Activate(const QVariantMap& platformData);
  Q_SLOT void Open(const QStringList& locations, const QVariantMap& platformData);
  /// There are no actions.
  Q_SLOT void ActivateAction(const QString&, const QVariantList&, const QVariantMap&) {}

 private:
  ApplicationOnBus& application_;
};

ApplicationOnBus::ApplicationOnBus(QObject* parent) : QObject(parent) { new Adaptor(*this); }

void ApplicationOnBus::join() {
  if (!hasBus() || !QDBusConnection::sessionBus().isConnected()) return;
  const QString path = u'/' + QString::fromLatin1(name).replace(u'.', u'/');
  QDBusConnection::sessionBus().registerObject(path, this, QDBusConnection::ExportAdaptors);
  constexpr uint inTurn = 0;
  askBus("RequestName", {QString::fromLatin1(name), inTurn});
}

void ApplicationOnBus::leave() {
  if (hasBus() && QDBusConnection::sessionBus().isConnected()) askBus("ReleaseName", {QString::fromLatin1(name)});
}

void ApplicationOnBus::Adaptor::Activate(const QVariantMap& platformData) {
  constexpr qsizetype longest = 256;
  const QVariant token = platformData.value(QStringLiteral("activation-token"));
  const bool isToken = token.typeId() == QMetaType::QString && token.toString().size() <= longest;
  emit application_.activated(isToken ? token.toString() : QString());
}

void ApplicationOnBus::Adaptor::Open(const QStringList& locations, const QVariantMap& platformData) {
  Activate(platformData);
  emit application_.openRequested(locations);
}

}  // namespace tallyfold

#include "ApplicationOnBus.moc"
