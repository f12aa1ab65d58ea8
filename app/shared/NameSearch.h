#pragma once

#include <string_view>

#include <QByteArray>
#include <QString>

namespace tallyfold {

/// Finds names that have a text in them, in upper or lower case, composed or not. Takes time in proportion to a name,
/// whatever it is made of.
class NameSearch {
 public:
  explicit NameSearch(const QString& text = {});

  /// `name` is UTF-8, as far as it is text.
  [[nodiscard]] bool matches(std::string_view name);

 private:
  QByteArray text_;
  QByteArray folded_;  // The name that was looked at last.
};

}  // namespace tallyfold
