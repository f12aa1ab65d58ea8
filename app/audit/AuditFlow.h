#pragma once

#include <cstdint>

#include <QString>
#include <QStringList>

#include "app/audit/UnlistedModel.h"
#include "app/shared/Flow.h"
#include "app/shared/VerifiedList.h"

namespace tallyfold {

/// What a verified checksum list says nothing of: the files of its folder that it does not name.
class AuditFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(tallyfold::UnlistedModel* unlisted READ unlisted CONSTANT)
  Q_PROPERTY(bool isPresent READ isPresent NOTIFY changed)
  Q_PROPERTY(bool isLooking READ isLooking NOTIFY changed)
  Q_PROPERTY(bool isShown READ isShown WRITE setShown NOTIFY shownChanged)
  Q_PROPERTY(QString figure READ figure NOTIFY changed)
  Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY changed)
  Q_PROPERTY(QString sentence READ sentence NOTIFY changed)
  Q_PROPERTY(QString remarks READ remarks NOTIFY changed)
  Q_PROPERTY(QString emptySentence READ emptySentence NOTIFY shownChanged)
  Q_PROPERTY(QString copyRefusal READ copyRefusal NOTIFY shownChanged)

 public:
  explicit AuditFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isLooking(); }
  [[nodiscard]] QString outcomeSentence() const override { return sentence(); }
  void shutdown() override { cancel(); }

  [[nodiscard]] UnlistedModel* unlisted() { return &unlisted_; }
  /// Unlisted files are, or were, looked for.
  [[nodiscard]] bool isPresent() const { return stage_ != Stage::none; }
  [[nodiscard]] bool isLooking() const { return stage_ == Stage::looking; }
  /// They are shown in the place of the entries.
  [[nodiscard]] bool isShown() const { return isShown_; }
  void setShown(bool isShown);
  /// How many there are; no figure where that is not known.
  [[nodiscard]] QString figure() const;
  [[nodiscard]] bool isEmpty() const { return unlisted_.total() == 0; }
  /// What came of it, behind the verdict on the list; empty before.
  [[nodiscard]] QString sentence() const;
  /// What else the walk met.
  [[nodiscard]] QString remarks() const;
  /// Why there are no rows, where they would be shown.
  [[nodiscard]] QString emptySentence() const;
  [[nodiscard]] QString copyRefusal() const;

  /// Looks for the unlisted files of a list that was verified, and forgets those of another.
  void look(const VerifiedList& list);
  Q_INVOKABLE void cancel();
  void forget();

  /// On the clipboard: one of the rows shown, those that are marked, or all that are shown, as soon as a worker has
  /// written them out.
  Q_INVOKABLE void copyRow(int row);
  Q_INVOKABLE void copyMarked();
  Q_INVOKABLE void copyShown();

 signals:
  void changed();
  void shownChanged();

 private:
  enum class Stage { none, looking, cancelled, failed, found };

  [[nodiscard]] QStringList doubts() const;
  void copy(std::vector<std::string> paths);
  void setStage(Stage stage);

  Stage stage_ = Stage::none;
  bool isShown_ = false;
  qint64 linesNotUnderstood_ = 0;
  QString failure_;
  UnlistedModel unlisted_;
  FlowTask<AuditFlow> task_{*this, context().mailbox()};
};

}  // namespace tallyfold
