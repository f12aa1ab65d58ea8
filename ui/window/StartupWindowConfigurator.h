#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// An invisible item that gives the window it comes into its start-up size and place: once for each window, so that
/// what the user then does to the window stays.
class StartupWindowConfigurator : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT

 public:
  using QQuickItem::QQuickItem;

 protected:
  void itemChange(ItemChange change, const ItemChangeData& data) override;
};

}  // namespace tallyfold
