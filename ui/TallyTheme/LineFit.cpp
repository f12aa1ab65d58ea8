#include "ui/TallyTheme/LineFit.h"

#include <algorithm>

namespace tallyfold {

QString LineFit::ends(const QString& text, qreal width, qreal pixelSize) {
  // Of the size of the font: an "i" has a quarter.
  constexpr qreal narrowest = 0.2;
  const auto half = static_cast<qsizetype>(std::max(width, 0.0) / (narrowest * pixelSize) / 2) + 1;
  if (text.size() <= 2 * half) return text;
  qsizetype beginning = half;
  qsizetype end = text.size() - half;
  // A text is not cut between the halves of a character.
  if (text.at(beginning).isLowSurrogate()) --beginning;
  if (text.at(end).isLowSurrogate()) ++end;
  return text.first(beginning) + u'…' + text.sliced(end);
}

}  // namespace tallyfold
