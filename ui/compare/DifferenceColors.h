#pragma once

#include <QColor>
#include <QQuickTextDocument>
#include <QSyntaxHighlighter>
#include <QtQml/qqmlregistration.h>

#include "app/compare/DifferenceSearch.h"

namespace tallyfold {

/// Colours the bytes of two files: what is before them, those that differ, and the first of these.
class DifferenceColors : public QSyntaxHighlighter {
  Q_OBJECT
  QML_ELEMENT
  /// The text of which is that of the rows.
  Q_PROPERTY(QQuickTextDocument* target READ target WRITE setTarget NOTIFY targetChanged)
  Q_PROPERTY(tallyfold::ByteRows rows MEMBER rows_ WRITE setRows NOTIFY rowsChanged)
  Q_PROPERTY(QColor quietColor MEMBER quietColor_ NOTIFY colorsChanged)
  Q_PROPERTY(QColor markColor MEMBER markColor_ NOTIFY colorsChanged)
  Q_PROPERTY(QColor firstMarkColor MEMBER firstMarkColor_ NOTIFY colorsChanged)
  Q_PROPERTY(QColor firstMarkedTextColor MEMBER firstMarkedTextColor_ NOTIFY colorsChanged)

 public:
  explicit DifferenceColors(QObject* parent = nullptr);

  [[nodiscard]] QQuickTextDocument* target() const { return target_; }
  void setTarget(QQuickTextDocument* target);
  void setRows(const ByteRows& rows);

 signals:
  void targetChanged();
  void rowsChanged();
  void colorsChanged();

 protected:
  void highlightBlock(const QString& text) override;

 private:
  QQuickTextDocument* target_ = nullptr;
  ByteRows rows_;
  QColor quietColor_;
  QColor markColor_;
  QColor firstMarkColor_;
  QColor firstMarkedTextColor_;
};

}  // namespace tallyfold
