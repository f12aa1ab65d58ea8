#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include <QPoint>
#include <QPointF>
#include <QString>

#include "tour/XInput.h"

class QFileDialog;
class QQuickItem;
class QQuickWindow;
class QWindow;

namespace tallyfold {

/// Uses the window as a person does. It only asks the scene where things are.
class Driver : public XInput {
 public:
  explicit Driver(QQuickWindow& window);

  /// The visible item with this object name, in any window of the scene.
  QQuickItem* item(const QString& objectName) const;
  [[nodiscard]] QQuickItem* findItem(const QString& objectName) const;
  /// As `item`, once it is there and has come to rest.
  QQuickItem* usableItem(const QString& objectName) const;

  /// Until what `place` says is the same before and after a frame: items are laid out no sooner.
  static void waitForRest(const std::string& what, const std::function<std::optional<QPointF>()>& place);
  /// Every window that can be seen draws itself once more.
  static void drawFrame();

  void moveTo(const QPoint& global);
  void moveTo(const QString& objectName);
  void click(const QString& objectName, unsigned number = 1);
  void clickAt(const QPoint& global, unsigned number = 1);
  /// Presses the first button at one place and lets it go at another.
  void drag(const QPoint& from, const QPoint& to);

  /// Gives the focus to a window, as a window manager would.
  void focus(QWindow& window);

  /// The toolkit's own file panel that is open now; null when there is none.
  static QFileDialog* panel(const QString& objectName);
  /// Waits for that panel, types a path into it and confirms.
  void answerPanel(const QString& objectName, const std::filesystem::path& path);

  /// The whole screen as a PNG file.
  void screenshot(const std::filesystem::path& file) const;

 private:
  QQuickWindow& window_;
};

}  // namespace tallyfold
