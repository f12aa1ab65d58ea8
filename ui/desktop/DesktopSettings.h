#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// What the desktop and the build say about how things should look and where links lead. Read once, at the start.
class DesktopSettings : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  /// The face for digests, with clear 0 O 1 l.
  Q_PROPERTY(QString digestFont READ digestFont CONSTANT)
  /// The desktop's text size against the usual one, 1 to 2.
  Q_PROPERTY(qreal textScale READ textScale CONSTANT)
  /// False when the desktop asks for reduced motion.
  Q_PROPERTY(bool isMotionWanted READ isMotionWanted CONSTANT)
  /// Addresses for the about panel; empty when there are none.
  Q_PROPERTY(QString donationUrl READ donationUrl CONSTANT)
  Q_PROPERTY(QString contactUrl READ contactUrl CONSTANT)
  Q_PROPERTY(QString contactLine READ contactLine CONSTANT)
  /// Of the program, as its package has it: "1.2.3".
  Q_PROPERTY(QString version READ version CONSTANT)

 public:
  using QObject::QObject;

  [[nodiscard]] static QString digestFont();
  [[nodiscard]] static qreal textScale();
  [[nodiscard]] static bool isMotionWanted();
  [[nodiscard]] static QString donationUrl();
  [[nodiscard]] static QString contactUrl();
  [[nodiscard]] static QString contactLine();
  [[nodiscard]] static QString version();
};

}  // namespace tallyfold
