#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantList>

#include "app/AppMode.h"
#include "app/BackgroundTask.h"
#include "app/Desktop.h"
#include "app/FileJob.h"
#include "app/FileJobListModel.h"
#include "app/WeakAppViewModelReference.h"
#include "core/HashAlgorithm.h"
#include "core/HashService.h"
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
  Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)
  Q_PROPERTY(double overallProgress READ overallProgress NOTIFY overallProgressChanged)
  Q_PROPERTY(QString errorMessage READ errorMessage WRITE setErrorMessage NOTIFY errorMessageChanged)
  Q_PROPERTY(Outcome unseenOutcome READ unseenOutcome NOTIFY unseenOutcomeChanged)
  Q_PROPERTY(bool isExporting READ isExporting NOTIFY isExportingChanged)
  // Why an operation would be refused now, as a sentence for a tooltip; empty when it would not.
  Q_PROPERTY(QString startRefusal READ startRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString exportRefusal READ exportRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString queueRefusal READ queueRefusal NOTIFY refusalsChanged)
  Q_PROPERTY(QString clearRefusal READ clearRefusal NOTIFY refusalsChanged)

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
  /// Empty when there is none.
  [[nodiscard]] QString errorMessage() const { return errorMessage_; }
  void setErrorMessage(const QString& message);
  /// How the last run ended, while the user looked at another mode and has not come back since.
  [[nodiscard]] Outcome unseenOutcome() const { return unseenOutcome_; }
  [[nodiscard]] bool isExporting() const { return isExporting_; }

  [[nodiscard]] QString startRefusal() const;
  [[nodiscard]] QString exportRefusal() const;
  [[nodiscard]] QString queueRefusal() const;
  [[nodiscard]] QString clearRefusal() const;

  /// Appends a job for every new regular location among `urls`; folders, duplicates and what is not a file are skipped.
  Q_INVOKABLE void addFiles(const QList<QUrl>& urls);
  /// `addFiles`, and a run when the queue grew.
  Q_INVOKABLE void addDroppedFiles(const QList<QUrl>& urls);
  Q_INVOKABLE void chooseFiles();
  Q_INVOKABLE void startProcessing();
  Q_INVOKABLE void cancelProcessing();
  Q_INVOKABLE void removeJob(const tallyfold::Uuid& id);
  Q_INVOKABLE void clearFiles();

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

  /// Stops every background flow. Their threads end on their own, within one chunk of what they read.
  Q_INVOKABLE void shutdown();

 signals:
  void modeChanged();
  void selectedAlgorithmsChanged();
  void resultsChanged();
  void isProcessingChanged();
  void overallProgressChanged();
  void errorMessageChanged();
  void unseenOutcomeChanged();
  void isExportingChanged();
  void refusalsChanged();

 private:
  struct FileRun;

  [[nodiscard]] const FileJob* job(const Uuid& id) const;
  void rebuildJobIndex();
  void discardResults();
  void applyReports(FileRun& run);
  void setUnseenOutcome(Outcome outcome);
  void setProcessing(bool isProcessing);
  void setProgress(std::size_t processed, std::size_t total);
  void setExporting(bool isExporting);
  void showQueueLimit();

  Desktop& desktop_;

  AppMode::Case mode_ = AppMode::Files;
  HashAlgorithmSet selectedAlgorithms_ = HashAlgorithm::recommended;
  FileHashResults results_;
  bool isProcessing_ = false;
  double overallProgress_ = 0;
  int processedCount_ = 0;
  QString errorMessage_;
  Outcome unseenOutcome_ = NoOutcome;
  bool isExporting_ = false;

  ResultByJobID resultByJobID_;
  FileJobListModel jobs_{resultByJobID_};
  std::unordered_map<Uuid, std::size_t> jobIndexByID_;
  std::unordered_set<std::string_view> jobURLSet_;  // Views of the paths that the jobs share.

  std::shared_ptr<WeakAppViewModelReference> self_ = std::make_shared<WeakAppViewModelReference>(*this);
  BackgroundTask processingTask_{self_};
  BackgroundTask exportTask_{self_};
};

}  // namespace tallyfold
