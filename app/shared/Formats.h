#pragma once

#include <cstddef>
#include <cstdint>

#include <QLocale>
#include <QString>
#include <QStringList>

#include "core/services/FileHashResult.h"

/// Numbers as the screens show them, and times as reports do.
namespace tallyfold {

/// The user's locale; English where the system has only the "C" locale, which knows no grouping.
QLocale userLocale();

/// "1,204".
QString figureOf(std::int64_t number);

/// Adds `one`, or `many` with the number for its %1; nothing where there are none.
void addCounted(QStringList& sentences, std::int64_t count, const QString& one, const QString& many);

/// "18 ms" below one second, "1.00 s" from there on.
QString compactDuration(double seconds);

/// "3 s left", "5 min left", "1 h 20 min left", "3 days left": never less than it is.
QString timeLeft(double seconds);

/// Whole seconds.
Timestamp timeNow();

/// "1 byte", "4,200,000 bytes".
QString exactByteCount(qint64 bytes);

/// Bytes in decimal units as file browsers show them: "1 byte", "512 bytes", "4 KB", "4.2 MB", "1.25 GB".
QString formattedByteCount(qint64 bytes);

/// "1 of 1 file", "12 of 1,204 files".
QString filesOfFiles(std::size_t done, std::size_t total);

/// "233 MB/s". A dash when the speed is not a number of bytes, as for a file that took no measurable time.
QString formattedThroughput(double bytesPerSecond);

}  // namespace tallyfold
