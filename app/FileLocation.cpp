#include "app/FileLocation.h"

#include <string>

namespace tallyfold {

namespace {

// Letters and marks that change the direction of the text around them, and the two separators that break a line.
bool isLayoutControl(char16_t unit) {
  return unit == 0x061C || (unit >= 0x200E && unit <= 0x200F) || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069) || unit == 0xFEFF || unit == 0x200B;
}

}  // namespace

bool isDirectoryPath(const QUrl& url) { return url.path(QUrl::FullyEncoded).endsWith(u'/'); }

bool isDirectoryPath(const std::filesystem::path& path) { return path.native().ends_with('/'); }

std::optional<std::filesystem::path> fileLocation(const QUrl& url) {
  if (!url.isLocalFile()) return std::nullopt;
  const QByteArray bytes = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toUtf8());
  if (!bytes.startsWith('/')) return std::nullopt;
  std::filesystem::path path(bytes.toStdString());
  // Most paths are in standard form already, which is quick to see.
  return bytes.contains("//") || bytes.contains("/.") ? path.lexically_normal() : path;
}

QUrl fileUrl(const std::filesystem::path& path) {
  const std::string& native = path.native();
  const QByteArray encoded =
      QByteArray::fromRawData(native.data(), static_cast<qsizetype>(native.size())).toPercentEncoding("/");
  return QUrl::fromEncoded("file://" + encoded, QUrl::StrictMode);
}

QString textOf(const std::filesystem::path& path) { return QString::fromStdString(path.native()); }

QString displayText(const std::filesystem::path& path) {
  const QString text = textOf(path);
  QString shown;
  shown.reserve(text.size());
  for (const QChar character : text) {
    const char16_t unit = character.unicode();
    if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || isLayoutControl(unit)) {
      shown += QStringLiteral("<U+%1>").arg(unit, 4, 16, QLatin1Char('0')).toUpper();
    } else {
      shown += character;
    }
  }
  return shown;
}

}  // namespace tallyfold
