#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QSet>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// What the desktop and the build say about how things should look and where links lead. Read once, at the start; what
/// is said of motion and of double clicks is heard of whenever it changes.
class DesktopSettings : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  /// The face for digests, with clear 0 O 1 l.
  Q_PROPERTY(QString digestFont READ digestFont CONSTANT)
  /// The desktop's text size against the usual one, 1 to 2.
  Q_PROPERTY(qreal textScale READ textScale CONSTANT)
  /// False while the desktop asks for reduced motion; true where it does not say, and until it has answered.
  Q_PROPERTY(bool isMotionWanted READ isMotionWanted NOTIFY isMotionWantedChanged)
  /// Milliseconds between the two halves of a double click at most.
  Q_PROPERTY(int doubleClickInterval READ doubleClickInterval NOTIFY doubleClickIntervalChanged)
  /// Addresses for the about panel; empty when there are none.
  Q_PROPERTY(QString donationUrl READ donationUrl CONSTANT)
  Q_PROPERTY(QString contactUrl READ contactUrl CONSTANT)
  Q_PROPERTY(QString contactLine READ contactLine CONSTANT)
  /// Of the program, as its package has it: "1.2.3".
  Q_PROPERTY(QString version READ version CONSTANT)

 public:
  explicit DesktopSettings(QObject* parent = nullptr);

  [[nodiscard]] static QString digestFont();
  [[nodiscard]] static qreal textScale();
  [[nodiscard]] bool isMotionWanted() const { return refusals_.isEmpty(); }
  [[nodiscard]] static int doubleClickInterval();
  [[nodiscard]] static QString donationUrl();
  [[nodiscard]] static QString contactUrl();
  [[nodiscard]] static QString contactLine();
  [[nodiscard]] static QString version();

 signals:
  void isMotionWantedChanged();
  void doubleClickIntervalChanged();

 private:
  /// The desktop has this setting, or has it anew.
  Q_SLOT void hear(const QString& group, const QString& key, const QDBusVariant& value);

  QSet<QString> refusals_;  // Groups of the settings that ask for reduced motion.
};

}  // namespace tallyfold
