#include "app/files/FilesVerdict.h"

#include <QCoreApplication>

#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

QString tr(const char* text) { return QCoreApplication::translate("FilesVerdict", text); }

}  // namespace

FilesVerdict filesVerdict(int files, int calculated, int failed) {
  const QLocale locale = userLocale();
  if (files == 0) return {};
  if (calculated == files) {
    return {.tone = Tone::Good,
            .title = files == 1 ? tr("1 file calculated") : tr("All %1 files calculated").arg(locale.toString(files))};
  }
  QString title = tr("%1 of %2 calculated").arg(locale.toString(calculated), locale.toString(files));
  if (failed > 0) title += tr(", %1 failed").arg(locale.toString(failed));
  if (calculated + failed < files) title = tr("Cancelled: %1").arg(title);
  return {.tone = failed > 0 ? Tone::Bad : Tone::Caution, .title = title};
}

}  // namespace tallyfold
