#include "app/shared/NameSearch.h"

#include <algorithm>
#include <cstring>

namespace tallyfold {

namespace {

bool isAscii(std::string_view text) {
  return std::ranges::none_of(text, [](char byte) { return static_cast<signed char>(byte) < 0; });
}

QByteArray foldedText(const QString& text) {
  return text.normalized(QString::NormalizationForm_C).toCaseFolded().toUtf8();
}

}  // namespace

NameSearch::NameSearch(const QString& text) : text_(foldedText(text)) {}

bool NameSearch::matches(std::string_view name) {
  if (isAscii(name)) {
    folded_.resize(static_cast<qsizetype>(name.size()));
    std::ranges::transform(name, folded_.data(), [](char byte) {
      return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
    });
  } else {
    folded_ = foldedText(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
  }
  // Linear for any text, which searching by comparing at each place is not.
  return memmem(folded_.constData(), static_cast<std::size_t>(folded_.size()), text_.constData(),
                static_cast<std::size_t>(text_.size())) != nullptr;
}

}  // namespace tallyfold
