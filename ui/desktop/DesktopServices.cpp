#include "ui/desktop/DesktopServices.h"

#include <utility>

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>

#include "app/shared/FileLocation.h"

namespace tallyfold {

namespace {

const QString plainText = QStringLiteral("text/plain");

// Tells kinds of items without reading them: the toolkit's own way would wait, on this thread, for a disk that does not
// answer.
class ItemKinds : public QFileIconProvider {
 public:
  QIcon icon(IconType type) const override { return QFileIconProvider::icon(type); }
  QIcon icon(const QFileInfo& item) const override { return item.isDir() ? folder_ : file_; }
  QString type(const QFileInfo& item) const override {
    return item.isDir() ? QFileDialog::tr("Folder") : item.suffix();
  }

 private:
  // Asked for on a thread of the toolkit's, too.
  const QIcon folder_ = QFileIconProvider::icon(Folder);
  const QIcon file_ = QFileIconProvider::icon(File);
};

// Where a panel was confirmed last; empty before one was.
QUrl& lastFolder() {
  static QUrl folder;
  return folder;
}

}  // namespace

bool DesktopServices::bringPanelToFront() const {
  if (!panel_ || !panel_->isVisible()) return false;
  panel_->raise();
  panel_->activateWindow();
  return true;
}

// A panel that belongs to the window, blocks only it, and deletes itself when it closes. It begins where the last one
// was confirmed.
QFileDialog* DesktopServices::makePanel() {
  auto* panel = new QFileDialog;
  panel_ = panel;
  static auto& kinds = *new ItemKinds;  // Never destroyed: a thread of the toolkit may outlive main.
  panel->setIconProvider(&kinds);
  panel->setAttribute(Qt::WA_DeleteOnClose);
  panel->setWindowModality(Qt::WindowModal);
  if (!lastFolder().isEmpty()) panel->setDirectoryUrl(lastFolder());
  QObject::connect(panel, &QDialog::accepted, panel, [panel] {
    lastFolder() = panel->fileMode() == QFileDialog::Directory ? panel->selectedUrls().value(0) : panel->directoryUrl();
  });
  panel->winId();
  if (panel->windowHandle() != nullptr) panel->windowHandle()->setTransientParent(window_);
  return panel;
}

QFileDialog* DesktopServices::makeOpenPanel(QFileDialog::FileMode mode, const QString& title) {
  QFileDialog* panel = makePanel();
  panel->setObjectName(QStringLiteral("openPanel"));
  panel->setWindowTitle(title);
  panel->setFileMode(mode);
  return panel;
}

void DesktopServices::openExisting(QFileDialog::FileMode mode, const QString& title,
                                   std::function<void(const QList<QUrl>&)> chosen) {
  if (bringPanelToFront()) return;
  QFileDialog* panel = makeOpenPanel(mode, title);
  QObject::connect(panel, &QDialog::accepted, panel,
                   [panel, chosen = std::move(chosen)] { chosen(panel->selectedUrls()); });
  panel->open();
}

void DesktopServices::chooseFiles(std::function<void(const QList<QUrl>&)> chosen) {
  openExisting(QFileDialog::ExistingFiles, QFileDialog::tr("Choose Files"), std::move(chosen));
}

void DesktopServices::chooseSingleFile(std::function<void(const QUrl&)> chosen) {
  openExisting(QFileDialog::ExistingFile, QFileDialog::tr("Choose File"),
               [chosen = std::move(chosen)](const QList<QUrl>& files) { chosen(files.value(0)); });
}

void DesktopServices::chooseFolder(std::function<void(const QUrl&)> chosen) {
  if (bringPanelToFront()) return;
  QFileDialog* panel = makeOpenPanel(QFileDialog::Directory, QFileDialog::tr("Choose Folder"));
  panel->setOptions(QFileDialog::ShowDirsOnly | QFileDialog::ReadOnly);
  QObject::connect(panel, &QDialog::accepted, panel,
                   [panel, chosen = std::move(chosen)] { chosen(panel->selectedUrls().value(0)); });
  panel->open();
}

void DesktopServices::chooseDestination(const std::filesystem::path& proposal,
                                        std::function<void(const QUrl&)> chosen) {
  if (bringPanelToFront()) return;
  QFileDialog* panel = makePanel();
  panel->setObjectName(QStringLiteral("savePanel"));
  panel->setWindowTitle(QFileDialog::tr("Save"));
  panel->setAcceptMode(QFileDialog::AcceptSave);
  panel->setFileMode(QFileDialog::AnyFile);
  if (proposal.has_parent_path()) panel->setDirectoryUrl(fileUrl(proposal.parent_path()));
  const QString fileName = QFile::decodeName(proposal.filename().c_str());
  panel->setDefaultSuffix(QFileInfo(fileName).suffix());
  panel->selectFile(fileName);
  QObject::connect(panel, &QDialog::accepted, panel,
                   [panel, chosen = std::move(chosen)] { chosen(panel->selectedUrls().value(0)); });
  panel->open();
}

QString DesktopServices::pasteboardText(Pasteboard pasteboard) const {
  const QClipboard& clipboard = *QGuiApplication::clipboard();
  const QMimeData* data =
      clipboard.mimeData(pasteboard == Pasteboard::clipboard ? QClipboard::Clipboard : QClipboard::Selection);
  // The toolkit's own way would ask for one form after the other, and wait five seconds for each.
  return data != nullptr && data->formats().contains(plainText) ? data->text() : QString();
}

void DesktopServices::setPasteboard(const QByteArray& text) {
  // As bytes and not as a QString: a path need not be text.
  auto* data = new QMimeData;
  data->setData(QStringLiteral("text/plain"), text);
  QGuiApplication::clipboard()->setMimeData(data);
}

void DesktopServices::announceEnd(const QString& mode, const QString& outcome) {
  // A panel of the window is in front as well as the window itself.
  if (window_ == nullptr || QGuiApplication::focusWindow() != nullptr) return;
  window_->alert(0);
  notifications_.show(window_, outcome, mode);
}

void DesktopServices::revealInFileBrowser(const std::filesystem::path& path) {
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
  call << QStringList{fileUrl(path).toString(QUrl::FullyEncoded)} << QString();
  auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call));
  QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [path](QDBusPendingCallWatcher* watcher) {
    // No file browser on the bus: whatever opens folders on this desktop will do.
    if (watcher->isError()) QDesktopServices::openUrl(fileUrl(path.parent_path()));
    watcher->deleteLater();
  });
}

}  // namespace tallyfold
