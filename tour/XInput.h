#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

#include <QPoint>

namespace tallyfold {

/// The pointer, the keyboard and the clipboard of an X display, as a person and another program use them. Input goes to
/// whatever is there. On the interface thread; while it waits, events are handled. What does not happen within its
/// limit is a std::runtime_error that says what was awaited.
class XInput {
 public:
  static constexpr int patience = 60'000;  ///< Milliseconds that any wait may take.

  /// For the X display in the environment, which nobody else uses.
  XInput();
  ~XInput();
  XInput(const XInput&) = delete;
  XInput& operator=(const XInput&) = delete;

  /// Handles events until `condition` holds.
  static void waitFor(const std::string& what, const std::function<bool()>& condition, int milliseconds = patience);

  /// The window that gets what is typed.
  [[nodiscard]] unsigned long windowWithKeyboard() const;

  /// In pixels of the display.
  void movePointer(const QPoint& pixel);
  void button(unsigned number, bool isDown);

  /// Presses keys at once, the last one last: "Control_L", "Return" (X keysym names). Does `meanwhile` with them down.
  void press(std::initializer_list<const char*> keys, const std::function<void()>& meanwhile = {});
  void type(const std::string& text);

  /// What another program gets when it asks the clipboard for text; empty when there is none.
  [[nodiscard]] std::string clipboard();

 private:
  struct Connection;

  std::unique_ptr<Connection> connection_;
};

}  // namespace tallyfold
