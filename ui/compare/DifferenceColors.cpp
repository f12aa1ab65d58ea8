#include "ui/compare/DifferenceColors.h"

#include <algorithm>

#include <QTextCharFormat>

namespace tallyfold {

DifferenceColors::DifferenceColors(QObject* parent) : QSyntaxHighlighter(parent) {
  connect(this, &DifferenceColors::colorsChanged, this, &QSyntaxHighlighter::rehighlight);
}

void DifferenceColors::setTarget(QQuickTextDocument* target) {
  if (target == target_) return;
  target_ = target;
  setDocument(target == nullptr ? nullptr : target->textDocument());
  emit targetChanged();
}

void DifferenceColors::setRows(const ByteRows& rows) {
  if (rows == rows_) return;
  rows_ = rows;
  rehighlight();
  emit rowsChanged();
}

void DifferenceColors::highlightBlock(const QString& text) {
  const auto length = static_cast<int>(text.size());
  setFormat(0, std::min(rows_.firstColumn, length), quietColor_);
  const int start = currentBlock().position();
  const auto mark = [&](const QList<int>& places, const QTextCharFormat& format) {
    for (const int place : places) {
      if (place >= start && place < start + length) setFormat(place - start, 1, format);
    }
  };
  QTextCharFormat format;
  format.setBackground(markColor_);
  mark(rows_.marks, format);
  format.setBackground(firstMarkColor_);
  format.setForeground(firstMarkedTextColor_);
  mark(rows_.firstMarks, format);
}

}  // namespace tallyfold
