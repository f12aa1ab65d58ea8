#pragma once

#include <QObject>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// The text behind an editor. Of more than an editor bears, the editor shows the beginning, which can only be read.
class LongText : public QObject {
  Q_OBJECT
  QML_ELEMENT
  /// The editor; not changed once it is set.
  Q_PROPERTY(QQuickItem* editor MEMBER editor_ NOTIFY editorChanged)
  /// All of it, whatever is shown.
  Q_PROPERTY(QString content READ content NOTIFY contentChanged)
  Q_PROPERTY(bool isAbridged READ isAbridged NOTIFY contentChanged)

 public:
  using QObject::QObject;

  [[nodiscard]] QString content() const { return content_; }
  [[nodiscard]] bool isAbridged() const { return isAbridged_; }

  /// Makes `all` the content, and shows as much of it as the editor bears.
  Q_INVOKABLE void show(const QString& all);
  /// Takes over what the editor shows, which the user may have changed.
  Q_INVOKABLE void takeOver();
  /// Puts `text` in the place of what is selected; of everything, where not everything can be selected.
  Q_INVOKABLE void insert(const QString& text);

 signals:
  void editorChanged();
  void contentChanged();
  /// The user changed the content.
  void edited();

 private:
  QQuickItem* editor_ = nullptr;
  QString content_;
  bool isAbridged_ = false;
};

}  // namespace tallyfold
