#include "app/shared/FlowContext.h"

#include <utility>

#include "core/base/Errors.h"

namespace tallyfold {

void FlowContext::setErrorMessage(const QString& message, const QString& subject) {
  const bool isOther = errorMessage_ != message || errorSubject_ != subject;
  errorMessage_ = message;
  errorSubject_ = subject;
  if (isOther) emit errorMessageChanged();
}

void FlowContext::setErrorMessage(const std::exception_ptr& failure, const QString& subject) {
  setErrorMessage(QString::fromStdString(errorDescription(failure)), subject);
}

void FlowContext::setSelectedAlgorithms(HashAlgorithmSet algorithms) {
  if (isSelectionHeld_ || std::exchange(selectedAlgorithms_, algorithms) == algorithms) return;
  emit selectedAlgorithmsChanged();
}

void FlowContext::holdSelection(bool isHeld) {
  if (std::exchange(isSelectionHeld_, isHeld) != isHeld) emit selectionRefusalChanged();
}

QString FlowContext::selectionRefusal() const {
  return isSelectionHeld_ ? tr("The selection cannot change during a run.") : QString();
}

void FlowContext::copy(const QByteArray& text) {
  copyTask_.abandon();
  desktop_.setPasteboard(text);
}

void FlowContext::copyLater(std::function<QByteArray(const std::stop_token&)> text) {
  copyTask_.abandon();
  copyTask_.start(
      BackgroundTask::Priority::userInitiated,
      [text = std::move(text)](const FlowTask<FlowContext>::Context& context) {
        context.post([written = text(context.cancellation())](FlowContext& self) { self.copy(written); });
      },
      [](FlowContext& self, const std::exception_ptr& failure) {
        if (failure) self.setErrorMessage(failure);
      });
}

QString FlowContext::pasteboardText(bool isSelection) const {
  return desktop_.pasteboardText(isSelection ? Desktop::Pasteboard::selection : Desktop::Pasteboard::clipboard);
}

}  // namespace tallyfold
