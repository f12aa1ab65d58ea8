#include "ui/drops/DropHandling.h"

#include <utility>

#include "app/shared/FileLocation.h"
#include "app/tasks/InterfaceInbox.h"
#include "app/tasks/Workers.h"
#include "core/files/FileHandle.h"

namespace tallyfold {

namespace {

// Lives as long as any thread of a drop may post to it. First asked for on the interface thread.
InterfaceInbox& inbox() {
  static auto& inbox = *new InterfaceInbox(0);
  return inbox;
}

// On the interface thread.
std::function<void(const QString&)>& refusalListener() {
  static std::function<void(const QString&)> listener;
  return listener;
}

// One drop whose items load on threads of their own. The last reference to it, whoever holds it, ends the drop.
class DropGroup {
 public:
  DropGroup(FilesCallback dropped, Droppable kind) : dropped_(std::move(dropped)), kind_(kind) {}
  ~DropGroup() { resolveFileURLs(accumulator_.urls(), std::move(dropped_), kind_); }
  DropGroup(const DropGroup&) = delete;
  DropGroup& operator=(const DropGroup&) = delete;

  void complete(const QVariant& item) {
    const QUrl url = droppedFileURL(item);
    if (fileLocation(url) && (kind_ == Droppable::filesAndFolders || !isDirectoryPath(url))) accumulator_.append(url);
  }

 private:
  FilesCallback dropped_;
  Droppable kind_;
  DroppedURLAccumulator accumulator_;
};

QList<QUrl> urlsIn(const QByteArray& uriList) {
  QList<QUrl> urls;
  for (qsizetype begin = 0; begin < uriList.size();) {
    qsizetype end = uriList.indexOf('\n', begin);
    if (end < 0) end = uriList.size();
    const QByteArray line = uriList.mid(begin, end - begin).trimmed();
    if (!line.isEmpty()) urls.append(QUrl::fromEncoded(line));
    begin = end + 1;
  }
  return urls;
}

// `urls` is called on another thread.
void resolve(std::function<QList<QUrl>()> urls, FilesCallback dropped, Droppable kind) {
  inbox();
  const auto look = [urls = std::move(urls), dropped = std::move(dropped), kind]() mutable {
    QList<QUrl> files = markedFolders(urls());
    files.removeIf([](const QUrl& url) { return !fileLocation(url); });
    if (kind == Droppable::files) files = filteredFileURLs(files);
    if (!files.isEmpty()) inbox().post([files, dropped = std::move(dropped)] { dropped(files); });
  };
  try {
    Workers::start(look);
  } catch (const Workers::Refusal& refusal) {
    inbox().post([sentence = QString::fromUtf8(refusal.what())] {
      if (refusalListener()) refusalListener()(sentence);
    });
  }
}

}  // namespace

void DroppedURLAccumulator::append(const QUrl& url) {
  const std::lock_guard lock(mutex_);
  urls_.append(url);
}

QList<QUrl> DroppedURLAccumulator::urls() const {
  const std::lock_guard lock(mutex_);
  return urls_;
}

QUrl droppedFileURL(const QVariant& item) {
  switch (item.typeId()) {
    case QMetaType::QUrl:
      return item.toUrl();
    case QMetaType::QByteArray:
      return QUrl::fromEncoded(item.toByteArray(), QUrl::StrictMode);
    case QMetaType::QString:
      return QUrl(item.toString(), QUrl::StrictMode);
    default:
      return {};
  }
}

QList<QUrl> filteredFileURLs(const QList<QUrl>& urls) {
  QList<QUrl> files;
  for (const QUrl& url : urls) {
    if (fileLocation(url) && !isDirectoryPath(url)) files.append(url);
  }
  return files;
}

void tellRefusals(std::function<void(const QString&)> tell) { refusalListener() = std::move(tell); }

QList<QUrl> markedFolders(QList<QUrl> urls) {
  for (QUrl& url : urls) {
    const auto path = fileLocation(url);
    if (path && !isDirectoryPath(url) && lookAt(*path).isFolder) url = fileUrl(*path / "");
  }
  return urls;
}

void resolveFileURLs(const QList<QUrl>& urls, FilesCallback dropped, Droppable kind) {
  if (!urls.isEmpty()) resolve([urls] { return urls; }, std::move(dropped), kind);
}

void resolveFileURLs(const QByteArray& uriList, FilesCallback dropped, Droppable kind) {
  if (!uriList.isEmpty()) resolve([uriList] { return urlsIn(uriList); }, std::move(dropped), kind);
}

void resolveBigSurFileURLs(const std::vector<std::shared_ptr<ItemProvider>>& items, FilesCallback dropped,
                           Droppable kind) {
  inbox();
  const auto group = std::make_shared<DropGroup>(std::move(dropped), kind);
  for (const auto& item : items) item->loadItem([group](const QVariant& loaded) { group->complete(loaded); });
}

}  // namespace tallyfold
