#include "ui/window/StartupWindowConfigurator.h"

#include <algorithm>
#include <vector>

#include <QPointer>
#include <QQuickWindow>
#include <QScreen>

namespace tallyfold {

namespace {

constexpr QSize startupSize(1000, 680);

// Windows that close drop out by themselves.
std::vector<QPointer<QQuickWindow>>& configuredWindows() {
  static std::vector<QPointer<QQuickWindow>> windows;
  std::erase_if(windows, [](const auto& window) { return window.isNull(); });
  return windows;
}

// Of a window whose frame is not known yet, the frame is none.
void fit(QWindow& window) {
  const QMargins frame = window.frameMargins();
  const QRect place =
      StartupWindowConfigurator::startupGeometry(window.screen()->availableGeometry(), frame, window.minimumSize());
  window.resize(place.size());
  window.setFramePosition(place.marginsAdded(frame).topLeft());
}

}  // namespace

QRect StartupWindowConfigurator::startupGeometry(const QRect& available, const QMargins& frame, QSize least) {
  const QRect inside = available.marginsRemoved(frame);
  QRect place({}, startupSize.boundedTo(inside.size()).expandedTo(least));
  place.moveCenter(inside.center());
  place.moveTopLeft({std::max(place.left(), inside.left()), std::max(place.top(), inside.top())});
  return place;
}

void StartupWindowConfigurator::itemChange(ItemChange change, const ItemChangeData& data) {
  QQuickItem::itemChange(change, data);
  if (change != ItemSceneChange || data.window == nullptr) return;
  auto& windows = configuredWindows();
  if (std::find(windows.begin(), windows.end(), data.window) != windows.end()) return;
  windows.emplace_back(data.window);
  fit(*data.window);
  // The frame comes with the first picture.
  const auto fitWithFrame = [window = data.window] {
    if (!window->screen()->availableGeometry().contains(window->frameGeometry())) fit(*window);
  };
  connect(data.window, &QQuickWindow::frameSwapped, data.window, fitWithFrame,
          static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
}

}  // namespace tallyfold
