#pragma once

#include <QKeyEvent>
#include <QObject>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// Which keys a text keeps to itself, and what some of them ask for. The window's shortcuts work while the focus is in
/// a text that is only to be read, which would keep them all; it still gets those for copying what is selected in it,
/// and for selecting everything. What would paste into any text is left to whoever listens: the text itself would ask
/// the clipboard's owner over and over, even when nothing is pasted, and wait for each answer.
class TextKeys : public QObject {
  Q_OBJECT
  QML_ELEMENT
  /// The text; not changed once it is set.
  Q_PROPERTY(QQuickItem* target READ target WRITE setTarget NOTIFY targetChanged)
  /// Return submits the text and makes no line break.
  Q_PROPERTY(bool submitsOnReturn MEMBER submitsOnReturn_ NOTIFY submitsOnReturnChanged)
  /// Tab and Shift+Tab lead to the neighbours, and are no part of the text. Those with Ctrl always do.
  Q_PROPERTY(bool isLeftByTab MEMBER isLeftByTab_ NOTIFY isLeftByTabChanged)

 public:
  using QObject::QObject;

  [[nodiscard]] QQuickItem* target() const { return target_; }
  void setTarget(QQuickItem* target);
  bool eventFilter(QObject* watched, QEvent* event) override;

 signals:
  void targetChanged();
  void submitsOnReturnChanged();
  void isLeftByTabChanged();
  /// The text of the clipboard is wanted, or that which is selected in another program.
  void pasteRequested(bool isSelection);
  void submitted();

 private:
  /// False when the key is none that leaves the text.
  bool leave(const QKeyEvent& key);

  QQuickItem* target_ = nullptr;
  bool submitsOnReturn_ = false;
  bool isLeftByTab_ = false;
};

}  // namespace tallyfold
