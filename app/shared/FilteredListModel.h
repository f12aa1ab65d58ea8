#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QTimer>

#include "app/shared/NameSearch.h"
#include "app/shared/Tone.h"

namespace tallyfold {

/// One way to look at a list, and how much there is to see that way, whatever is searched for.
struct ListFilter {
  Q_GADGET
  Q_PROPERTY(QString label MEMBER label CONSTANT)
  Q_PROPERTY(QString figure MEMBER figure CONSTANT)
  Q_PROPERTY(bool isEmpty MEMBER isEmpty CONSTANT)
  Q_PROPERTY(tallyfold::Tone::Case tone MEMBER tone CONSTANT)

 public:
  QString label;
  QString figure;  ///< How many rows, as the user's locale writes it.
  bool isEmpty = true;
  Tone::Case tone = Tone::Pending;
};

/// A list of jobs for a view, in a fixed order: all of them, or those in certain states whose names have a text in
/// them. Jobs are counted from 0 whether they are shown or not; rows are those that are shown. On the interface thread.
class FilteredListModel : public QAbstractListModel {
  Q_OBJECT
  /// Rows that are shown.
  Q_PROPERTY(int count READ count NOTIFY countChanged)
  /// `count` as the user's locale writes it.
  Q_PROPERTY(QString countFigure READ countFigure NOTIFY countChanged)
  /// Jobs, shown or not.
  Q_PROPERTY(int total READ total NOTIFY countsChanged)
  Q_PROPERTY(QList<tallyfold::ListFilter> filters READ filters NOTIFY countsChanged)
  /// Which of `filters`.
  Q_PROPERTY(int filter READ filter WRITE setFilter NOTIFY filterChanged)
  /// What is searched for in the names; empty when nothing is.
  Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
  /// The row that shows the job under way; -1 when none does.
  Q_PROPERTY(int runningRow READ runningRow NOTIFY runningRowChanged)
  /// Rows that are selected together; 0 when none is, and a view's current row stands alone.
  Q_PROPERTY(int markedCount READ markedCount NOTIFY marksChanged)
  /// `markedCount` as the user's locale writes it.
  Q_PROPERTY(QString markedFigure READ markedFigure NOTIFY marksChanged)

 public:
  /// Announces what was changed while it lives at once, when it dies.
  class Batch {
   public:
    explicit Batch(FilteredListModel& model) : model_(model) { ++model_.openBatches_; }
    ~Batch() {
      if (--model_.openBatches_ == 0) model_.announceChanges();
    }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

   private:
    FilteredListModel& model_;
  };

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : count(); }
  [[nodiscard]] int count() const { return isFiltered() ? static_cast<int>(shown_.size()) : total(); }
  [[nodiscard]] QString countFigure() const;
  [[nodiscard]] virtual int total() const = 0;

  [[nodiscard]] QList<ListFilter> filters() const;
  [[nodiscard]] int filter() const { return filter_; }
  void setFilter(int filter);
  /// Jobs that a filter lets through.
  [[nodiscard]] int count(int filter) const;

  /// For what is about to run: gives up the search, and a filter that would hide what fails.
  void showFailures();
  /// For what has run: gives up a filter that lets nothing through.
  void leaveEmptyFilter();

  [[nodiscard]] QString search() const { return nextText_; }
  /// Rows are as they were until all names were looked at: at once where they are few, otherwise in short turns.
  void setSearch(const QString& text);
  [[nodiscard]] bool isSearching() const { return searching_.isActive(); }

  [[nodiscard]] int runningRow() const;

  /// The job of a row that is shown, and the row that shows a job, or else the next one; -1 when there is none.
  Q_INVOKABLE [[nodiscard]] int jobOfRow(int row) const;
  Q_INVOKABLE [[nodiscard]] int rowOfJob(int job) const;
  /// The row of the first job that a filter lets through, with everything shown that hides it; -1 when there is none.
  Q_INVOKABLE int showFirst(int filter);

  [[nodiscard]] int markedCount() const { return markedCount_; }
  [[nodiscard]] QString markedFigure() const;
  /// Selects the rows between two, both included, and no others. A mark stays with its job, as long as that is shown.
  Q_INVOKABLE void markOnly(int first, int last);
  /// Selects a row too, or no more; where no row is selected, `alone` is as well.
  Q_INVOKABLE void toggleMark(int row, int alone);
  Q_INVOKABLE void clearMarks();
  [[nodiscard]] bool isMarked(int row) const { return isJobMarked(jobAt(row)); }
  /// The jobs of the marked rows, ascending.
  [[nodiscard]] std::vector<std::uint32_t> markedJobs() const;

 signals:
  void countChanged();
  void countsChanged();
  void filterChanged();
  void searchChanged();
  void runningRowChanged();
  void marksChanged();
  /// Before and after other rows of the same jobs are shown: a view keeps its place.
  void aboutToShowAnew();
  void shownAnew();

 protected:
  /// Of the model's roles; whether a row is marked.
  static constexpr int MarkedRole = Qt::UserRole + 1000;
  static constexpr int mostStates = 5;

  struct FilterKind {
    const char* label;
    unsigned states;  ///< A bit for each that is let through.
    Tone::Case tone;
  };
  static constexpr unsigned anyState = ~0U;

  /// The first of `kinds` lets everything through. A job is under way when its state is `runningState`.
  FilteredListModel(std::span<const FilterKind> kinds, int runningState, QObject* parent)
      : QAbstractListModel(parent), kinds_(kinds), runningState_(runningState) {
    searching_.setSingleShot(true);
    connect(&searching_, &QTimer::timeout, this, &FilteredListModel::searchFurther);
  }

  [[nodiscard]] virtual int stateOf(std::size_t job) const = 0;
  /// What is searched, in UTF-8.
  [[nodiscard]] virtual std::string_view nameOf(std::size_t job) const = 0;

  [[nodiscard]] int totalIn(int state) const { return totals_.at(static_cast<std::size_t>(state)); }
  [[nodiscard]] std::size_t jobAt(int row) const {
    return isFiltered() ? shown_[static_cast<std::size_t>(row)] : static_cast<std::size_t>(row);
  }

  /// The jobs are others after `change()`; all of them are shown.
  template <typename Change>
  void replaceJobs(Change change) {
    beginResetModel();
    change();
    const bool wasFiltered = forget();
    endResetModel();
    announceReplacement(wasFiltered);
  }
  /// `change()` adds so many jobs at the end.
  template <typename Change>
  void appendJobs(std::size_t number, Change change) {
    if (!isFiltered()) beginInsertRows({}, total(), total() + static_cast<int>(number) - 1);
    change();
    countNewJobs(number);
    if (!isFiltered()) endInsertRows();
    announceNewJobs(number);
  }
  template <typename Change>
  void removeJobAt(std::size_t job, Change change) {
    const int row = shownRowOf(job);
    if (row >= 0) beginRemoveRows({}, row, row);
    --totals_.at(static_cast<std::size_t>(stateOf(job)));
    change();
    forgetJob(job, row);
    if (row >= 0) endRemoveRows();
    if (row >= 0) emit countChanged();
    emit countsChanged();
    emit marksChanged();
  }
  /// `change(isGone)` removes those jobs for which `isGone`, a byte for each job, is not 0. Views have seen them go.
  template <typename Change>
  void removeMarkedJobs(Change change) {
    hideMarked();
    change(leaving_);
    forgetLeft();
  }
  /// `change()` is about the state of one job.
  template <typename Change>
  void changeJob(std::size_t job, Change change) {
    const Batch batch(*this);
    --totals_.at(static_cast<std::size_t>(stateOf(job)));
    change();
    const int state = stateOf(job);
    ++totals_.at(static_cast<std::size_t>(state));
    if (state == runningState_) runningJob_ = job;
    changed_.push_back(static_cast<std::uint32_t>(job));
  }

 private:
  [[nodiscard]] bool isFiltered() const { return filter_ != 0 || !search_.isEmpty() || !leaving_.empty(); }
  [[nodiscard]] bool passes(std::size_t job, int filter) const {
    return (kinds_[static_cast<std::size_t>(filter)].states >> stateOf(job) & 1U) != 0;
  }
  [[nodiscard]] bool isShown(std::size_t job) const {
    return passes(job, filter_) && (search_.isEmpty() || (job < hits_.size() && hits_[job] != 0)) &&
           (leaving_.empty() || leaving_[job] == 0);
  }
  [[nodiscard]] bool isJobMarked(std::size_t job) const { return job < marks_.size() && marks_[job] != 0; }
  [[nodiscard]] int shownRowOf(std::size_t job) const;
  bool forget();
  void forgetJob(std::size_t job, int row);
  void countNewJobs(std::size_t number);
  void announceReplacement(bool wasFiltered);
  void announceNewJobs(std::size_t number);
  void announceChanges();
  void announceFiltered();
  void findShown();
  template <typename Change>
  void showAnew(Change change);
  void searchFurther();
  void followRunningJob();
  void setMark(std::size_t job, bool isMarked);
  void announceMarks(int first, int last);
  void hideRows(const std::vector<std::size_t>& rows);
  void hideMarked();
  void forgetLeft();

  const std::span<const FilterKind> kinds_;
  const int runningState_;
  std::array<int, mostStates> totals_{};  // Of each state.
  int filter_ = 0;
  std::vector<std::uint32_t> shown_;  // Jobs, ascending. Unused while everything is shown.

  std::vector<std::uint8_t> marks_;  // Whether each job is marked, which only those shown are; none behind its end.
  int markedCount_ = 0;
  std::vector<std::uint8_t> leaving_;  // Whether each job is about to be removed; empty when none is.

  QString search_;                  // What the rows shown have in their names.
  std::vector<std::uint8_t> hits_;  // Whether each job's name has it; jobs that were added since are not in it yet.
  NameSearch next_;                 // What is being searched for: another text, or the same in jobs that were added.
  QString nextText_;
  std::vector<std::uint8_t> nextHits_;  // As far as it has come.
  QTimer searching_;

  std::size_t runningJob_ = 0;
  int announcedRunningRow_ = -1;

  int openBatches_ = 0;
  std::vector<std::uint32_t> changed_;  // Jobs, in the order of the changes, perhaps several times.
};

}  // namespace tallyfold
