#include "ui/drops/DropZone.h"

#include <utility>

#include <QByteArrayView>
#include <QMimeData>
#include <QPointer>

#include "ui/drops/DropHandling.h"

namespace tallyfold {

namespace {

const QString uriList = QStringLiteral("text/uri-list");

// Types that carry one file URL each, from programs that do not offer a list of URLs.
const QString mozillaUrl = QStringLiteral("text/x-moz-url-data");
const QString plainText = QStringLiteral("text/plain");

// What is longer is no list of locations, and nothing of it is taken: it would have to be parsed on this thread.
constexpr qsizetype mostBytes = 1 << 20;
constexpr qsizetype mostLocations = 10'000;

bool isUsable(const QMimeData& data) {
  return data.hasUrls() || data.hasFormat(mozillaUrl) || data.hasFormat(plainText);
}

QVariantList itemsOf(const QMimeData& data) {
  const bool isOneUrl = data.hasFormat(mozillaUrl);
  const QByteArray bytes = data.data(isOneUrl ? mozillaUrl : plainText);
  if (bytes.size() > mostBytes) return {};
  if (isOneUrl) return {bytes};
  QVariantList items;
  // Without a copy of each line: they may be a million empty ones.
  constexpr QByteArrayView scheme = "file:";
  for (QByteArrayView rest = bytes; !rest.isEmpty();) {
    const qsizetype end = rest.indexOf('\n');
    const QByteArrayView location = rest.first(end < 0 ? rest.size() : end).trimmed();
    rest = end < 0 ? QByteArrayView() : rest.sliced(end + 1);
    if (location.size() < scheme.size() || location.first(scheme.size()).compare(scheme, Qt::CaseInsensitive) != 0) {
      continue;
    }
    if (items.size() == mostLocations) return {};
    items.append(QString::fromUtf8(location));
  }
  return items;
}

}  // namespace

DropZone::DropZone(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemAcceptsDrops); }

void DropZone::dragEnterEvent(QDragEnterEvent* event) {
  if (!isUsable(*event->mimeData())) return event->ignore();
  setTargeted(true);
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

void DropZone::dragMoveEvent(QDragMoveEvent* event) {
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

void DropZone::dragLeaveEvent(QDragLeaveEvent* event) {
  setTargeted(false);
  event->accept();
}

void DropZone::dropEvent(QDropEvent* event) {
  setTargeted(false);
  event->setDropAction(Qt::CopyAction);
  event->accept();
  const QPointer<DropZone> zone(this);
  DropOutcome outcome = {
      [zone, replaced = replaces_](const QList<QUrl>& files) {
        if (zone && zone->replaces_ == replaced) emit zone->filesDropped(files);
      },
      [zone](const QString& sentence) {
        if (zone) emit zone->dropRefused(sentence);
      },
  };
  const Droppable kind = takesFolders_ ? Droppable::filesAndFolders : Droppable::files;
  if (event->mimeData()->hasUrls()) {
    resolveFileURLs(event->mimeData()->data(uriList), std::move(outcome), kind);
  } else {
    resolveBigSurFileURLs(itemsOf(*event->mimeData()), std::move(outcome), kind);
  }
}

void DropZone::setTargeted(bool isTargeted) {
  if (std::exchange(isTargeted_, isTargeted) != isTargeted) emit isTargetedChanged();
}

}  // namespace tallyfold
