#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include <QByteArray>
#include <QList>
#include <QUrl>
#include <QVariant>

/// From what a desktop drops to a list of files.
namespace tallyfold {

/// One dropped item that gives its content only when asked.
class ItemProvider {
 public:
  virtual ~ItemProvider() = default;

  /// Calls `completion` exactly once, on any thread, with the item as a file URL: a QUrl, a QByteArray or a QString; an
  /// invalid QVariant when it cannot be had.
  virtual void loadItem(std::function<void(const QVariant& item)> completion) = 0;
};

/// The locations that the callbacks of one drop deliver, in the order in which they come. Thread-safe.
class DroppedURLAccumulator {
 public:
  void append(const QUrl& url);
  [[nodiscard]] QList<QUrl> urls() const;

 private:
  mutable std::mutex mutex_;
  QList<QUrl> urls_;
};

/// The location that a dropped item stands for; an empty URL when it stands for none.
QUrl droppedFileURL(const QVariant& item);

/// Those of `urls` that are file URLs and do not denote a folder, in order.
QList<QUrl> filteredFileURLs(const QList<QUrl>& urls);

/// What is to be called on the interface thread, with a sentence for the user, when a drop or a panel's answer comes to
/// nothing because no thread can be had to look at its files.
void tellRefusals(std::function<void(const QString& sentence)> tell);

/// `urls` with a separator at the end of each that leads to a folder, which a drop's URLs often lack. Looks at the file
/// system once for each, which can take long: not on the interface thread.
QList<QUrl> markedFolders(QList<QUrl> urls);

/// What a drop may consist of.
enum class Droppable { files, filesAndFolders };

using FilesCallback = std::function<void(const QList<QUrl>& files)>;

/// Loads all items of a drop and calls `dropped` once, on the interface thread, with the files among them; never when
/// there are none, or a refusal is told. An item that fails to load is left out. Folders among the files end in a
/// separator. To be called on the interface thread.
void resolveBigSurFileURLs(const std::vector<std::shared_ptr<ItemProvider>>& items, FilesCallback dropped,
                           Droppable kind = Droppable::files);

/// The same for items that are URLs already.
void resolveFileURLs(const QList<QUrl>& urls, FilesCallback dropped, Droppable kind = Droppable::files);

/// The same for the lines of a text/uri-list, which are not read on this thread.
void resolveFileURLs(const QByteArray& uriList, FilesCallback dropped, Droppable kind);

}  // namespace tallyfold
