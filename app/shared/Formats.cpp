#include "app/shared/Formats.h"

#include <array>
#include <chrono>
#include <cmath>

namespace tallyfold {

QLocale userLocale() {
  const QLocale system = QLocale::system();
  return system.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : system;
}

QString figureOf(std::int64_t number) { return userLocale().toString(static_cast<qlonglong>(number)); }

void addCounted(QStringList& sentences, std::int64_t count, const QString& one, const QString& many) {
  if (count > 0) sentences.append(count == 1 ? one : many.arg(figureOf(count)));
}

QString compactDuration(double seconds) {
  return seconds < 1.0 ? QString::asprintf("%.0f ms", seconds * 1000) : QString::asprintf("%.2f s", seconds);
}

QString timeLeft(double seconds) {
  const QLocale locale = userLocale();
  const auto number = [&](double value) { return locale.toString(std::ceil(value), 'f', 0); };
  if (std::ceil(seconds) < 90) return QStringLiteral("%1 s left").arg(number(seconds));
  const double minutes = std::ceil(seconds / 60);
  if (minutes < 90) return QStringLiteral("%1 min left").arg(number(minutes));
  if (minutes >= 48 * 60) return QStringLiteral("%1 days left").arg(number(minutes / (24 * 60)));
  const double hours = std::floor(minutes / 60);
  return QStringLiteral("%1 h %2 min left").arg(number(hours), number(minutes - 60 * hours));
}

Timestamp timeNow() { return {std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()), 0}; }

QString exactByteCount(qint64 bytes) {
  return bytes == 1 ? QStringLiteral("1 byte") : QStringLiteral("%1 bytes").arg(userLocale().toString(bytes));
}

QString filesOfFiles(std::size_t done, std::size_t total) {
  const QLocale locale = userLocale();
  const QString words = total == 1 ? QStringLiteral("%1 of %2 file") : QStringLiteral("%1 of %2 files");
  return words.arg(locale.toString(qulonglong{done}), locale.toString(qulonglong{total}));
}

QString formattedByteCount(qint64 bytes) {
  struct Unit {
    const char* name;
    int decimals;
  };
  static constexpr std::array<Unit, 6> units = {{{"KB", 0}, {"MB", 1}, {"GB", 2}, {"TB", 2}, {"PB", 2}, {"EB", 2}}};

  if (bytes < 1000) return exactByteCount(bytes);

  const QLocale locale = userLocale();
  double value = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  const auto rounded = [&] {
    return std::round(value * std::pow(10, units[unit].decimals)) / std::pow(10, units[unit].decimals);
  };
  while (rounded() >= 1000 && unit + 1 < units.size()) {
    value /= 1000;
    ++unit;
  }
  QString digits = locale.toString(rounded(), 'f', units[unit].decimals);
  while (digits.contains(locale.decimalPoint()) && digits.endsWith(locale.zeroDigit())) digits.chop(1);
  if (digits.endsWith(locale.decimalPoint())) digits.chop(locale.decimalPoint().size());
  return digits + QLatin1Char(' ') + QLatin1String(units[unit].name);
}

QString formattedThroughput(double bytesPerSecond) {
  // 2^63 is the first double that no longer fits.
  if (!std::isfinite(bytesPerSecond) || bytesPerSecond >= 0x1p63 || bytesPerSecond < -0x1p63)
    return QStringLiteral("—");
  return formattedByteCount(static_cast<qint64>(bytesPerSecond)) + QStringLiteral("/s");
}

}  // namespace tallyfold
