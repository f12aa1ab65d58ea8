#include "ui/TallyTheme/IconProvider.h"

#include <QColor>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace tallyfold {

QImage IconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  const qsizetype slash = id.lastIndexOf(u'/');
  const QColor color(u'#' + id.mid(slash + 1));
  QFile file(QStringLiteral(":/icons/%1.svg").arg(id.left(slash)));
  if (!file.open(QIODevice::ReadOnly)) {
    qWarning("There is no icon %s", qUtf8Printable(id));
    return {};
  }
  QSvgRenderer renderer(file.readAll().replace("currentColor", color.name(QColor::HexRgb).toLatin1()));
  QImage image(requestedSize.isEmpty() ? renderer.defaultSize() : requestedSize, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setOpacity(color.alphaF());
  renderer.render(&painter);
  if (size != nullptr) *size = image.size();
  return image;
}

}  // namespace tallyfold
