#pragma once

#include <cstddef>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QtGlobal>

#include "app/manifest/ManifestExport.h"
#include "app/manifest/ManifestJobListModel.h"
#include "app/manifest/ManifestRun.h"
#include "app/manifest/ManifestState.h"
#include "app/manifest/ManifestVerdict.h"
#include "app/shared/FileCard.h"
#include "app/shared/Flow.h"
#include "app/shared/RunStatus.h"
#include "app/shared/VerifiedList.h"
#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// Manifest mode: the files below a folder against a checksum list.
class ManifestFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(tallyfold::FileCard manifestFile READ manifestFile NOTIFY manifestURLsChanged)
  Q_PROPERTY(tallyfold::FileCard manifestRoot READ manifestRoot NOTIFY manifestURLsChanged)
  Q_PROPERTY(tallyfold::ProposedFolder offeredManifestRoot READ offeredManifestRoot NOTIFY manifestStatusChanged)
  Q_PROPERTY(tallyfold::ManifestJobListModel* manifestJobs READ manifestJobs CONSTANT)
  Q_PROPERTY(QStringList manifestWarnings READ manifestWarnings NOTIFY manifestLinesChanged)
  Q_PROPERTY(int manifestUnsupportedLineCount READ manifestUnsupportedLineCount NOTIFY manifestLinesChanged)
  Q_PROPERTY(QString manifestUnsupportedFigure READ manifestUnsupportedFigure NOTIFY manifestLinesChanged)
  Q_PROPERTY(QString manifestLines READ manifestLines NOTIFY manifestLinesChanged)
  Q_PROPERTY(QString manifestWarningsSummary READ manifestWarningsSummary NOTIFY manifestLinesChanged)
  Q_PROPERTY(QStringList manifestAlgorithms READ manifestAlgorithms NOTIFY manifestLinesChanged)
  Q_PROPERTY(bool isAmbiguousManifest READ isAmbiguousManifest NOTIFY manifestLinesChanged)
  Q_PROPERTY(QString manifestAlgorithm READ manifestAlgorithm NOTIFY manifestLinesChanged)
  Q_PROPERTY(QString proposedManifestAlgorithm READ proposedManifestAlgorithm NOTIFY manifestLinesChanged)
  Q_PROPERTY(bool offersReadingWithoutQuotes READ offersReadingWithoutQuotes NOTIFY manifestStatusChanged)
  Q_PROPERTY(QString manifestRestVerb READ manifestRestVerb NOTIFY manifestStatusChanged)
  Q_PROPERTY(double manifestProgress READ manifestProgress NOTIFY manifestProgressChanged)
  Q_PROPERTY(QString manifestProgressFigure READ manifestProgressFigure NOTIFY manifestProgressChanged)
  Q_PROPERTY(tallyfold::RunStatus* runStatus READ runStatus CONSTANT)
  Q_PROPERTY(tallyfold::ManifestExport* manifestExport READ manifestExport CONSTANT)
  Q_PROPERTY(bool isLoadingManifest READ isLoadingManifest NOTIFY isLoadingManifestChanged)
  Q_PROPERTY(bool isManifestVerifying READ isManifestVerifying NOTIFY isManifestVerifyingChanged)
  Q_PROPERTY(tallyfold::ManifestVerdict manifestVerdict READ manifestVerdict NOTIFY manifestStatusChanged)
  Q_PROPERTY(QString manifestRefusal READ manifestRefusal NOTIFY manifestStatusChanged)
  Q_PROPERTY(QString manifestFileRefusal READ manifestFileRefusal NOTIFY manifestStatusChanged)
  Q_PROPERTY(QString manifestRootRefusal READ manifestRootRefusal NOTIFY manifestStatusChanged)
  Q_PROPERTY(QString clearManifestRefusal READ clearManifestRefusal NOTIFY manifestURLsChanged)
  Q_PROPERTY(QString clearedSentence READ clearedSentence NOTIFY clearedSentenceChanged)

 public:
  explicit ManifestFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isLoading_ || isVerifying_; }
  void shutdown() override {
    cancelManifest();
    rootTask_.abandon();
    export_.cancel();
  }

  [[nodiscard]] QString outcomeSentence() const override { return manifestVerdict().title; }

  [[nodiscard]] RunStatus* runStatus() { return &runStatus_; }
  [[nodiscard]] ManifestExport* manifestExport() { return &export_; }
  [[nodiscard]] const std::optional<std::filesystem::path>& manifestURL() const { return choice_.url; }
  [[nodiscard]] const std::optional<std::filesystem::path>& manifestRootURL() const { return rootURL_; }
  [[nodiscard]] FileCard manifestFile() const;
  [[nodiscard]] FileCard manifestRoot() const;
  /// The proposed root, as long as nothing speaks for the one that is chosen.
  [[nodiscard]] ProposedFolder offeredManifestRoot() const;
  [[nodiscard]] ManifestJobListModel* manifestJobs() { return &jobs_; }
  [[nodiscard]] QStringList manifestWarnings() const { return list_.warnings; }
  /// After `verified`.
  [[nodiscard]] VerifiedList verifiedList() const;
  /// What else is to be said of the folder that was verified, behind the details of the verdict. Until `forgotten`.
  void setFolderSentence(const QString& sentence);
  /// Why it is not to be verified now, nor another list or folder chosen; empty when nothing speaks against that.
  void setFolderRefusal(const QString& refusal);
  /// Who knows, for a report, of the files that the list does not name.
  void setUnlistedReport(std::function<VerificationReport::Unlisted()> report) { unlistedReport_ = std::move(report); }
  /// Who gives what brings back what is known of the folder besides, and ends what is under way about it.
  void setFolderKeeper(std::function<std::function<void()>()> keeper) { folderKeeper_ = std::move(keeper); }
  [[nodiscard]] qint64 manifestIgnoredLineCount() const { return list_.ignoredLineCount; }
  [[nodiscard]] int manifestUnsupportedLineCount() const { return static_cast<int>(list_.unsupportedLineCount); }
  [[nodiscard]] QString manifestUnsupportedFigure() const;
  /// The warnings are shown in the place of the entries.
  [[nodiscard]] bool showsWarnings() const { return showsWarnings_; }
  void setShowsWarnings(bool showsWarnings);
  /// Why there are no rows, or no warnings, where they would be shown.
  [[nodiscard]] QString manifestEmptySentence() const;
  [[nodiscard]] QString copyManifestRefusal() const;
  /// What the lines of the list came to: "3 entries · 2 ambiguous · 1 unsupported", and what else its card must say;
  /// empty while there is no list.
  [[nodiscard]] QString manifestLines() const;
  /// How many lines are behind the warnings, which are about the first of them only.
  [[nodiscard]] QString manifestWarningsSummary() const;
  /// The algorithms that the list may be of, where it leaves that open: display names; empty for other lists.
  [[nodiscard]] QStringList manifestAlgorithms() const;
  /// There are lines that wait for such a choice.
  [[nodiscard]] bool isAmbiguousManifest() const { return list_.reading.ambiguousLineCount > 0; }
  /// The one of `manifestAlgorithms` that was chosen, or is only proposed; empty when there is none.
  [[nodiscard]] QString manifestAlgorithm() const;
  [[nodiscard]] QString proposedManifestAlgorithm() const;
  /// Every name in double quotes is missing: they may not be part of the names.
  [[nodiscard]] bool offersReadingWithoutQuotes() const;
  /// What `verifyManifestRest` is offered as; empty while it is not.
  [[nodiscard]] QString manifestRestVerb() const;
  /// Of the files that the list names, 0 to 1. A file that is named several times counts once.
  [[nodiscard]] double manifestProgress() const;
  /// "12 of 1,204 files"; empty while there is none.
  [[nodiscard]] QString manifestProgressFigure() const;
  [[nodiscard]] bool isLoadingManifest() const { return isLoading_; }
  [[nodiscard]] bool isManifestVerifying() const { return isVerifying_; }
  [[nodiscard]] int manifestMatchedCount() const { return jobs_.count(ManifestJobListModel::Matches); }
  [[nodiscard]] int manifestMismatchCount() const { return jobs_.count(ManifestJobListModel::Mismatches); }
  [[nodiscard]] int manifestErrorCount() const { return jobs_.count(ManifestJobListModel::Failures); }
  [[nodiscard]] ManifestVerdict manifestVerdict() const;
  [[nodiscard]] QString manifestRefusal() const;
  [[nodiscard]] QString manifestFileRefusal() const;
  [[nodiscard]] QString manifestRootRefusal() const;
  [[nodiscard]] QString clearManifestRefusal() const;
  /// That everything was cleared, as long as that can be undone; empty otherwise.
  [[nodiscard]] QString clearedSentence() const;

  /// Reads the first of `urls` as the checksum list. Ignored while `manifestFileRefusal` says why.
  Q_INVOKABLE void setManifestFile(const QList<QUrl>& urls);
  Q_INVOKABLE void chooseManifestFile();
  /// Reads the list at `list`; what it leaves open is `algorithm`, when there is one. Ignored while a list is
  /// read, and during a verification. `isJustSaved`: it was made here, and where it is saved is told once it is read.
  void openManifest(const std::filesystem::path& list, std::optional<HashAlgorithm> algorithm,
                    bool isJustSaved = false);
  /// Reads the list again, now that the user has said which algorithm it is of: the display name of one of those that
  /// it may be of.
  Q_INVOKABLE void readManifestAs(const QString& algorithm);
  /// Reads it again, with quotes around names not part of them.
  Q_INVOKABLE void readManifestWithoutQuotes();
  /// Ends a verification; what it found out about another folder is forgotten.
  Q_INVOKABLE void setManifestRoot(const QList<QUrl>& urls);
  Q_INVOKABLE void chooseManifestRoot();
  Q_INVOKABLE void useProposedManifestRoot();
  /// What was dropped: of `urls`, the first folder is the root, and the first file the list.
  Q_INVOKABLE void dropManifest(const QList<QUrl>& urls);
  Q_INVOKABLE void verifyManifest();
  /// Verifies what a run left, because the folder changed or it did not come to its end, and keeps what it found of
  /// those files that are the same still. Ignored while that is not offered.
  Q_INVOKABLE void verifyManifestRest();
  /// Verifies, or asks for what that needs first: the list, else the root folder.
  Q_INVOKABLE void verifyManifestOrChoose();
  Q_INVOKABLE void cancelManifestVerification();
  /// Cancels whatever is under way: the verification, or the reading of the list, of which nothing is left then.
  Q_INVOKABLE void cancelManifest();
  /// Takes everything away, and keeps it until something else is chosen.
  Q_INVOKABLE void clearManifest();
  /// Puts back what `clearManifest` took, and shows all rows; nothing where that is not kept any more.
  Q_INVOKABLE void undoClear();
  Q_INVOKABLE void dismissCleared();
  /// On the clipboard: one of the rows shown, those that are marked, or all that is shown, rows as soon as a worker has
  /// written them out.
  void copyManifestRow(int row);
  void copyMarked();
  void copyManifestShown();

 signals:
  void manifestURLsChanged();
  void manifestLinesChanged();
  void manifestShownChanged();
  void manifestProgressChanged();
  void manifestStatusChanged();
  void clearedSentenceChanged();
  void isLoadingManifestChanged();
  void isManifestVerifyingChanged();
  /// A verification came to its end; and what it found is not shown any more.
  void verified();
  void forgotten();

 private:
  struct PreparedManifestLoad;

  /// Of the last run, as it is now.
  [[nodiscard]] std::shared_ptr<const VerificationReport> report() const;
  [[nodiscard]] QString exportRefusal() const;
  /// Where the files may be, when all are missing; else that of the names in the list, or the one it lies in: unless
  /// the root is that already, or is known to hold a file of the list. Only a proposal: the root is what the user
  /// chose.
  [[nodiscard]] std::optional<std::filesystem::path> proposedManifestRoot() const;
  /// Of what was dropped beside the list.
  [[nodiscard]] QString unreadSentence() const;
  void readManifest();
  void publishManifest(PreparedManifestLoad load);
  void discardManifest();
  void resetManifestCounters();
  void verify(ManifestRun::Kept kept);
  void endVerification(const std::exception_ptr& failure);
  [[nodiscard]] bool isEveryFileMissing() const;
  void lookForRoot();
  void applyReport(ManifestRun::Report report);
  void askSizes(const std::shared_ptr<const ManifestRun>& run, const ManifestRun::Prepared& prepared);
  void copyManifestJobs(std::vector<ManifestJob> jobs);
  void setStage(ManifestTally::Stage stage);
  void setProgress(std::size_t groupsDone, std::size_t groups);
  void setLoading(bool isLoading);
  void setVerifying(bool isVerifying);

  ManifestChoice choice_;
  ShownFileSize size_{context().mailbox(), [this] { emit manifestURLsChanged(); }};
  std::optional<std::filesystem::path> rootURL_;
  ManifestList list_;
  ManifestJobListModel jobs_;
  ManifestRunState run_;
  std::optional<ClearedManifest> cleared_;
  bool isJustSaved_ = false;  // The list, which was made here.
  bool showsWarnings_ = false;
  QString folderSentence_;
  QString folderRefusal_;
  std::function<VerificationReport::Unlisted()> unlistedReport_ = [] { return VerificationReport::Unlisted(); };
  std::function<std::function<void()>()> folderKeeper_ = [] { return [] {}; };
  bool isLoading_ = false;
  bool isVerifying_ = false;
  FlowTask<ManifestFlow> loadTask_{*this, context().mailbox()};
  RunStatus runStatus_;
  FlowTask<ManifestFlow> verifyTask_{*this, context().mailbox()};
  FlowTask<ManifestFlow> rootTask_{*this, context().mailbox()};
  FlowTask<ManifestFlow> sizesTask_{*this, context().mailbox()};
  ManifestExport export_{context(), [this] { return report(); }};
};

}  // namespace tallyfold
