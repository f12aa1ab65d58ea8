#pragma once

#include <QColor>
#include <QFont>
#include <QQuickTextDocument>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// Sets a digest in groups of eight digits by a little extra space that is no character: the eye can follow, and what
/// is copied has no blanks.
class DigestGrouping : public QSyntaxHighlighter {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QQuickTextDocument* target READ target WRITE setTarget NOTIFY targetChanged)
  /// Pixels after each group.
  Q_PROPERTY(qreal gap READ gap WRITE setGap NOTIFY gapChanged)
  Q_PROPERTY(QFont font READ font WRITE setFont NOTIFY fontChanged)
  /// The position of a digit to mark, or -1, and the colours of the mark.
  Q_PROPERTY(int mark READ mark WRITE setMark NOTIFY markChanged)
  Q_PROPERTY(QColor markColor MEMBER markColor_ NOTIFY markChanged)
  Q_PROPERTY(QColor markedTextColor MEMBER markedTextColor_ NOTIFY markChanged)
  /// Digits of a group.
  Q_PROPERTY(int groupLength MEMBER groupLength CONSTANT)
  /// Width of a group with its gap, in pixels: a line as wide as some groups breaks between groups.
  Q_PROPERTY(qreal groupWidth READ groupWidth NOTIFY groupWidthChanged)

 public:
  explicit DigestGrouping(QObject* parent = nullptr) : QSyntaxHighlighter(parent) {}

  [[nodiscard]] QQuickTextDocument* target() const { return target_; }
  void setTarget(QQuickTextDocument* target);
  [[nodiscard]] qreal gap() const { return gap_; }
  void setGap(qreal gap);
  [[nodiscard]] QFont font() const { return font_; }
  void setFont(const QFont& font);
  [[nodiscard]] qreal groupWidth() const;
  [[nodiscard]] int mark() const { return mark_; }
  void setMark(int mark);

 signals:
  void targetChanged();
  void gapChanged();
  void fontChanged();
  void groupWidthChanged();
  void markChanged();

 protected:
  void highlightBlock(const QString& text) override;

 private:
  static constexpr int groupLength = 8;

  [[nodiscard]] QTextCharFormat spaced() const;

  QQuickTextDocument* target_ = nullptr;
  QFont font_;
  int mark_ = -1;
  QColor markColor_;
  QColor markedTextColor_;
  qreal gap_ = 0;
};

}  // namespace tallyfold
