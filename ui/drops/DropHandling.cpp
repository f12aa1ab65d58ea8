#include "ui/drops/DropHandling.h"

#include <algorithm>
#include <utility>

#include "app/shared/FileLocation.h"
#include "app/tasks/Mailbox.h"
#include "app/tasks/Workers.h"
#include "core/files/Paths.h"

namespace tallyfold {

namespace {

// Lives as long as any thread of a drop may post to it. First asked for on the interface thread.
Mailbox& mailbox() {
  static auto& mailbox = *new Mailbox(0);
  return mailbox;
}

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

// `urls` with a separator at the end of each that leads to a folder, which a drop's URLs often lack. Looks at the file
// system once for each, which can take long.
QList<QUrl> markedFolders(QList<QUrl> urls) {
  for (QUrl& url : urls) {
    const auto path = fileLocation(url);
    if (path && !isDirectoryPath(url) && lookAt(*path).isFolder) url = fileUrl(*path / "");
  }
  return urls;
}

// `urls` is called on another thread.
void resolve(std::function<QList<QUrl>()> urls, DropOutcome outcome, Droppable kind) {
  mailbox();
  const auto look = [urls = std::move(urls), dropped = std::move(outcome.dropped), kind]() mutable {
    QList<QUrl> files = markedFolders(urls());
    files.removeIf([](const QUrl& url) { return !fileLocation(url); });
    if (kind == Droppable::files) files = filteredFileURLs(files);
    if (!files.isEmpty()) mailbox().post([files, dropped = std::move(dropped)] { dropped(files); });
  };
  try {
    Workers::start(look);
  } catch (const Workers::Refusal& refusal) {
    mailbox().post(
        [refused = std::move(outcome.refused), sentence = QString::fromUtf8(refusal.what())] { refused(sentence); });
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

void resolveFileURLs(const QByteArray& uriList, DropOutcome outcome, Droppable kind) {
  if (!uriList.isEmpty()) resolve([uriList] { return urlsIn(uriList); }, std::move(outcome), kind);
}

void resolveFileURLs(const QStringList& locations, DropOutcome outcome, Droppable kind) {
  const auto parse = [locations] {
    QList<QUrl> urls;
    const auto isControl = [](QChar character) { return character.category() == QChar::Other_Control; };
    for (const QString& location : locations) {
      // The toolkit would take them for characters of a path.
      if (std::none_of(location.begin(), location.end(), isControl)) urls.append(droppedFileURL(location));
    }
    return urls;
  };
  if (!locations.isEmpty()) resolve(parse, std::move(outcome), kind);
}

void resolveBigSurFileURLs(const QVariantList& items, DropOutcome outcome, Droppable kind) {
  DroppedURLAccumulator accumulator;
  for (const QVariant& item : items) {
    const QUrl url = droppedFileURL(item);
    if (fileLocation(url) && (kind == Droppable::filesAndFolders || !isDirectoryPath(url))) accumulator.append(url);
  }
  QList<QUrl> urls = accumulator.urls();
  if (!urls.isEmpty()) resolve([urls] { return urls; }, std::move(outcome), kind);
}

}  // namespace tallyfold
