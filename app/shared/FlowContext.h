#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <stop_token>

#include <QByteArray>
#include <QObject>
#include <QString>

#include "app/shared/Desktop.h"
#include "app/tasks/BackgroundTask.h"
#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// What the flows share, and no more: none of them knows another. On the interface thread.
class FlowContext : public QObject {
  Q_OBJECT

 public:
  /// `desktop` must outlive it.
  explicit FlowContext(Desktop& desktop) : desktop_(desktop) {}
  ~FlowContext() override { mailbox_->close(); }
  FlowContext(const FlowContext&) = delete;
  FlowContext& operator=(const FlowContext&) = delete;

  [[nodiscard]] Desktop& desktop() const { return desktop_; }
  [[nodiscard]] const std::shared_ptr<WeakAppViewModelReference>& mailbox() const { return mailbox_; }

  /// Empty when there is none.
  [[nodiscard]] QString errorMessage() const { return errorMessage_; }
  /// What it is about, in a few words that are safe to show on one line; empty where it says that itself.
  [[nodiscard]] QString errorSubject() const { return errorSubject_; }
  void setErrorMessage(const QString& message, const QString& subject = {});
  void setErrorMessage(const std::exception_ptr& failure, const QString& subject = {});

  [[nodiscard]] HashAlgorithmSet selectedAlgorithms() const { return selectedAlgorithms_; }
  /// Ignored while the selection is held.
  void setSelectedAlgorithms(HashAlgorithmSet algorithms);
  /// The selection must not change under work that goes by it.
  void holdSelection(bool isHeld);
  /// Why it cannot change now, as a sentence for a tooltip; empty when it can.
  [[nodiscard]] QString selectionRefusal() const;

  /// Puts a text on the clipboard: at once, or as soon as a worker has written it, unless something else is copied
  /// before.
  void copy(const QByteArray& text);
  void copyLater(std::function<QByteArray(const std::stop_token&)> text);
  void abandonCopy() { copyTask_.abandon(); }
  /// Something is on its way to a disk, or was left behind on it: it is worth a while of waiting.
  [[nodiscard]] bool isSaving() const { return savings_ > 0; }
  /// `by` more of such are under way.
  void countSaving(int by) { savings_ += by; }

  /// What a paste brings: of the clipboard, or of what is selected in another program. Asks that program, which can
  /// take long: once for each paste.
  [[nodiscard]] QString pasteboardText(bool isSelection = false) const;

 signals:
  void errorMessageChanged();
  void selectedAlgorithmsChanged();
  void selectionRefusalChanged();

 private:
  Desktop& desktop_;
  const std::shared_ptr<WeakAppViewModelReference> mailbox_ = std::make_shared<WeakAppViewModelReference>();
  QString errorMessage_;
  QString errorSubject_;
  HashAlgorithmSet selectedAlgorithms_ = HashAlgorithm::recommended;
  bool isSelectionHeld_ = false;
  int savings_ = 0;
  FlowTask<FlowContext> copyTask_{*this, mailbox_};
};

}  // namespace tallyfold
