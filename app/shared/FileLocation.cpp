#include "app/shared/FileLocation.h"

#include <string>

#include <QSysInfo>

#include "core/text/VisibleText.h"

namespace tallyfold {

namespace {

bool isOnThisMachine(const QUrl& url) {
  const QString host = url.authority(QUrl::FullyEncoded);
  return host.isEmpty() || host == QLatin1String("localhost") ||
         host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

}  // namespace

bool isDirectoryPath(const QUrl& url) { return url.path(QUrl::FullyEncoded).endsWith(u'/'); }

bool isDirectoryPath(const std::filesystem::path& path) { return path.native().ends_with('/'); }

std::optional<std::filesystem::path> fileLocation(const QUrl& url) {
  if (!url.isLocalFile() || !isOnThisMachine(url) || url.hasQuery() || url.hasFragment()) return std::nullopt;
  const QByteArray bytes = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toUtf8());
  if (!bytes.startsWith('/') || bytes.contains('\0')) return std::nullopt;
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

QString shownText(std::string_view bytes) { return QString::fromStdString(visibleText(bytes, mostShownCharacters)); }

QString displayText(const std::filesystem::path& path) { return shownText(path.native()); }

QByteArray copiedText(std::string_view bytes) { return QByteArray::fromStdString(visibleText(bytes)); }

}  // namespace tallyfold
