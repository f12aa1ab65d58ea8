#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include <QList>
#include <QString>
#include <QUrl>

#include "app/files/FileJob.h"
#include "app/files/FileJobListModel.h"
#include "app/files/FileRun.h"
#include "app/files/FilesNotice.h"
#include "app/files/FilesVerdict.h"
#include "app/files/PreparedFiles.h"
#include "app/shared/Flow.h"
#include "app/shared/RunStatus.h"
#include "app/shared/Saver.h"
#include "export/reports/ManifestService.h"

namespace tallyfold {

/// Files mode: the queue of files, the run that hashes them, and the report of what came of it.
class FilesFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(tallyfold::FileJobListModel* jobs READ jobs CONSTANT)
  Q_PROPERTY(QString emptySentence READ emptySentence NOTIFY emptySentenceChanged)
  Q_PROPERTY(tallyfold::RunStatus* runStatus READ runStatus CONSTANT)
  Q_PROPERTY(tallyfold::FilesVerdict verdict READ verdict NOTIFY runFigureChanged)
  Q_PROPERTY(QString runFigure READ runFigure NOTIFY runFigureChanged)
  Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)
  Q_PROPERTY(double overallProgress READ overallProgress NOTIFY overallProgressChanged)
  Q_PROPERTY(int clearings READ clearings NOTIFY clearingsChanged)
  Q_PROPERTY(bool isExporting READ isExporting NOTIFY isExportingChanged)
  Q_PROPERTY(QString startRefusal READ startRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString exportRefusal READ exportRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString queueRefusal READ queueRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString clearRefusal READ clearRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(tallyfold::FilesNotice notice READ notice NOTIFY noticeChanged)

 public:
  enum ReportFormat { Text, Csv, Json };
  Q_ENUM(ReportFormat)

  static constexpr std::size_t queueLimit = 100'000;

  explicit FilesFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isProcessing_ || isExporting(); }
  void shutdown() override;

  [[nodiscard]] QString outcomeSentence() const override { return verdict().title; }

  [[nodiscard]] RunStatus* runStatus() { return &runStatus_; }
  [[nodiscard]] FilesVerdict verdict() const;
  [[nodiscard]] FileJobListModel* jobs() { return &jobs_; }
  /// Why there are no rows where they would be shown.
  [[nodiscard]] QString emptySentence() const;
  /// One entry per successfully hashed file of the current run, in the order in which they finished.
  [[nodiscard]] const FileHashResults& results() const { return results_; }
  [[nodiscard]] bool isProcessing() const { return isProcessing_; }
  /// Fraction of the run's files that are finished, 0 to 1.
  [[nodiscard]] double overallProgress() const { return overallProgress_; }
  /// The files that are finished in the current run.
  [[nodiscard]] int processedCount() const { return processedCount_; }
  /// "3 of 1,204": of the files in the list, those that are finished in the current or last run.
  [[nodiscard]] QString runFigure() const;
  [[nodiscard]] bool isExporting() const { return saver_.isSaving(); }
  /// How often the list was cleared: what was dropped or chosen before comes too late.
  [[nodiscard]] int clearings() const { return clearings_; }
  [[nodiscard]] QString startRefusal() const;
  [[nodiscard]] QString exportRefusal() const;
  [[nodiscard]] QString queueRefusal() const;
  [[nodiscard]] QString clearRefusal() const;
  /// Why the last run ended before its work came back, in a few words; empty when it did not.
  [[nodiscard]] QString interruption() const;

  /// Appends a job for every new regular location among `urls`; folders, duplicates and what is not a file are skipped.
  Q_INVOKABLE void addFiles(const QList<QUrl>& urls);
  /// `addFiles`, and a run when the queue grew.
  Q_INVOKABLE void addDroppedFiles(const QList<QUrl>& urls);
  /// `addDroppedFiles`, a moment later and without stopping the event loop for however many there are.
  Q_INVOKABLE void receiveDroppedFiles(const QList<QUrl>& urls) { receiveFiles(urls, true); }
  Q_INVOKABLE void chooseFiles();
  Q_INVOKABLE void startProcessing();
  Q_INVOKABLE void cancelProcessing();
  Q_INVOKABLE void removeJob(const tallyfold::Uuid& id);
  void removeMarked();
  /// The marked files, or else this one.
  Q_INVOKABLE void removeSelected(const tallyfold::Uuid& id);
  /// Keeps what was in the list until the next change of it.
  Q_INVOKABLE void clearFiles();
  /// Puts back what `clearFiles` took, with its results; nothing where that is not kept any more.
  Q_INVOKABLE void undoClear();

  /// None when the job is unknown, unfinished or failed.
  [[nodiscard]] std::shared_ptr<const FileHashResult> result(const Uuid& id) const;
  void updateJob(const Uuid& id, FileJob::State state);
  void updateJobProgress(const Uuid& id, double progress);

  /// One file's digests on the clipboard: "SHA-256: 9f86..." and so on, a line each.
  Q_INVOKABLE void copyAllHashes(const tallyfold::Uuid& id);
  /// The marked files' lines of the text report on the clipboard; of a single one, or where none is marked of this one,
  /// as `copyAllHashes`.
  Q_INVOKABLE void copySelected(const tallyfold::Uuid& id);
  Q_INVOKABLE void copyHash(const tallyfold::Uuid& id, const QString& algorithm);
  Q_INVOKABLE void copyPath(const tallyfold::Uuid& id);
  Q_INVOKABLE void reveal(const tallyfold::Uuid& id);

  /// Asks for a destination and writes the results there in the background.
  Q_INVOKABLE void exportResults(tallyfold::FilesFlow::ReportFormat format);
  void exportResults(ManifestService::Format format);
  /// Saves a checksum list of the results, in the form that is usual for its algorithms, with names relative to the
  /// folder that all files have in common.
  Q_INVOKABLE void exportList();
  Q_INVOKABLE void cancelExport() { saver_.cancel(); }

  [[nodiscard]] FilesNotice notice() const { return notice_; }
  /// Shows the report that was saved last in the file browser.
  Q_INVOKABLE void showSavedReport() { saver_.showSaved(); }
  /// What the notice is about is done with: a cleared list cannot come back.
  Q_INVOKABLE void dismissNotice();

 signals:
  void resultsChanged();
  void isProcessingChanged();
  void overallProgressChanged();
  void runFigureChanged();
  void isExportingChanged();
  void clearingsChanged();
  void emptySentenceChanged();
  void refusalsChanged();
  void noticeChanged();

 private:
  enum class Stage { none, running, ended, cancelled, interrupted };

  /// What was in the list, and how far its run was.
  struct Cleared {
    FileRows rows;
    FileHashResults results;
    ResultByJobID resultByJobID;
    int processedCount = 0;
    int runFileCount = 0;
    Stage stage = Stage::none;
  };

  void addPreparedFiles(PreparedFiles files, bool isDrop);
  void receiveFiles(const QList<QUrl>& urls, bool isDrop);
  void receiveNext();
  void discardResults();
  void askSizes(const std::shared_ptr<const FileRun>& run);
  void forgetRun();
  void applyReports(const FileRun& run, std::vector<FileRun::Report> reports);
  void setProcessing(bool isProcessing);
  void setProgress(std::size_t processed, std::size_t total);
  void save(const std::filesystem::path& proposal, Saver::Writer write);
  void showQueueLimit();
  void setNotice(FilesNotice notice);
  void keepCleared();
  void reportSaved();

  ResultByJobID resultByJobID_;
  FileJobListModel jobs_{resultByJobID_};
  FileHashResults results_;
  bool isProcessing_ = false;
  double overallProgress_ = 0;
  int processedCount_ = 0;
  int runFileCount_ = 0;
  Stage stage_ = Stage::none;
  RunStatus runStatus_;
  double fraction_ = 0;                           // Of the file under way.
  QList<std::pair<QList<QUrl>, bool>> received_;  // What the receiving task has not taken; whether it was dropped.
  bool isRunWanted_ = false;  // By what was dropped, once all of it is in the list: it cannot come later.
  int clearings_ = 0;
  Cleared cleared_;
  FilesNotice notice_;
  FlowTask<FilesFlow> receivingTask_{*this, context().mailbox()};
  FlowTask<FilesFlow> processingTask_{*this, context().mailbox()};
  FlowTask<FilesFlow> sizesTask_{*this, context().mailbox()};
  Saver saver_{context(), tr("The disk does not answer. Whether the report is saved cannot be told.")};
};

}  // namespace tallyfold
