#pragma once

#include <QFileDialog>
#include <QPointer>
#include <QWindow>

#include "app/shared/Desktop.h"
#include "ui/desktop/Notifications.h"

namespace tallyfold {

/// The desktop's own panels, one at a time, clipboard and file browser.
class DesktopServices : public Desktop {
 public:
  /// Panels belong to `window` from now on.
  void setWindow(QWindow* window) { window_ = window; }

  void chooseFiles(std::function<void(const QList<QUrl>&)> chosen) override;
  void chooseSingleFile(std::function<void(const QUrl&)> chosen) override;
  void chooseFolder(std::function<void(const QUrl&)> chosen) override;
  [[nodiscard]] QString pasteboardText(Pasteboard pasteboard) const override;
  void chooseDestination(const std::filesystem::path& proposal, std::function<void(const QUrl&)> chosen) override;
  void setPasteboard(const QByteArray& text) override;
  void announceEnd(const QString& mode, const QString& outcome) override;
  void revealInFileBrowser(const std::filesystem::path& path) override;

 private:
  /// Whether one is open, which is brought to the front then: there is never a second one.
  [[nodiscard]] bool bringPanelToFront() const;
  QFileDialog* makePanel();
  QFileDialog* makeOpenPanel(QFileDialog::FileMode mode, const QString& title);
  void openExisting(QFileDialog::FileMode mode, const QString& title, std::function<void(const QList<QUrl>&)> chosen);

  QPointer<QWindow> window_;
  QPointer<QFileDialog> panel_;
  Notifications notifications_;
};

}  // namespace tallyfold
