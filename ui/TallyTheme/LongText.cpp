#include "ui/TallyTheme/LongText.h"

#include <algorithm>
#include <array>
#include <utility>

#include <QStringView>

namespace tallyfold {

namespace {

// UTF-16, of marks and of what runs from right to left or turns the direction.
constexpr std::array<std::pair<char16_t, char16_t>, 9> intricate = {{
    {0x0300, 0x036F},
    {0x0590, 0x08FF},
    {0x200E, 0x200F},
    {0x202A, 0x202E},
    {0x2066, 0x2069},
    {0xD802, 0xD803},
    {0xD83A, 0xD83B},
    {0xFB1D, 0xFDFF},
    {0xFE70, 0xFEFC},
}};

bool isIntricate(QChar unit) {
  return std::any_of(intricate.begin(), intricate.end(), [unit](const auto& range) {
    return range.first <= unit.unicode() && unit.unicode() <= range.second;
  });
}

// How many characters of `text` an editor bears. To lay out more takes longer than a key or a new size of the window
// may wait: lines, marks, and what runs from right to left among what does not, take several times as long as other
// writing.
qsizetype bearable(QStringView text) {
  constexpr qsizetype longest = 42'000;  // Microseconds, as all that follows.
  constexpr qsizetype line = 20;
  constexpr qsizetype simpleCharacter = 6;
  const QStringView beginning = text.first(std::min(longest / simpleCharacter, text.size()));
  const qsizetype character =
      std::any_of(beginning.begin(), beginning.end(), isIntricate) ? qsizetype{16} : simpleCharacter;
  qsizetype shown = 0;
  for (qsizetype time = 0; shown < beginning.size(); ++shown) {
    time += character + (beginning[shown] == u'\n' ? line : 0);
    if (time > longest) break;
  }
  return shown;
}

}  // namespace

void LongText::show(const QString& all) {
  if (all == content_) return;
  content_ = all;
  qsizetype shown = bearable(all);
  isAbridged_ = all.size() > shown;
  // A text is not cut between the halves of a character.
  if (isAbridged_ && all.at(shown - 1).isHighSurrogate()) --shown;
  emit contentChanged();
  editor_->setProperty("text", isAbridged_ ? all.first(shown) : all);
}

void LongText::takeOver() {
  const QString text = editor_->property("text").toString();
  if (isAbridged_ || text == content_) return;
  show(text);
  emit edited();
}

void LongText::insert(const QString& text) {
  if (text.isEmpty()) return;
  const int begin = editor_->property("selectionStart").toInt();
  const int end = editor_->property("selectionEnd").toInt();
  const QString all = isAbridged_ ? text : content_.left(begin) + text + content_.mid(end);
  if (isAbridged_ || all.size() > bearable(all)) {
    show(all);
    emit edited();
    return;
  }
  // As the user would type it, so that it can be undone.
  QMetaObject::invokeMethod(editor_, "remove", Q_ARG(int, begin), Q_ARG(int, end));
  QMetaObject::invokeMethod(editor_, "insert", Q_ARG(int, begin), Q_ARG(QString, text));
}

}  // namespace tallyfold
