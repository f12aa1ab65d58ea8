#pragma once

#include <functional>
#include <mutex>

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <QVariantList>

/// From what a desktop drops to a list of files.
namespace tallyfold {

/// The locations of one drop, in the order in which they come. Thread-safe.
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

/// What a drop may consist of.
enum class Droppable { files, filesAndFolders };

/// What a drop comes to: once, on the interface thread, to one of these; to nothing when there are no files in it.
struct DropOutcome {
  /// The files in the order of the drop, each folder among them with a separator at its end.
  std::function<void(const QList<QUrl>& files)> dropped;
  /// A sentence for the user: no thread can be had to look at the files.
  std::function<void(const QString& sentence)> refused;
};

/// Resolves a drop of items that are each a location: a QUrl, a QByteArray or a QString. One that is not is left out.
/// On the interface thread.
void resolveBigSurFileURLs(const QVariantList& items, DropOutcome outcome, Droppable kind);

/// Resolves a drop of locations that another program hands over. On the interface thread, which does not read them.
void resolveFileURLs(const QStringList& locations, DropOutcome outcome, Droppable kind);

/// Resolves a drop of the locations in a text/uri-list. On the interface thread, which does not read the lines.
void resolveFileURLs(const QByteArray& uriList, DropOutcome outcome, Droppable kind);

}  // namespace tallyfold
