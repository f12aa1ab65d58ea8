#pragma once

#include <filesystem>
#include <functional>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

namespace tallyfold {

/// What the model asks of the desktop around it. Called on the interface thread. Panels do not block: they call back on
/// the interface thread when the user has confirmed, and not at all when the user cancels. The model may be gone by
/// then.
class Desktop {
 public:
  virtual ~Desktop() = default;

  /// Asks for any number of existing files.
  virtual void chooseFiles(std::function<void(const QList<QUrl>&)> chosen) = 0;

  /// Asks for exactly one existing file.
  virtual void chooseSingleFile(std::function<void(const QUrl&)> chosen) = 0;

  /// Asks for exactly one existing folder. None can be created in the panel.
  virtual void chooseFolder(std::function<void(const QUrl&)> chosen) = 0;

  /// What is on the clipboard, or selected in another program, as text; empty when that is no text, or its owner does
  /// not answer, which can take as long as the toolkit waits.
  enum class Pasteboard { clipboard, selection };
  [[nodiscard]] virtual QString pasteboardText(Pasteboard pasteboard) const = 0;

  /// Asks where to save a file, proposing a name, or a whole path. Folders may be created in the panel.
  virtual void chooseDestination(const std::filesystem::path& proposal, std::function<void(const QUrl&)> chosen) = 0;

  /// Replaces what is on the clipboard by plain text: UTF-8, or the very bytes of a path.
  virtual void setPasteboard(const QByteArray& text) = 0;

  /// Work of a mode has ended with this outcome. Says so where the window is not what the user looks at.
  virtual void announceEnd(const QString& mode, const QString& outcome) = 0;

  /// Shows a file in the desktop's file browser.
  virtual void revealInFileBrowser(const std::filesystem::path& path) = 0;
};

}  // namespace tallyfold
