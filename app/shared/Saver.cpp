#include "app/shared/Saver.h"

#include <atomic>
#include <memory>
#include <utility>

#include <QPointer>

#include "app/shared/FileLocation.h"

namespace tallyfold {

QString Saver::savedPlace() const { return saved_ ? displayText(*saved_) : QString(); }

void Saver::ask(const std::filesystem::path& proposal, std::function<Writer()> choose) {
  context_.desktop().chooseDestination(proposal,
                                       [this, alive = QPointer(this), choose = std::move(choose)](const QUrl& url) {
                                         const auto destination = alive ? fileLocation(url) : std::nullopt;
                                         if (!destination || isSaving_ || task_.isRunning()) return;
                                         if (Writer write = choose()) start(*destination, std::move(write));
                                       });
}

void Saver::start(const std::filesystem::path& destination, Writer write) {
  context_.setErrorMessage(QString());
  dismiss();
  setOnItsWay(true);
  isSaving_ = true;
  emit isSavingChanged();
  // The worker may have come to its end before a cancellation that its last step hears of.
  const auto isSaved = std::make_shared<std::atomic<bool>>(false);
  task_.start(
      BackgroundTask::Priority::utility,
      [write = std::move(write), destination, isSaved](const FlowTask<Saver>::Context& task) {
        write(destination, task.cancellation());
        *isSaved = true;
      },
      [destination, isSaved](Saver& self, const std::exception_ptr& failure) {
        self.end(destination, *isSaved, failure);
      });
}

void Saver::end(const std::filesystem::path& destination, bool isSaved, const std::exception_ptr& failure) {
  const bool isLeftBehind = task_.hasLeftWorkBehind() && !isSaved;
  setOnItsWay(isLeftBehind);
  if (failure) context_.setErrorMessage(failure, displayText(destination));
  if (isLeftBehind) context_.setErrorMessage(unanswered_, displayText(destination));
  isSaving_ = false;
  if (isSaved) saved_ = destination;
  emit isSavingChanged();
  if (isSaved) emit savedPlaceChanged();
  emit ended(destination, isSaved);
}

void Saver::setOnItsWay(bool isOnItsWay) {
  if (std::exchange(isOnItsWay_, isOnItsWay) != isOnItsWay) context_.countSaving(isOnItsWay ? 1 : -1);
}

void Saver::showSaved() {
  if (saved_) context_.desktop().revealInFileBrowser(*saved_);
}

void Saver::announce(const std::filesystem::path& saved) {
  saved_ = saved;
  emit savedPlaceChanged();
}

void Saver::dismiss() {
  if (std::exchange(saved_, std::nullopt)) emit savedPlaceChanged();
}

}  // namespace tallyfold
