#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include <QDeadlineTimer>
#include <QPoint>
#include <QString>

class QQuickItem;
class QQuickWindow;
class QWindow;

namespace tallyfold {

/// Uses the window as a person does: it moves the pointer and presses buttons and keys of the X server, which sends
/// them to whatever is there. It only asks the scene where things are. On the interface thread; while it waits, events
/// are handled. What does not happen within its limit is a std::runtime_error that says what was awaited.
class Driver {
 public:
  static constexpr int patience = 20'000;  ///< Milliseconds that any wait may take.

  /// For the X display in the environment, which nobody else uses.
  explicit Driver(QQuickWindow& window);
  ~Driver();
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;

  /// Handles events until `condition` holds.
  static void waitFor(const std::string& what, const std::function<bool()>& condition, int milliseconds = patience);

  /// The visible item with this object name, in any window of the scene.
  QQuickItem* item(const QString& objectName) const;
  [[nodiscard]] QQuickItem* findItem(const QString& objectName) const;
  /// As `item`, once it is there, has come to rest, and can be used.
  QQuickItem* usableItem(const QString& objectName) const;

  void moveTo(const QPoint& global);
  void moveTo(const QString& objectName);
  void button(unsigned number, bool isDown);
  void click(const QString& objectName, unsigned number = 1);
  void clickAt(const QPoint& global, unsigned number = 1);

  /// Gives the keyboard to a window, as a window manager would.
  void focus(QWindow& window);
  /// Presses keys at once, the last one last: "Control_L", "Return" (X keysym names).
  void press(std::initializer_list<const char*> keys);
  void type(const std::string& text);

  /// The toolkit's own file panel that is open now: types a path into it and confirms.
  void answerPanel(const QString& objectName, const std::filesystem::path& path);

  /// What another program gets when it asks the clipboard for text.
  [[nodiscard]] std::string clipboard();

  /// The whole screen as a PNG file.
  void screenshot(const std::filesystem::path& file) const;

 private:
  struct Connection;

  QQuickWindow& window_;
  std::unique_ptr<Connection> connection_;
};

}  // namespace tallyfold
