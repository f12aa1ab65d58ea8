#pragma once

#include <QQuickItem>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace tallyfold {

/// The part of a screen that takes files dropped from other programs. Shows nothing itself.
class DropZone : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  /// A drag that carries something usable hovers over it.
  Q_PROPERTY(bool isTargeted READ isTargeted NOTIFY isTargetedChanged)
  /// Folders are dropped too, with a separator at the end of their URLs.
  Q_PROPERTY(bool takesFolders MEMBER takesFolders_ NOTIFY takesFoldersChanged)
  /// What a drop replaces. When it is another by the time that a slow disk has answered, the drop comes to nothing.
  Q_PROPERTY(QVariantList replaces MEMBER replaces_ NOTIFY replacesChanged)

 public:
  explicit DropZone(QQuickItem* parent = nullptr);

  [[nodiscard]] bool isTargeted() const { return isTargeted_; }

 signals:
  void isTargetedChanged();
  void takesFoldersChanged();
  void replacesChanged();
  /// Emitted once for each accepted drop, with one file at least.
  void filesDropped(const QList<QUrl>& files);
  /// A drop comes to nothing, for the reason that `sentence` tells the user.
  void dropRefused(const QString& sentence);

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void setTargeted(bool isTargeted);

  bool isTargeted_ = false;
  bool takesFolders_ = false;
  QVariantList replaces_;
};

}  // namespace tallyfold
