#pragma once

#include <QObject>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// Lets the window's shortcuts through to it while the keyboard is in a text that is only to be read, which would keep
/// them all to itself. The text still gets those for copying what is selected in it, and for selecting everything. What
/// would paste into any text is left to whoever listens: the text itself would ask the clipboard's owner over and over,
/// even when nothing is pasted, and wait for each answer.
class ShortcutPassage : public QObject {
  Q_OBJECT
  QML_ELEMENT
  /// The text; not changed once it is set.
  Q_PROPERTY(QQuickItem* target READ target WRITE setTarget NOTIFY targetChanged)

 public:
  using QObject::QObject;

  [[nodiscard]] QQuickItem* target() const { return target_; }
  void setTarget(QQuickItem* target);
  bool eventFilter(QObject* watched, QEvent* event) override;

 signals:
  void targetChanged();
  /// From the clipboard, or of what is selected in another program.
  void pasteRequested(bool isSelection);

 private:
  QQuickItem* target_ = nullptr;
};

}  // namespace tallyfold
