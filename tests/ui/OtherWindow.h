#pragma once

#include <string>

namespace tallyfold::test {

/// A window of another program, as a window manager knows it.
class OtherWindow {
 public:
  /// Waits for the window with this title to be on the screen.
  explicit OtherWindow(const std::string& title);
  ~OtherWindow();
  OtherWindow(const OtherWindow&) = delete;
  OtherWindow& operator=(const OtherWindow&) = delete;

  [[nodiscard]] bool isVisible() const;

  /// Gives it the keyboard, and waits until it has it.
  void focus() const;
  /// Asks it to close, as its close button does.
  void close() const;

 private:
  struct Connection;

  Connection* connection_;
};

}  // namespace tallyfold::test
