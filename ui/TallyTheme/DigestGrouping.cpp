#include "ui/TallyTheme/DigestGrouping.h"

#include <QTextLayout>

namespace tallyfold {

void DigestGrouping::setTarget(QQuickTextDocument* target) {
  if (target == target_) return;
  target_ = target;
  setDocument(target == nullptr ? nullptr : target->textDocument());
  emit targetChanged();
}

void DigestGrouping::setGap(qreal gap) {
  if (gap == gap_) return;
  gap_ = gap;
  rehighlight();
  emit gapChanged();
  emit groupWidthChanged();
}

void DigestGrouping::setFont(const QFont& font) {
  if (font == font_) return;
  font_ = font;
  emit fontChanged();
  emit groupWidthChanged();
}

void DigestGrouping::setMark(int mark) {
  if (mark == mark_) return;
  mark_ = mark;
  rehighlight();
  emit markChanged();
}

qreal DigestGrouping::groupWidth() const {
  // Measured in the middle of a line as it will be laid out: the sum of the characters' own widths is not quite it.
  QTextLayout layout(QString(qsizetype{3} * groupLength, u'0'), font_);
  QList<QTextLayout::FormatRange> ranges;
  for (int last = groupLength - 1; last < layout.text().size(); last += groupLength) ranges.append({last, 1, spaced()});
  layout.setFormats(ranges);
  layout.beginLayout();
  const QTextLine line = layout.createLine();
  layout.endLayout();
  return line.cursorToX(2 * groupLength) - line.cursorToX(groupLength);
}

QTextCharFormat DigestGrouping::spaced() const {
  QTextCharFormat format;
  format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
  format.setFontLetterSpacing(gap_);
  return format;
}

void DigestGrouping::highlightBlock(const QString& text) {
  for (int last = groupLength - 1; last < text.size(); last += groupLength) setFormat(last, 1, spaced());
  if (mark_ >= 0 && mark_ < text.size()) {
    QTextCharFormat marked = format(mark_);
    marked.setBackground(markColor_);
    marked.setForeground(markedTextColor_);
    setFormat(mark_, 1, marked);
  }
}

}  // namespace tallyfold
