#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QString>
#include <QStringList>

#include "app/audit/AuditNotes.h"
#include "app/audit/MovedSearch.h"
#include "app/audit/UnlistedModel.h"
#include "app/shared/Flow.h"
#include "app/shared/RunStatus.h"
#include "app/shared/VerifiedList.h"
#include "core/services/FileHashResult.h"
#include "export/reports/VerificationReport.h"

namespace tallyfold {

/// What a verified checksum list says nothing of: the files of its folder that it does not name, and which of these the
/// missing ones may be.
class AuditFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(tallyfold::UnlistedModel* unlisted READ unlisted CONSTANT)
  Q_PROPERTY(bool isPresent READ isPresent NOTIFY changed)
  Q_PROPERTY(bool isLooking READ isLooking NOTIFY changed)
  Q_PROPERTY(bool offersSearch READ offersSearch NOTIFY changed)
  Q_PROPERTY(bool isSearching READ isSearching NOTIFY changed)
  Q_PROPERTY(QString figure READ figure NOTIFY changed)
  Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY changed)
  Q_PROPERTY(QString sentence READ sentence NOTIFY changed)
  Q_PROPERTY(QString remarks READ remarks NOTIFY changed)
  Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
  Q_PROPERTY(QString progressFigure READ progressFigure NOTIFY progressChanged)
  Q_PROPERTY(tallyfold::RunStatus* runStatus READ runStatus CONSTANT)

 public:
  explicit AuditFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isLooking() || isSearching(); }
  [[nodiscard]] QString outcomeSentence() const override { return searchSentence(); }
  void shutdown() override { cancel(); }

  [[nodiscard]] UnlistedModel* unlisted() { return &unlisted_; }
  /// Unlisted files are, or were, looked for.
  [[nodiscard]] bool isPresent() const { return stage_ != Stage::none; }
  [[nodiscard]] bool isLooking() const { return stage_ == Stage::running; }
  /// There are missing files that the unlisted ones can be searched for, which was not done yet, or not of all of them.
  [[nodiscard]] bool offersSearch() const;
  [[nodiscard]] bool isSearching() const { return search_ == Stage::running; }
  /// The unlisted files are shown in the place of the entries: only while `isPresent`.
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
  /// Of the files that are searched, 0 to 1.
  [[nodiscard]] double progress() const;
  /// "12 of 1,204 files"; empty while there is none.
  [[nodiscard]] QString progressFigure() const;
  [[nodiscard]] RunStatus* runStatus() { return &runStatus_; }
  /// What is known of missing and of unlisted files. Only while `isPresent`.
  [[nodiscard]] AuditNotes notes() const { return {list_, unlisted_.files(), moved_}; }
  /// Of all this, as it is now.
  [[nodiscard]] VerificationReport::Unlisted report() const;
  /// Why the list should not be verified anew, nor another list or folder be chosen: that would end a search without a
  /// word. Empty where it would not.
  [[nodiscard]] QString searchRefusal() const;

  /// Looks for the unlisted files of a list that was verified, and forgets those of another.
  void look(VerifiedList list);
  /// Searches the unlisted files for the missing ones. Ignored where there are not both, and while one is under way.
  /// What another one found before comes back where this one is cancelled, or fails.
  Q_INVOKABLE void findMoved();
  /// Cancels whatever is under way.
  Q_INVOKABLE void cancel();
  void forget();
  /// Cancels a search. What it gives brings back what is known now, or begins to look again, once that was forgotten.
  [[nodiscard]] std::function<void()> keep();

  /// On the clipboard: one of the rows shown, those that are marked, or all that are shown, as soon as a worker has
  /// written them out.
  void copyRow(int row);
  void copyMarked();
  void copyShown();

 signals:
  void changed();
  void shownChanged();
  void progressChanged();
  void notesChanged();

 private:
  enum class Stage { none, running, cancelled, failed, ended };

  [[nodiscard]] bool canSearch() const;
  [[nodiscard]] QStringList doubts() const;
  [[nodiscard]] QStringList leftOut() const;
  [[nodiscard]] static VerificationReport::Work workOf(Stage stage);
  [[nodiscard]] bool hasFoundAll() const;
  [[nodiscard]] QString searchSentence() const;
  [[nodiscard]] QString searchFailure() const;
  void applyReport(const MovedSearch::Report& report);
  void setMoved(std::shared_ptr<const MovedFiles> moved);
  void forgetFiles();
  void endSearch(const std::exception_ptr& failure);
  void copy(std::vector<std::string> paths);
  void setStage(Stage stage);
  void setSearch(Stage search);

  Stage stage_ = Stage::none;   // Of the walk.
  Stage search_ = Stage::none;  // For the missing files.
  Timestamp walkEnd_;
  Timestamp searchEnd_;
  bool isShown_ = false;
  QString failure_;  // Of the walk, or of the search.
  std::shared_ptr<const VerifiedList> list_;
  UnlistedModel unlisted_;
  std::shared_ptr<const MovedFiles> moved_ = std::make_shared<const MovedFiles>();  // From their names alone at first.
  std::shared_ptr<const MovedFiles> byName_ = moved_;  // That, whatever was searched since.
  std::shared_ptr<const MovedFiles> earlier_;          // What a search found, while it is repeated; else null.
  std::size_t filesDone_ = 0;
  RunStatus runStatus_;
  FlowTask<AuditFlow> task_{*this, context().mailbox()};
  FlowTask<AuditFlow> sizesTask_{*this, context().mailbox()};
};

}  // namespace tallyfold
