#pragma once

#include <memory>

namespace tallyfold::test {

/// Another program that has the clipboard and never answers, for as long as it lives.
class SilentClipboardOwner {
 public:
  SilentClipboardOwner();
  ~SilentClipboardOwner();
  SilentClipboardOwner(const SilentClipboardOwner&) = delete;
  SilentClipboardOwner& operator=(const SilentClipboardOwner&) = delete;

  /// How often it was asked for anything so far.
  int requests();

 private:
  struct Connection;

  std::unique_ptr<Connection> connection_;
  int requests_ = 0;
};

}  // namespace tallyfold::test
