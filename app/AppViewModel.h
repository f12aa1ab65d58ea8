#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>

#include "app/AppMode.h"
#include "app/FlowStates.h"
#include "app/files/FileJob.h"
#include "app/files/FileJobListModel.h"
#include "app/files/PreparedFiles.h"
#include "app/manifest/ManifestJobListModel.h"
#include "app/manifest/ManifestVerdict.h"
#include "app/shared/Desktop.h"
#include "app/shared/FileCard.h"
#include "app/tasks/BackgroundTask.h"
#include "app/tasks/WeakAppViewModelReference.h"
#include "app/verify/VerificationResult.h"
#include "core/digests/HashAlgorithm.h"
#include "core/services/FileComparison.h"
#include "core/services/HashService.h"
#include "export/ManifestService.h"

namespace tallyfold {

/// The one state object behind the window. It lives on the interface thread: everything here is read, called and
/// announced there. Operations that cannot run now are refused silently; the `...Refusal` properties say beforehand why
/// one would be.
class AppViewModel : public QObject {
  Q_OBJECT
  Q_PROPERTY(QVariantList modes READ modes CONSTANT)
  Q_PROPERTY(QStringList algorithms READ algorithmNames CONSTANT)
  Q_PROPERTY(tallyfold::AppMode::Case mode READ mode WRITE setMode NOTIFY modeChanged)
  Q_PROPERTY(QStringList selectedAlgorithms READ selectedAlgorithmNames NOTIFY selectedAlgorithmsChanged)
  Q_PROPERTY(tallyfold::FileJobListModel* jobs READ jobs CONSTANT)
  Q_PROPERTY(int processedCount READ processedCount NOTIFY overallProgressChanged)
  Q_PROPERTY(int runFileCount READ runFileCount NOTIFY overallProgressChanged)
  Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)
  Q_PROPERTY(double overallProgress READ overallProgress NOTIFY overallProgressChanged)
  Q_PROPERTY(QString errorMessage READ errorMessage WRITE setErrorMessage NOTIFY errorMessageChanged)
  Q_PROPERTY(QVariantList unseenOutcomes READ unseenOutcomes NOTIFY unseenOutcomesChanged)
  Q_PROPERTY(QVariantList busyModes READ busyModes NOTIFY busyModesChanged)
  Q_PROPERTY(int clearings READ clearings NOTIFY clearingsChanged)
  Q_PROPERTY(bool isExporting READ isExporting NOTIFY isExportingChanged)
  Q_PROPERTY(QString textInput READ textInput WRITE setTextInput NOTIFY textInputChanged)
  Q_PROPERTY(QString textSize READ textSize NOTIFY textInputChanged)
  Q_PROPERTY(QVariantMap textHashes READ textHashesByName NOTIFY textHashesChanged)
  Q_PROPERTY(QString textError READ textError NOTIFY textHashesChanged)
  Q_PROPERTY(QVariantMap verifyFile READ verifyFile NOTIFY verifyURLChanged)
  Q_PROPERTY(QString expectedHash READ expectedHash WRITE setExpectedHash NOTIFY expectedHashChanged)
  Q_PROPERTY(QString expectedHashHint READ expectedHashHint CONSTANT)
  Q_PROPERTY(QStringList verifyAlgorithms READ verifyAlgorithms CONSTANT)
  Q_PROPERTY(QString verifyAlgorithm READ verifyAlgorithm WRITE setVerifyAlgorithm NOTIFY verifyAlgorithmChanged)
  Q_PROPERTY(QString recognisedAlgorithm READ recognisedAlgorithm NOTIFY recognisedAlgorithmChanged)
  Q_PROPERTY(QVariantMap verifyResult READ verifyResultForScreen NOTIFY verifyResultChanged)
  Q_PROPERTY(double verifyProgress READ verifyProgress NOTIFY verifyProgressChanged)
  Q_PROPERTY(bool isVerifying READ isVerifying NOTIFY isVerifyingChanged)
  Q_PROPERTY(QVariantMap compareFirstFile READ compareFirstFile NOTIFY compareURLsChanged)
  Q_PROPERTY(QVariantMap compareSecondFile READ compareSecondFile NOTIFY compareURLsChanged)
  Q_PROPERTY(QVariantMap compareResult READ compareResultForScreen NOTIFY compareResultChanged)
  Q_PROPERTY(double compareProgress READ compareProgress NOTIFY compareProgressChanged)
  Q_PROPERTY(bool isComparing READ isComparing NOTIFY isComparingChanged)
  Q_PROPERTY(QVariantMap manifestFile READ manifestFile NOTIFY manifestURLsChanged)
  Q_PROPERTY(QVariantMap manifestRoot READ manifestRoot NOTIFY manifestURLsChanged)
  Q_PROPERTY(QVariantMap proposedManifestRoot READ proposedManifestRootForScreen NOTIFY manifestURLsChanged)
  Q_PROPERTY(tallyfold::ManifestJobListModel* manifestJobs READ manifestJobs CONSTANT)
  Q_PROPERTY(QStringList manifestWarnings READ manifestWarnings NOTIFY manifestLinesChanged)
  Q_PROPERTY(qint64 manifestUnsupportedLineCount READ manifestUnsupportedLineCount NOTIFY manifestLinesChanged)
  Q_PROPERTY(QString manifestLines READ manifestLines NOTIFY manifestLinesChanged)
  Q_PROPERTY(QString manifestWarningsSummary READ manifestWarningsSummary NOTIFY manifestLinesChanged)
  Q_PROPERTY(double manifestProgress READ manifestProgress NOTIFY manifestProgressChanged)
  Q_PROPERTY(QString manifestProgressFigure READ manifestProgressFigure NOTIFY manifestProgressChanged)
  Q_PROPERTY(bool isLoadingManifest READ isLoadingManifest NOTIFY isLoadingManifestChanged)
  Q_PROPERTY(bool isManifestVerifying READ isManifestVerifying NOTIFY isManifestVerifyingChanged)
  Q_PROPERTY(QVariantMap manifestVerdict READ manifestVerdictForScreen NOTIFY manifestStatusChanged)
  // Why an operation would be refused now, as a sentence for a tooltip; empty when it would not.
  Q_PROPERTY(QString verifyRefusal READ verifyRefusal NOTIFY verifyURLChanged)
  Q_PROPERTY(QString compareRefusal READ compareRefusal NOTIFY compareURLsChanged)
  Q_PROPERTY(QString manifestRefusal READ manifestRefusal NOTIFY manifestStatusChanged)
  Q_PROPERTY(QString startRefusal READ startRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString exportRefusal READ exportRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString queueRefusal READ queueRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString clearRefusal READ clearRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString interruption READ interruption NOTIFY refusalsChanged)

 public:
  enum Preset { Recommended, Compatibility, AllAlgorithms };
  Q_ENUM(Preset)
  enum ReportFormat { Text, Csv, Json };
  Q_ENUM(ReportFormat)

  enum Outcome { NoOutcome, AllWell, SomeFailed };
  Q_ENUM(Outcome)

  static constexpr std::size_t queueLimit = 100'000;

  /// `desktop` must outlive the model.
  explicit AppViewModel(Desktop& desktop, QObject* parent = nullptr);
  ~AppViewModel() override;

  /// Every mode as { mode, label, icon }, in the order of the sidebar.
  [[nodiscard]] static QVariantList modes();
  /// Display names of all algorithms, in catalogue order.
  [[nodiscard]] static QStringList algorithmNames();

  [[nodiscard]] AppMode::Case mode() const { return mode_; }
  void setMode(AppMode::Case mode);

  [[nodiscard]] HashAlgorithmSet selectedAlgorithms() const { return selectedAlgorithms_; }
  [[nodiscard]] QStringList selectedAlgorithmNames() const;
  /// Ignored during a run, whose selection must not change under it.
  void setSelectedAlgorithms(HashAlgorithmSet algorithms);
  Q_INVOKABLE void setAlgorithmSelected(const QString& name, bool isSelected);
  Q_INVOKABLE void choosePreset(tallyfold::AppViewModel::Preset preset);

  [[nodiscard]] FileJobListModel* jobs() { return &jobs_; }
  /// One entry per successfully hashed file of the current run, in the order in which they finished.
  [[nodiscard]] const FileHashResults& results() const { return results_; }
  [[nodiscard]] bool isProcessing() const { return isProcessing_; }
  /// Fraction of the run's files that are finished, 0 to 1.
  [[nodiscard]] double overallProgress() const { return overallProgress_; }
  /// The files that are finished in the current run.
  [[nodiscard]] int processedCount() const { return processedCount_; }
  /// The files of the current or last run, whatever was added or removed since; 0 when there was none.
  [[nodiscard]] int runFileCount() const { return runFileCount_; }
  /// Empty when there is none.
  [[nodiscard]] QString errorMessage() const { return errorMessage_; }
  void setErrorMessage(const QString& message);
  /// For each mode: how its last work ended, while the user looked at another mode and has not come back since.
  [[nodiscard]] QVariantList unseenOutcomes() const;
  [[nodiscard]] Outcome unseenOutcome(AppMode::Case mode) const { return unseenOutcomes_.at(mode); }
  /// For each mode: whether its work is under way.
  [[nodiscard]] QVariantList busyModes() const;
  [[nodiscard]] bool isExporting() const { return isExporting_; }

  [[nodiscard]] QString startRefusal() const;
  [[nodiscard]] QString exportRefusal() const;
  [[nodiscard]] QString queueRefusal() const;
  [[nodiscard]] QString clearRefusal() const;
  /// Why the last run or export ended before its work came back, in a few words; empty when it did not.
  [[nodiscard]] QString interruption() const { return interruption_; }

  /// Appends a job for every new regular location among `urls`; folders, duplicates and what is not a file are skipped.
  Q_INVOKABLE void addFiles(const QList<QUrl>& urls);
  /// `addFiles`, and a run when the queue grew.
  Q_INVOKABLE void addDroppedFiles(const QList<QUrl>& urls);
  /// The same a moment later, without stopping the event loop for however many there are.
  Q_INVOKABLE void receiveDroppedFiles(const QList<QUrl>& urls) { receiveFiles(urls, true); }
  Q_INVOKABLE void chooseFiles();
  Q_INVOKABLE void startProcessing();
  Q_INVOKABLE void cancelProcessing();
  Q_INVOKABLE void removeJob(const tallyfold::Uuid& id);
  Q_INVOKABLE void clearFiles();
  /// How often the list was cleared: what was dropped or chosen before comes too late.
  [[nodiscard]] int clearings() const { return clearings_; }

  /// None when the job is unknown, unfinished or failed.
  [[nodiscard]] std::shared_ptr<const FileHashResult> result(const Uuid& id) const;
  void updateJob(const Uuid& id, FileJob::State state);
  void updateJobProgress(const Uuid& id, double progress);

  /// One file's digests on the clipboard: "SHA-256: 9f86..." and so on, a line each.
  Q_INVOKABLE void copyAllHashes(const tallyfold::Uuid& id);
  Q_INVOKABLE void copyHash(const tallyfold::Uuid& id, const QString& algorithm);
  Q_INVOKABLE void copyPath(const tallyfold::Uuid& id);
  Q_INVOKABLE void reveal(const tallyfold::Uuid& id);

  /// Asks for a destination and writes the results there in the background.
  Q_INVOKABLE void exportResults(tallyfold::AppViewModel::ReportFormat format);
  void exportResults(ManifestService::Format format);
  Q_INVOKABLE void cancelExport();

  [[nodiscard]] QString textInput() const { return text_.input; }
  void setTextInput(const QString& text);
  [[nodiscard]] qint64 textUTF8ByteCount() const { return text_.utf8ByteCount; }
  /// "1,204 bytes (UTF-8)".
  [[nodiscard]] QString textSize() const;
  /// Empty until they are calculated.
  [[nodiscard]] const DigestMap& textHashes() const { return text_.hashes; }
  [[nodiscard]] QVariantMap textHashesByName() const;
  /// Why there are none; empty when nothing failed.
  [[nodiscard]] QString textError() const { return text_.error; }
  Q_INVOKABLE [[nodiscard]] static QString classification(const QString& algorithm);
  /// Of its digest, in hexadecimal digits.
  Q_INVOKABLE [[nodiscard]] static int digestLength(const QString& algorithm);
  /// Hashes the text anew, when it has rested for a moment. Called whenever the text or the selection changes.
  void updateTextHash();
  /// From when the text has rested until its digests are there.
  [[nodiscard]] bool isTextHashing() const { return textTask_.isRunning(); }
  Q_INVOKABLE void copyTextHash(const QString& algorithm);
  /// The text of the clipboard becomes the input.
  Q_INVOKABLE void pasteText();
  /// What a paste brings: of the clipboard, or of what is selected in another program. Asks that program, which can
  /// take long: once for each paste.
  Q_INVOKABLE [[nodiscard]] QString pasteboardText(bool isSelection = false) const;

  [[nodiscard]] const std::optional<std::filesystem::path>& verifyURL() const { return verify_.url; }
  [[nodiscard]] QVariantMap verifyFile() const;
  [[nodiscard]] QString expectedHash() const { return verify_.expectedHash; }
  [[nodiscard]] static QString expectedHashHint();
  void setExpectedHash(const QString& text);
  /// What can be chosen: "Auto", then every algorithm.
  [[nodiscard]] static QStringList verifyAlgorithms();
  /// The chosen algorithm's display name, or "Auto".
  [[nodiscard]] QString verifyAlgorithm() const;
  void setVerifyAlgorithm(const QString& name);
  /// The algorithm that the pasted text would be checked with now; empty when there is none.
  [[nodiscard]] QString recognisedAlgorithm() const;
  [[nodiscard]] const std::optional<VerificationResult>& verifyResult() const { return verify_.result; }
  [[nodiscard]] QVariantMap verifyResultForScreen() const;
  [[nodiscard]] double verifyProgress() const { return verify_.progress; }
  [[nodiscard]] bool isVerifying() const { return verify_.isRunning; }
  [[nodiscard]] QString verifyRefusal() const;
  /// Sets the file to verify to the first of `urls`; ignored during a verification.
  Q_INVOKABLE void setVerifyFile(const QList<QUrl>& urls);
  Q_INVOKABLE void chooseVerifyFile();
  Q_INVOKABLE void pasteExpectedHash();
  Q_INVOKABLE void verify();
  Q_INVOKABLE void resetVerification();

  [[nodiscard]] const std::optional<std::filesystem::path>& compareFirstURL() const { return compare_.firstURL; }
  [[nodiscard]] const std::optional<std::filesystem::path>& compareSecondURL() const { return compare_.secondURL; }
  [[nodiscard]] QVariantMap compareFirstFile() const;
  [[nodiscard]] QVariantMap compareSecondFile() const;
  [[nodiscard]] const std::optional<FileComparisonResult>& compareResult() const { return compare_.result; }
  [[nodiscard]] QVariantMap compareResultForScreen() const;
  [[nodiscard]] double compareProgress() const { return compare_.progress; }
  [[nodiscard]] bool isComparing() const { return compare_.isRunning; }
  [[nodiscard]] QString compareRefusal() const;
  /// Two or more `urls` set both files; one sets the file of the side. Ignored during a comparison.
  Q_INVOKABLE void setCompareFiles(const QList<QUrl>& urls, bool isSecondSide);
  Q_INVOKABLE void chooseCompareFile(bool isSecondSide);
  Q_INVOKABLE void swapCompareFiles();
  Q_INVOKABLE void compare();
  Q_INVOKABLE void resetComparison();

  [[nodiscard]] const std::optional<std::filesystem::path>& manifestURL() const { return manifest_.url; }
  [[nodiscard]] const std::optional<std::filesystem::path>& manifestRootURL() const { return manifest_.rootURL; }
  [[nodiscard]] QVariantMap manifestFile() const;
  [[nodiscard]] QVariantMap manifestRoot() const;
  /// The folder that the list lies in, unless it is the root already. Only a proposal: the root is what the user chose.
  [[nodiscard]] std::optional<std::filesystem::path> proposedManifestRoot() const;
  [[nodiscard]] QVariantMap proposedManifestRootForScreen() const;
  [[nodiscard]] ManifestJobListModel* manifestJobs() { return &manifestJobs_; }
  [[nodiscard]] QStringList manifestWarnings() const { return manifest_.warnings; }
  [[nodiscard]] qint64 manifestIgnoredLineCount() const { return manifest_.ignoredLineCount; }
  [[nodiscard]] qint64 manifestUnsupportedLineCount() const { return manifest_.unsupportedLineCount; }
  /// What the lines of the list came to: "3 entries · 2 unsupported"; empty while there is no list.
  [[nodiscard]] QString manifestLines() const;
  /// How many lines are behind the warnings, which are about the first of them only.
  [[nodiscard]] QString manifestWarningsSummary() const;
  /// Of the files that the list names, 0 to 1. A file that is named several times counts once.
  [[nodiscard]] double manifestProgress() const { return manifest_.progress; }
  /// "12 of 1,204 files"; empty while there is none.
  [[nodiscard]] QString manifestProgressFigure() const;
  [[nodiscard]] bool isLoadingManifest() const { return manifest_.isLoading; }
  [[nodiscard]] bool isManifestVerifying() const { return manifest_.isVerifying; }
  [[nodiscard]] int manifestMatchedCount() const { return manifestJobs_.total(ManifestJobListModel::Match); }
  [[nodiscard]] int manifestMismatchCount() const { return manifestJobs_.total(ManifestJobListModel::Mismatch); }
  [[nodiscard]] int manifestErrorCount() const { return manifestJobs_.total(ManifestJobListModel::Failed); }
  [[nodiscard]] ManifestVerdict manifestVerdict() const;
  [[nodiscard]] QVariantMap manifestVerdictForScreen() const;
  [[nodiscard]] QString manifestRefusal() const;
  /// Reads the first of `urls` as the checksum list. Ignored while one is read, and during a verification.
  Q_INVOKABLE void setManifestFile(const QList<QUrl>& urls);
  Q_INVOKABLE void chooseManifestFile();
  /// Ends a verification; what it found out about another folder is forgotten.
  Q_INVOKABLE void setManifestRoot(const QList<QUrl>& urls);
  Q_INVOKABLE void chooseManifestRoot();
  Q_INVOKABLE void useProposedManifestRoot();
  /// What was dropped: of `urls`, the first folder is the root, and the first file the list.
  Q_INVOKABLE void dropManifest(const QList<QUrl>& urls);
  Q_INVOKABLE void verifyManifest();
  Q_INVOKABLE void cancelManifestVerification();
  /// Cancels whatever is under way: the verification, or the reading of the list, of which nothing is left then.
  Q_INVOKABLE void cancelManifest();
  Q_INVOKABLE void clearManifest();
  /// On the clipboard: one of the rows shown, or all of them, as soon as a worker has written them out.
  Q_INVOKABLE void copyManifestRow(int row);
  Q_INVOKABLE void copyManifestRows();
  Q_INVOKABLE void copyManifestWarnings();

  /// Stops every background flow. Their threads end on their own, within one chunk of what they read.
  Q_INVOKABLE void shutdown();

 signals:
  void modeChanged();
  void selectedAlgorithmsChanged();
  void resultsChanged();
  void isProcessingChanged();
  void overallProgressChanged();
  void errorMessageChanged();
  void unseenOutcomesChanged();
  void busyModesChanged();
  void textInputChanged();
  void textHashesChanged();
  void verifyURLChanged();
  void expectedHashChanged();
  void verifyAlgorithmChanged();
  void recognisedAlgorithmChanged();
  void verifyResultChanged();
  void verifyProgressChanged();
  void isVerifyingChanged();
  void compareURLsChanged();
  void compareResultChanged();
  void compareProgressChanged();
  void isComparingChanged();
  void manifestURLsChanged();
  void manifestLinesChanged();
  void manifestProgressChanged();
  void manifestStatusChanged();
  void isLoadingManifestChanged();
  void isManifestVerifyingChanged();
  void isExportingChanged();
  void clearingsChanged();
  void refusalsChanged();

 private:
  struct FileRun;
  struct ManifestRun;
  struct PreparedManifestLoad;

  void addPreparedFiles(PreparedFiles files, bool isDrop);
  void receiveFiles(const QList<QUrl>& urls, bool isDrop);
  void receiveNext();
  void discardResults();
  void applyReports(FileRun& run);
  void setUnseenOutcome(AppMode::Case mode, Outcome outcome);
  void setProcessing(bool isProcessing);
  void setProgress(std::size_t processed, std::size_t total);
  void setExporting(bool isExporting);
  void startTextHash();
  void setVerifyResult(std::optional<VerificationResult> result);
  void setVerifyProgress(double progress);
  void setVerifying(bool isVerifying);
  void setCompareResult(std::optional<FileComparisonResult> result);
  void setCompareProgress(double progress);
  void setComparing(bool isComparing);
  void showQueueLimit();
  void setPasteboard(const QByteArray& text);
  void publishManifest(PreparedManifestLoad load);
  void discardManifest();
  void resetManifestCounters();
  void applyReports(ManifestRun& run);
  void copyManifestJobs(std::vector<ManifestJob> jobs);
  void setManifestRun(ManifestTally::Run run);
  void setManifestProgress(std::size_t groups, std::size_t total);
  void setLoadingManifest(bool isLoading);
  void setManifestVerifying(bool isVerifying);

  Desktop& desktop_;
  AppMode::Case mode_ = AppMode::Files;
  HashAlgorithmSet selectedAlgorithms_ = HashAlgorithm::recommended;
  FileHashResults results_;
  bool isProcessing_ = false;
  double overallProgress_ = 0;
  int processedCount_ = 0;
  int runFileCount_ = 0;
  QString errorMessage_;
  std::array<Outcome, AppMode::allCases().size()> unseenOutcomes_{};
  bool isExporting_ = false;
  QString interruption_;
  TextState text_;
  QTimer textRest_{this};
  VerifyState verify_;
  CompareState compare_;
  ManifestState manifest_;
  ManifestJobListModel manifestJobs_;
  ResultByJobID resultByJobID_;
  FileJobListModel jobs_{resultByJobID_};
  QList<std::pair<QList<QUrl>, bool>> received_;  // Not prepared yet; whether they were dropped.
  int clearings_ = 0;

  std::shared_ptr<WeakAppViewModelReference> self_ = std::make_shared<WeakAppViewModelReference>(*this);
  BackgroundTask receivingTask_{self_};
  BackgroundTask processingTask_{self_};
  BackgroundTask textTask_{self_};
  BackgroundTask verifyTask_{self_};
  BackgroundTask compareTask_{self_};
  BackgroundTask manifestLoadTask_{self_};
  BackgroundTask manifestTask_{self_};
  BackgroundTask exportTask_{self_};
  BackgroundTask copyTask_{self_};
  ShownFileSize verifySize_{self_, &AppViewModel::verifyURLChanged};
  ShownFileSize compareFirstSize_{self_, &AppViewModel::compareURLsChanged};
  ShownFileSize compareSecondSize_{self_, &AppViewModel::compareURLsChanged};
  ShownFileSize manifestSize_{self_, &AppViewModel::manifestURLsChanged};
};

}  // namespace tallyfold
