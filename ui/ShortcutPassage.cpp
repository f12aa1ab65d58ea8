#include "ui/ShortcutPassage.h"

#include <QKeyEvent>
#include <QKeySequence>

namespace tallyfold {

void ShortcutPassage::setTarget(QQuickItem* target) {
  if (target == nullptr || target == target_) return;
  target_ = target;
  target_->installEventFilter(this);
  emit targetChanged();
}

bool ShortcutPassage::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::ShortcutOverride || !watched->property("readOnly").toBool()) return false;
  const auto* key = static_cast<QKeyEvent*>(event);
  const bool hasSelection = !watched->property("selectedText").toString().isEmpty();
  if ((key->matches(QKeySequence::Copy) && hasSelection) || key->matches(QKeySequence::SelectAll)) return false;
  event->ignore();
  return true;
}

}  // namespace tallyfold
