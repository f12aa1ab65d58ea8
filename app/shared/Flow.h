#pragma once

#include <utility>

#include <QObject>
#include <QString>

#include "app/shared/FlowContext.h"
#include "app/shared/Outcome.h"

namespace tallyfold {

/// The work of one mode: its state, and what can be done with it. Operations that cannot run now are refused silently;
/// the `...Refusal` properties say beforehand why one would be, as a sentence for a tooltip, and are empty when it
/// would not. On the interface thread. Flows name it with its namespace, without which the linter of the screens does
/// not find it.
class Flow : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isBusy READ isBusy NOTIFY isBusyChanged)
  Q_PROPERTY(bool isAtWork READ isAtWork NOTIFY isBusyChanged)
  Q_PROPERTY(tallyfold::Outcome::Case unseenOutcome READ unseenOutcome NOTIFY unseenOutcomeChanged)

 public:
  [[nodiscard]] virtual bool isBusy() const = 0;
  /// This flow is busy, or the one that goes on where it ends.
  [[nodiscard]] bool isAtWork() const { return isBusy() || (next_ != nullptr && next_->isBusy()); }
  /// `next` lives as long as this one is used.
  void setNext(const Flow& next) {
    next_ = &next;
    connect(next_, &Flow::isBusyChanged, this, &Flow::isBusyChanged);
  }
  /// How its last work ended, while the user looked at another mode and has not come back since.
  [[nodiscard]] Outcome::Case unseenOutcome() const { return unseenOutcome_; }
  void setUnseenOutcome(Outcome::Case outcome) {
    if (std::exchange(unseenOutcome_, outcome) != outcome) emit unseenOutcomeChanged();
  }
  /// What came of its last work, in a sentence; empty when nothing did.
  [[nodiscard]] virtual QString outcomeSentence() const = 0;
  /// Stops whatever is under way. Threads end on their own, within one chunk of what they read.
  virtual void shutdown() = 0;

 signals:
  void isBusyChanged();
  void unseenOutcomeChanged();
  /// Work has come to an end of which a user who looked elsewhere should hear.
  void ended(tallyfold::Outcome::Case outcome);

 protected:
  /// `context` must outlive the flow.
  explicit Flow(FlowContext& context) : context_(context) {}

  [[nodiscard]] FlowContext& context() const { return context_; }

 private:
  FlowContext& context_;
  const Flow* next_ = nullptr;
  Outcome::Case unseenOutcome_ = Outcome::NoOutcome;
};

}  // namespace tallyfold
