#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/shared/Desktop.h"

namespace tallyfold::test {

/// A desktop whose user does what the test says, and that remembers what it was asked for.
class FakeDesktop : public Desktop {
 public:
  std::optional<QByteArray> pasteboard;         ///< None until something was copied.
  std::vector<std::filesystem::path> revealed;  ///< In the order of the requests.
  std::vector<std::string> announced;           ///< "Files: 2 files calculated" and so on.
  QString proposedName;                         ///< Of the last save panel.

  /// The panel that was opened last and is still open; empty when there is none.
  std::function<void(const QList<QUrl>&)> openPanel;
  std::function<void(const QUrl&)> singlePanel;
  std::function<void(const QUrl&)> folderPanel;
  std::function<void(const QUrl&)> savePanel;
  QString otherProgramsText;  ///< On the clipboard, from another program.

  void confirmOpenPanel(const QList<QUrl>& urls) { std::exchange(openPanel, nullptr)(urls); }
  void confirmSinglePanel(const QUrl& url) { std::exchange(singlePanel, nullptr)(url); }
  void confirmFolderPanel(const QUrl& url) { std::exchange(folderPanel, nullptr)(url); }
  void confirmSavePanel(const QUrl& url) { std::exchange(savePanel, nullptr)(url); }

  void chooseFiles(std::function<void(const QList<QUrl>&)> chosen) override { openPanel = std::move(chosen); }
  void chooseSingleFile(std::function<void(const QUrl&)> chosen) override { singlePanel = std::move(chosen); }
  void chooseFolder(std::function<void(const QUrl&)> chosen) override { folderPanel = std::move(chosen); }
  [[nodiscard]] QString pasteboardText(Pasteboard) const override { return otherProgramsText; }
  void chooseDestination(const std::filesystem::path& proposal, std::function<void(const QUrl&)> chosen) override {
    proposedName = QString::fromStdString(proposal.native());
    savePanel = std::move(chosen);
  }
  void setPasteboard(const QByteArray& text) override { pasteboard = text; }
  void announceEnd(const QString& mode, const QString& outcome) override {
    announced.push_back((mode + ": " + outcome).toStdString());
  }
  void revealInFileBrowser(const std::filesystem::path& path) override { revealed.push_back(path); }
};

}  // namespace tallyfold::test
