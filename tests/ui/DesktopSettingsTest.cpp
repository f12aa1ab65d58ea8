// What the desktop says of motion, through its portal.

#include <QDBusConnection>
#include <QDBusVariant>
#include <QQmlContext>
#include <QQmlExpression>

#include "tests/ui/WindowFixture.h"
#include "ui/desktop/DesktopSettings.h"

namespace tallyfold::test {

using Settings = QMap<QString, QVariantMap>;

class Portal : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

 public:
  Settings settings;

  Q_SLOT QMap<QString, QVariantMap> ReadAll(const QStringList& groups) {
    Settings asked;
    for (const QString& group : groups) asked[group] = settings[group];
    return asked;
  }
  Q_SIGNAL void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);
};

namespace {

using DesktopSettingsTest = WindowFixture;

TEST_F(DesktopSettingsTest, ThingsMoveUnlessTheDesktopAsksForRest) {
  QQuickItem* sidebar = driver.item("sidebar");
  const auto isWindowMoving = [&] {
    return QQmlExpression(qmlContext(sidebar), sidebar, "TallyTheme.isMotionWanted").evaluate().toBool();
  };
  EXPECT_TRUE(isWindowMoving()) << "Nobody says anything";
  add({endlessFile()});
  model.files()->startProcessing();
  enter(AppMode::Text);
  QQuickItem* row = driver.usableItem("modeFiles");
  const QRect place = row->mapRectToScene(row->boundingRect()).toRect();
  const QImage before = window.grabWindow().copy(place);
  waitFor("the spinner to spin", [&] { return window.grabWindow().copy(place) != before; });

  auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "portal");
  Portal portal;
  ASSERT_TRUE(bus.registerObject("/org/freedesktop/portal/desktop", &portal,
                                 QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
  ASSERT_TRUE(bus.registerService("org.freedesktop.portal.Desktop"));
  const struct {
    QString group;
    QString key;
    QVariant rest;
    QVariant motion;
  } rows[] = {
      {"org.freedesktop.appearance", "reduced-motion", 1U, 0U},
      {"org.gnome.desktop.interface", "enable-animations", false, true},
      {"org.kde.kdeglobals.KDE", "AnimationDurationFactor", "0", "0.5"},
      {"org.kde.kdeglobals.KDE", "AnimationDurationFactor", 0.0, ""},
  };
  for (const auto& [group, key, rest, motion] : rows) {
    portal.settings = {{group, {{key, rest}}}};
    const DesktopSettings fresh;
    EXPECT_TRUE(fresh.isMotionWanted()) << "Nobody has answered";
    waitFor(key.toStdString() + " to be read", [&] { return !fresh.isMotionWanted(); });
    emit portal.SettingChanged(group, key, QDBusVariant(rest));
    waitFor("the window to come to rest", [&] { return !isWindowMoving(); });
    emit portal.SettingChanged(group, key, QDBusVariant(motion));
    waitFor("motion", [&] { return isWindowMoving() && fresh.isMotionWanted(); });
  }
  QDBusConnection::disconnectFromBus("portal");
}

}  // namespace

}  // namespace tallyfold::test

#include "DesktopSettingsTest.moc"
