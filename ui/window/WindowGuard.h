#pragma once

#include <QObject>

#include "app/AppViewModel.h"

class QQuickWindow;
class QWindow;

namespace tallyfold {

/// While something stands over the window that is answered first, a panel of the desktop or a sheet, nothing below it
/// acts, whatever has the focus: the toolkit keeps presses from what is below, but neither shortcuts nor drops. On the
/// interface thread.
class WindowGuard : public QObject {
 public:
  /// Both must outlive it.
  WindowGuard(QQuickWindow& window, AppViewModel& model);

  /// The panel that the window waits for; null when there is none.
  [[nodiscard]] QWindow* panel() const;

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  [[nodiscard]] bool isCovered() const;

  QQuickWindow& window_;
  AppViewModel& model_;
};

}  // namespace tallyfold
