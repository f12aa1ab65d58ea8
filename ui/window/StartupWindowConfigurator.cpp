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

}  // namespace

void StartupWindowConfigurator::itemChange(ItemChange change, const ItemChangeData& data) {
  QQuickItem::itemChange(change, data);
  if (change != ItemSceneChange || data.window == nullptr) return;
  auto& windows = configuredWindows();
  if (std::find(windows.begin(), windows.end(), data.window) != windows.end()) return;
  windows.emplace_back(data.window);
  data.window->resize(startupSize);
  const QRect screen = data.window->screen()->availableGeometry();
  data.window->setPosition(screen.center() - QPoint(startupSize.width(), startupSize.height()) / 2);
}

}  // namespace tallyfold
