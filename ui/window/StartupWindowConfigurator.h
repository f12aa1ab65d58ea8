#pragma once

#include <QMargins>
#include <QQuickItem>
#include <QRect>
#include <QSize>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// An invisible item that gives the window it comes into its start-up size and place: once for each window, so that
/// what the user then does to the window stays.
class StartupWindowConfigurator : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT

 public:
  using QQuickItem::QQuickItem;

  /// Where a window with a frame of these widths starts, without its frame: of the start-up size and in the middle, or
  /// what of it fits what is `available` of the screen; never smaller than `least`, and then from the upper left corner
  /// on, where its title is. In logical pixels.
  [[nodiscard]] static QRect startupGeometry(const QRect& available, const QMargins& frame, QSize least);

 protected:
  void itemChange(ItemChange change, const ItemChangeData& data) override;
};

}  // namespace tallyfold
