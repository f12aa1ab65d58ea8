#include "ui/desktop/DesktopSettings.h"

#include <algorithm>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFontDatabase>
#include <QFontInfo>
#include <QMap>
#include <QStyleHints>
#include <QUrl>

namespace tallyfold {

namespace {

// An address of the build's configuration, or nothing when it is not one.
QString validUrl(const char* address) {
  const QUrl url(QString::fromUtf8(address), QUrl::StrictMode);
  return url.isValid() && !url.scheme().isEmpty() ? url.toString() : QString();
}

using Settings = QMap<QString, QVariantMap>;  // By group and key.

// Under the name that all desktops shall give it, GNOME's, and KDE's.
struct MotionSetting {
  const char* group;
  const char* key;
  bool (*isRefusal)(const QVariant& value);
};
constexpr MotionSetting motionSettings[] = {
    {"org.freedesktop.appearance", "reduced-motion", [](const QVariant& value) { return value.toUInt() == 1; }},
    {"org.gnome.desktop.interface", "enable-animations", [](const QVariant& value) { return !value.toBool(); }},
    {"org.kde.kdeglobals.KDE", "AnimationDurationFactor",
     [](const QVariant& value) {
       bool isNumber = false;
       return value.toDouble(&isNumber) <= 0 && isNumber;
     }},
};

}  // namespace

DesktopSettings::DesktopSettings(QObject* parent) : QObject(parent) {
  connect(QGuiApplication::styleHints(), &QStyleHints::mouseDoubleClickIntervalChanged, this,
          &DesktopSettings::doubleClickIntervalChanged);
  const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
  const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
  const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
  QDBusConnection bus = QDBusConnection::sessionBus();
  // The slot is found by the names of its types, which the toolkit makes known no sooner than with the first answer.
  qRegisterMetaType<QDBusVariant>();
  bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
              SLOT(hear(QString, QString, QDBusVariant)));
  QStringList groups;
  for (const MotionSetting& setting : motionSettings) groups += QLatin1String(setting.group);
  QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("ReadAll"));
  call << groups;
  qDBusRegisterMetaType<Settings>();
  // The window does not wait for it: the desktop may have to start who answers.
  auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* watcher) {
    watcher->deleteLater();
    const QDBusPendingReply<Settings> reply = *watcher;
    if (reply.isError()) return;
    const Settings settings = reply.value();
    for (auto group = settings.begin(); group != settings.end(); ++group) {
      for (auto entry = group->begin(); entry != group->end(); ++entry)
        hear(group.key(), entry.key(), QDBusVariant(entry.value()));
    }
  });
}

void DesktopSettings::hear(const QString& group, const QString& key, const QDBusVariant& value) {
  for (const MotionSetting& setting : motionSettings) {
    if (group != QLatin1String(setting.group) || key != QLatin1String(setting.key)) continue;
    const bool wasWanted = isMotionWanted();
    if (setting.isRefusal(value.variant())) {
      refusals_.insert(group);
    } else {
      refusals_.remove(group);
    }
    if (isMotionWanted() != wasWanted) emit isMotionWantedChanged();
  }
}

QString DesktopSettings::digestFont() {
  const QStringList installed = QFontDatabase::families();
  for (const char* family : {"JetBrains Mono", "Cascadia Mono", "Fira Code", "DejaVu Sans Mono"}) {
    if (installed.contains(QLatin1String(family))) return QLatin1String(family);
  }
  return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

qreal DesktopSettings::textScale() {
  constexpr qreal usualPixels = 15;  // 11 points at 96 dots per inch, the largest default of the common desktops.
  return std::clamp(QFontInfo(QApplication::font()).pixelSize() / usualPixels, 1.0, 2.0);
}

int DesktopSettings::doubleClickInterval() { return QGuiApplication::styleHints()->mouseDoubleClickInterval(); }

QString DesktopSettings::donationUrl() { return validUrl(TALLYFOLD_DONATION_URL); }

QString DesktopSettings::contactUrl() { return validUrl(TALLYFOLD_CONTACT_URL); }

QString DesktopSettings::contactLine() { return QStringLiteral(TALLYFOLD_CONTACT_LINE); }

QString DesktopSettings::version() { return QStringLiteral(TALLYFOLD_VERSION); }

}  // namespace tallyfold
