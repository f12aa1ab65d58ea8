#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// How much of a long name a line is worth giving to the layout.
class LineFit : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON

 public:
  using QObject::QObject;

  /// `text` where a line of `width` pixels could have room for it, if all its characters were as narrow as any are in a
  /// font of `pixelSize`. Otherwise as much of its beginning and of its end as there could be room for, with "…"
  /// between them: the line shows no more of it, and what it does not show takes time to be laid out.
  Q_INVOKABLE [[nodiscard]] static QString ends(const QString& text, qreal width, qreal pixelSize);
};

}  // namespace tallyfold
