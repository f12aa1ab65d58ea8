#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <stop_token>
#include <vector>

#include <QAbstractListModel>
#include <QByteArray>

#include "app/manifest/ManifestJob.h"

namespace tallyfold {

/// How many entries of a list each filter lets through.
struct ManifestCounts {
  Q_GADGET
  Q_PROPERTY(int all MEMBER all CONSTANT)
  Q_PROPERTY(int mismatches MEMBER mismatches CONSTANT)
  Q_PROPERTY(int failures MEMBER failures CONSTANT)
  Q_PROPERTY(int waiting MEMBER waiting CONSTANT)
  Q_PROPERTY(int matches MEMBER matches CONSTANT)

 public:
  int all = 0;
  int mismatches = 0;
  int failures = 0;
  int waiting = 0;
  int matches = 0;
};

/// The entries of a checksum list for a view, in the order of the list: all of them, or those in one state. On the
/// interface thread.
class ManifestJobListModel : public QAbstractListModel {
  Q_OBJECT
  /// Rows that the filter lets through.
  Q_PROPERTY(int count READ count NOTIFY countChanged)
  /// The largest line number of all rows, whatever the filter.
  Q_PROPERTY(int lastLineNumber READ lastLineNumber NOTIFY countsChanged)
  Q_PROPERTY(tallyfold::ManifestJobListModel::Filter filter READ filter WRITE setFilter NOTIFY filterChanged)
  Q_PROPERTY(tallyfold::ManifestCounts counts READ counts NOTIFY countsChanged)

 public:
  enum Role {
    LineNumberRole = Qt::UserRole,  ///< In the list, from 1.
    PathRole,                       ///< As the list gives it, safe to show on one line.
    AlgorithmRole,                  ///< Display name.
    StateRole,                      ///< State below.
    StatusRole,                     ///< The state in words.
    ToneRole,                       ///< Tone of the state.
    ExpectedRole,                   ///< Digest.
    ActualRole,                     ///< Digest of a mismatch; empty otherwise.
    DifferenceRole,                 ///< Where expected and actual part, in digits; -1 when there is no mismatch.
  };
  enum State { Queued, Verifying, Match, Mismatch, Failed };
  Q_ENUM(State)
  enum Filter { All, Mismatches, Failures, Waiting, Matches };
  Q_ENUM(Filter)

  /// Announces what was changed while it lives at once, when it dies.
  class Batch {
   public:
    explicit Batch(ManifestJobListModel& model) : model_(model) { ++model_.openBatches_; }
    ~Batch() {
      if (--model_.openBatches_ == 0) model_.announceChanges();
    }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

   private:
    ManifestJobListModel& model_;
  };

  using QAbstractListModel::QAbstractListModel;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  [[nodiscard]] int count() const { return filter_ == All ? total() : static_cast<int>(shown_.size()); }
  /// All rows, whatever the filter.
  [[nodiscard]] const std::vector<ManifestJob>& jobs() const { return jobs_; }
  [[nodiscard]] int total() const { return static_cast<int>(jobs_.size()); }
  [[nodiscard]] int total(State state) const;
  [[nodiscard]] int lastLineNumber() const {
    return jobs_.empty() ? 0 : static_cast<int>(jobs_.back().entry->lineNumber);
  }
  [[nodiscard]] Filter filter() const { return filter_; }
  void setFilter(Filter filter);
  [[nodiscard]] int count(Filter filter) const;
  [[nodiscard]] ManifestCounts counts() const;

  /// The index in `jobs()` of a row that is shown, and the row that shows a job, or else the next one.
  Q_INVOKABLE [[nodiscard]] int jobOfRow(int row) const;
  Q_INVOKABLE [[nodiscard]] int rowOfJob(int job) const;

  /// The jobs of so many shown rows, or of those that there are, as they are now.
  [[nodiscard]] std::vector<ManifestJob> shownJobs(int first, int most) const;
  /// A line of text for each: line number, algorithm, path, status and, of a mismatch, the expected digest, with tabs
  /// between them. A path can become eight times as long. On any thread; throws CancellationError.
  static QByteArray text(const std::vector<ManifestJob>& jobs, const std::stop_token& cancellation = {});

  /// Replaces all rows in one change, shows all of them, and returns those that were there.
  std::vector<ManifestJob> replaceAll(std::vector<ManifestJob> jobs);
  /// `job` is an index of `jobs()`, not of the rows shown.
  void setState(std::size_t job, ManifestJob::State state);
  void requeueAll();

 signals:
  void countChanged();
  void countsChanged();
  void filterChanged();
  /// Before and after the model is reset although the list and the filter are the same: a view keeps its place.
  void aboutToShowAnew();
  void shownAnew();

 private:
  [[nodiscard]] const ManifestJob& jobAt(int row) const;
  [[nodiscard]] bool isShown(const ManifestJob& job) const;
  void findShown();
  void announceChanges();
  void announceFiltered();
  void showAnew();

  std::vector<ManifestJob> jobs_;
  std::map<State, int> totals_;  // Of each state; those that are not there are 0.
  Filter filter_ = All;
  std::vector<std::uint32_t> shown_;  // Indices of the jobs that pass the filter, ascending. Unused for All.

  int openBatches_ = 0;
  std::vector<std::uint32_t> changed_;  // Indices of jobs, in the order of the changes, perhaps several times.
};

}  // namespace tallyfold
