#include "ui/TallyTheme/TextKeys.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMouseEvent>

namespace tallyfold {

void TextKeys::setTarget(QQuickItem* target) {
  if (target == nullptr || target == target_) return;
  target_ = target;
  target_->installEventFilter(this);
  // It would look whether it could paste whenever the clipboard has a new owner.
  disconnect(QGuiApplication::clipboard(), nullptr, target_, nullptr);
  emit targetChanged();
}

bool TextKeys::leave(const QKeyEvent& key) {
  const bool isForward = key.key() == Qt::Key_Tab;
  if (!isForward && key.key() != Qt::Key_Backtab) return false;
  if (!isLeftByTab_ && !key.modifiers().testFlag(Qt::ControlModifier)) return false;
  target_->nextItemInFocusChain(isForward)->forceActiveFocus(isForward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
  return true;
}

bool TextKeys::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Paste)) {
    emit pasteRequested(false);
    return true;
  }
  if (event->type() == QEvent::KeyPress && submitsOnReturn_ &&
      static_cast<QKeyEvent*>(event)->key() == Qt::Key_Return) {
    emit submitted();
    return true;
  }
  if (event->type() == QEvent::KeyPress && leave(*static_cast<QKeyEvent*>(event))) return true;
  if ((event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonRelease) &&
      static_cast<QMouseEvent*>(event)->button() == Qt::MiddleButton) {
    if (event->type() == QEvent::MouseButtonPress) emit pasteRequested(true);
    return true;
  }
  if (event->type() != QEvent::ShortcutOverride || !watched->property("readOnly").toBool()) return false;
  const auto* key = static_cast<QKeyEvent*>(event);
  const bool hasSelection = !watched->property("selectedText").toString().isEmpty();
  // Newer versions of the toolkit leave these to the shortcuts too.
  event->setAccepted((key->matches(QKeySequence::Copy) && hasSelection) || key->matches(QKeySequence::SelectAll));
  return true;
}

}  // namespace tallyfold
