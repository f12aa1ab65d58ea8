#pragma once

#include <QQuickImageProvider>

namespace tallyfold {

/// Draws the program's own symbols in any colour and size: "image://icons/NAME/AARRGGBB".
class IconProvider : public QQuickImageProvider {
 public:
  IconProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

}  // namespace tallyfold
