#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

#include <QObject>
#include <QString>

#include "app/shared/FlowContext.h"
#include "app/tasks/BackgroundTask.h"

namespace tallyfold {

/// Saves one file at a time where the user says, in the background: whole or not at all. On the interface thread. What
/// fails is an error message that names the destination. Those who end the program learn of the context that something
/// is being saved.
class Saver : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isSaving READ isSaving NOTIFY isSavingChanged)
  Q_PROPERTY(QString savedPlace READ savedPlace NOTIFY savedPlaceChanged)

 public:
  /// Saves at `destination`, on a worker.
  using Writer = std::function<void(const std::filesystem::path& destination, const std::stop_token& cancellation)>;

  /// `context` must outlive it. `unanswered` is the sentence for a disk that does not answer.
  Saver(FlowContext& context, QString unanswered) : context_(context), unanswered_(std::move(unanswered)) {}

  /// From the choice of a destination until the end.
  [[nodiscard]] bool isSaving() const { return isSaving_; }
  /// Where the last one was saved, safe to show on one line; empty once that is dismissed.
  [[nodiscard]] QString savedPlace() const;

  /// Asks for a destination, and has what `choose` returns then save there; null when there is nothing to be saved any
  /// more.
  void ask(const std::filesystem::path& proposal, std::function<Writer()> choose);
  /// What was saved by then is saved all the same, and is said to be.
  Q_INVOKABLE void cancel() { task_.cancel(); }
  /// Shows what was saved last in the file browser.
  Q_INVOKABLE void showSaved();
  Q_INVOKABLE void dismiss();
  /// Tells of another file that it was saved, in place of what was saved last.
  void announce(const std::filesystem::path& saved);

 signals:
  void isSavingChanged();
  void savedPlaceChanged();
  /// `isSaved`: all of it is at its destination.
  void ended(const std::filesystem::path& destination, bool isSaved);

 private:
  void start(const std::filesystem::path& destination, Writer write);
  void end(const std::filesystem::path& destination, bool isSaved, const std::exception_ptr& failure);
  void setOnItsWay(bool isOnItsWay);

  FlowContext& context_;
  const QString unanswered_;
  std::optional<std::filesystem::path> saved_;
  bool isSaving_ = false;
  bool isOnItsWay_ = false;  // It is being saved, or was left behind on its disk.
  FlowTask<Saver> task_{*this, context_.mailbox()};
};

}  // namespace tallyfold
