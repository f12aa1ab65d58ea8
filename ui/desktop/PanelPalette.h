#pragma once

#include <QColor>
#include <QObject>
#include <QQmlParserStatus>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// The colours of the panels that the toolkit draws itself, where the desktop has none. They hold for the program once
/// all of them are given.
class PanelPalette : public QObject, public QQmlParserStatus {
  Q_OBJECT
  Q_INTERFACES(QQmlParserStatus)
  QML_ELEMENT
  Q_PROPERTY(QColor window MEMBER window_ NOTIFY changed)
  Q_PROPERTY(QColor field MEMBER field_ NOTIFY changed)
  Q_PROPERTY(QColor button MEMBER button_ NOTIFY changed)
  Q_PROPERTY(QColor text MEMBER text_ NOTIFY changed)
  Q_PROPERTY(QColor faintText MEMBER faintText_ NOTIFY changed)
  Q_PROPERTY(QColor accent MEMBER accent_ NOTIFY changed)
  Q_PROPERTY(QColor inkOnAccent MEMBER inkOnAccent_ NOTIFY changed)

 public:
  using QObject::QObject;

  void classBegin() override {}
  void componentComplete() override;

 signals:
  void changed();

 private:
  QColor window_;
  QColor field_;
  QColor button_;
  QColor text_;
  QColor faintText_;
  QColor accent_;
  QColor inkOnAccent_;
};

}  // namespace tallyfold
