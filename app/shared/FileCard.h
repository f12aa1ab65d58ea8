#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include <QObject>
#include <QString>

#include "app/tasks/Mailbox.h"

namespace tallyfold {

/// The size of a chosen file, in words, as soon as a worker has asked the file system for it: once for each choice. On
/// the interface thread.
class ShownFileSize {
 public:
  /// Workers that wait for a file system at a time; where so many hang, further sizes are unknown until one comes back.
  static constexpr int mostAsking = 8;

  /// `announce` is called when a size has become known. What it is about must be there as long as the mailbox is open.
  ShownFileSize(std::shared_ptr<WeakAppViewModelReference> mailbox, std::function<void()> announce)
      : mailbox_(std::move(mailbox)), announce_(std::move(announce)) {}

  /// Forgets the size of another file, and asks for that of `path`.
  void ask(const std::optional<std::filesystem::path>& path);

  /// "…" until it is known; empty when it cannot be known, or nothing was asked.
  [[nodiscard]] QString text() const { return text_ ? *text_ : QString(); }

  /// The two files change places; no announcement is lost.
  void swap(ShownFileSize& other) { text_.swap(other.text_); }

 private:
  std::shared_ptr<WeakAppViewModelReference> mailbox_;
  std::function<void()> announce_;
  std::shared_ptr<QString> text_;  // Nobody else keeps it: an answer to nobody is dropped.
};

/// What a screen shows of a chosen file or folder, safe to show.
struct FileCard {
  Q_GADGET
  Q_PROPERTY(bool isPresent MEMBER isPresent CONSTANT)
  Q_PROPERTY(QString name MEMBER name CONSTANT)
  Q_PROPERTY(QString folder MEMBER folder CONSTANT)
  Q_PROPERTY(QString size MEMBER size CONSTANT)

 public:
  bool isPresent = false;  ///< One is chosen.
  QString name;
  QString folder;
  QString size;

  bool operator==(const FileCard&) const = default;
};

/// A folder that may be wanted.
struct ProposedFolder {
  Q_GADGET
  Q_PROPERTY(bool isPresent MEMBER isPresent CONSTANT)
  Q_PROPERTY(QString name MEMBER name CONSTANT)
  Q_PROPERTY(QString path MEMBER path CONSTANT)

 public:
  bool isPresent = false;  ///< There is a proposal.
  QString name;
  QString path;

  bool operator==(const ProposedFolder&) const = default;
};

FileCard fileCard(const std::optional<std::filesystem::path>& path, const QString& size = {});

}  // namespace tallyfold
