#include "ui/desktop/DesktopSettings.h"

#include <algorithm>

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QUrl>

namespace tallyfold {

namespace {

// An address of the build's configuration, or nothing when it is not one.
QString validUrl(const char* address) {
  const QUrl url(QString::fromUtf8(address), QUrl::StrictMode);
  return url.isValid() && !url.scheme().isEmpty() ? url.toString() : QString();
}

}  // namespace

QString DesktopSettings::digestFont() {
  const QStringList installed = QFontDatabase::families();
  for (const char* family : {"JetBrains Mono", "Cascadia Mono", "Fira Code", "DejaVu Sans Mono"}) {
    if (installed.contains(QLatin1String(family))) return QLatin1String(family);
  }
  return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

qreal DesktopSettings::textScale() {
  constexpr qreal usualPixels = 15;  // 11 points at 96 dots per inch, the largest default of the common desktops.
  return std::clamp(QFontInfo(QApplication::font()).pixelSize() / usualPixels, 1.0, 2.0);
}

bool DesktopSettings::isMotionWanted() { return QApplication::isEffectEnabled(Qt::UI_General); }

QString DesktopSettings::donationUrl() { return validUrl(TALLYFOLD_DONATION_URL); }

QString DesktopSettings::contactUrl() { return validUrl(TALLYFOLD_CONTACT_URL); }

QString DesktopSettings::contactLine() { return QStringLiteral(TALLYFOLD_CONTACT_LINE); }

QString DesktopSettings::version() { return QStringLiteral(TALLYFOLD_VERSION); }

}  // namespace tallyfold
