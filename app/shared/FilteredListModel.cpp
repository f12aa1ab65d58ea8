#include "app/shared/FilteredListModel.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include <QCoreApplication>
#include <QElapsedTimer>

#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

// More runs of rows than that, and a view is sooner done with all rows anew.
constexpr std::size_t mostRuns = 64;

// Milliseconds of one turn of a search.
constexpr int searchTurn = 8;

// Calls `change(first, last, position)` for every run of neighbours among `positions`, which ascend, from the last run
// to the first: `first` and `last` are indices of `positions`. Neighbours are `step` apart.
template <typename Change>
void forEachRunBackwards(const std::vector<std::size_t>& positions, std::size_t step, Change change) {
  for (std::size_t end = positions.size(); end > 0;) {
    std::size_t begin = end - 1;
    while (begin > 0 && positions[begin - 1] + step == positions[begin]) --begin;
    change(begin, end);
    end = begin;
  }
}

std::size_t runsOf(const std::vector<std::size_t>& positions, std::size_t step) {
  std::size_t runs = 0;
  forEachRunBackwards(positions, step, [&](std::size_t, std::size_t) { ++runs; });
  return runs;
}

}  // namespace

QString FilteredListModel::countFigure() const { return userLocale().toString(count()); }

QString FilteredListModel::markedFigure() const { return userLocale().toString(markedCount_); }

QList<ListFilter> FilteredListModel::filters() const {
  const QLocale locale = userLocale();
  QList<ListFilter> filters;
  for (const FilterKind& kind : kinds_) {
    const int number = count(static_cast<int>(filters.size()));
    filters.append({.label = QCoreApplication::translate("ListFilter", kind.label),
                    .figure = locale.toString(number),
                    .isEmpty = number == 0,
                    .tone = kind.tone});
  }
  return filters;
}

int FilteredListModel::count(int filter) const {
  const unsigned states = kinds_[static_cast<std::size_t>(filter)].states;
  int sum = 0;
  for (int state = 0; state < mostStates; ++state) {
    if ((states >> state & 1U) != 0) sum += totalIn(state);
  }
  return sum;
}

int FilteredListModel::jobOfRow(int row) const { return row < 0 || row >= count() ? -1 : static_cast<int>(jobAt(row)); }

int FilteredListModel::rowOfJob(int job) const {
  if (!isFiltered()) return std::min(job, total() - 1);
  const auto found =
      std::ranges::lower_bound(shown_, job, {}, [](std::uint32_t each) { return static_cast<int>(each); });
  return std::min(static_cast<int>(found - shown_.begin()), count() - 1);
}

int FilteredListModel::shownRowOf(std::size_t job) const {
  const int row = rowOfJob(static_cast<int>(job));
  return row >= 0 && jobAt(row) == job ? row : -1;
}

int FilteredListModel::runningRow() const {
  const auto jobs = static_cast<std::size_t>(total());
  return runningJob_ < jobs && stateOf(runningJob_) == runningState_ ? shownRowOf(runningJob_) : -1;
}

int FilteredListModel::showFirst(int filter) {
  if (count(filter) == 0) return -1;
  std::size_t job = 0;
  while (!passes(job, filter)) ++job;
  if (shownRowOf(job) < 0) setFilter(0);
  if (shownRowOf(job) < 0) setSearch({});
  return shownRowOf(job);
}

void FilteredListModel::findShown() {
  shown_.clear();
  if (!isFiltered()) return;
  for (std::size_t job = 0; job < static_cast<std::size_t>(total()); ++job) {
    if (isShown(job)) shown_.push_back(static_cast<std::uint32_t>(job));
  }
}

template <typename Change>
void FilteredListModel::showAnew(Change change) {
  emit aboutToShowAnew();
  beginResetModel();
  change();
  findShown();
  for (std::size_t job = 0; markedCount_ > 0 && job < marks_.size(); ++job) {
    if (!isShown(job)) setMark(job, false);
  }
  endResetModel();
  emit countChanged();
  emit marksChanged();
  emit shownAnew();
  followRunningJob();
}

void FilteredListModel::setFilter(int filter) {
  if (filter == filter_) return;
  showAnew([&] { filter_ = filter; });
  emit filterChanged();
}

void FilteredListModel::showFailures() {
  if (kinds_[static_cast<std::size_t>(filter_)].tone != Tone::Bad) setFilter(0);
  setSearch({});
}

void FilteredListModel::leaveEmptyFilter() {
  if (count(filter_) == 0) setFilter(0);
}

void FilteredListModel::setSearch(const QString& text) {
  if (text == nextText_) return;
  nextText_ = text;
  next_ = NameSearch(text);
  nextHits_.clear();
  emit searchChanged();
  searchFurther();
}

void FilteredListModel::searchFurther() {
  searching_.stop();
  QElapsedTimer turn;
  turn.start();
  const auto jobs = nextText_.isEmpty() ? 0 : static_cast<std::size_t>(total());
  nextHits_.reserve(jobs);
  for (std::size_t bytes = 0; nextHits_.size() < jobs;) {
    constexpr std::size_t bytesAtATime = 1 << 16;
    const std::string_view name = nameOf(nextHits_.size());
    nextHits_.push_back(next_.matches(name) ? 1 : 0);
    bytes += name.size() + 64;
    if (bytes < bytesAtATime) continue;
    bytes = 0;
    if (turn.elapsed() < searchTurn) continue;
    searching_.start(0);
    return;
  }
  showAnew([&] {
    search_ = nextText_;
    hits_ = nextHits_;
  });
}

bool FilteredListModel::forget() {
  const bool wasFiltered = isFiltered() || !nextText_.isEmpty();
  marks_.clear();
  markedCount_ = 0;
  searching_.stop();
  filter_ = 0;
  search_.clear();
  nextText_.clear();
  shown_ = {};
  hits_ = {};
  nextHits_ = {};
  changed_ = {};
  totals_ = {};
  countNewJobs(static_cast<std::size_t>(total()));
  return wasFiltered;
}

void FilteredListModel::announceReplacement(bool wasFiltered) {
  if (wasFiltered) {
    emit filterChanged();
    emit searchChanged();
  }
  emit marksChanged();
  emit countChanged();
  emit countsChanged();
  followRunningJob();
}

void FilteredListModel::forgetJob(std::size_t job, int row) {
  const auto erase = [&](std::vector<std::uint8_t>& hits) {
    if (job < hits.size()) hits.erase(hits.begin() + static_cast<std::ptrdiff_t>(job));
  };
  erase(hits_);
  erase(nextHits_);
  if (isJobMarked(job)) --markedCount_;
  erase(marks_);
  if (row >= 0 && isFiltered()) shown_.erase(shown_.begin() + row);
  for (std::uint32_t& shown : shown_) {
    if (shown > job) --shown;
  }
}

void FilteredListModel::countNewJobs(std::size_t number) {
  const auto end = static_cast<std::size_t>(total());
  for (std::size_t job = end - number; job < end; ++job) ++totals_.at(static_cast<std::size_t>(stateOf(job)));
}

void FilteredListModel::announceNewJobs(std::size_t number) {
  if (!nextText_.isEmpty()) {
    searchFurther();
  } else if (filter_ != 0) {
    const auto end = static_cast<std::uint32_t>(total());
    std::vector<std::uint32_t> arrived;
    for (auto job = end - static_cast<std::uint32_t>(number); job < end; ++job) {
      if (isShown(job)) arrived.push_back(job);
    }
    if (!arrived.empty()) {
      beginInsertRows({}, count(), count() + static_cast<int>(arrived.size()) - 1);
      shown_.insert(shown_.end(), arrived.begin(), arrived.end());
      endInsertRows();
      emit countChanged();
    }
  } else {
    emit countChanged();
  }
  emit countsChanged();
}

void FilteredListModel::announceChanges() {
  if (changed_.empty()) return;
  if (!isFiltered()) {
    const auto [first, last] = std::ranges::minmax(changed_);
    emit dataChanged(index(static_cast<int>(first)), index(static_cast<int>(last)));
  } else {
    announceFiltered();
  }
  changed_.clear();
  emit countsChanged();
  followRunningJob();
}

// Rows come and go in few runs of neighbours, as long as jobs are done nearly in their order.
void FilteredListModel::announceFiltered() {
  std::ranges::sort(changed_);
  changed_.erase(std::unique(changed_.begin(), changed_.end()), changed_.end());

  std::vector<std::size_t> gone;       // Positions in shown_.
  std::vector<std::size_t> places;     // Positions in shown_, without what is gone, before which ...
  std::vector<std::uint32_t> arrived;  // ... these jobs belong.
  std::vector<std::size_t> stayed;
  for (const std::uint32_t job : changed_) {
    const auto found = std::ranges::lower_bound(shown_, job);
    const auto position = static_cast<std::size_t>(found - shown_.begin());
    const bool wasShown = found != shown_.end() && *found == job;
    if (wasShown && !isShown(job)) gone.push_back(position);
    if (wasShown && isShown(job)) stayed.push_back(position - gone.size());
    if (!wasShown && isShown(job)) {
      places.push_back(position - gone.size());
      arrived.push_back(job);
    }
  }

  if (runsOf(gone, 1) + runsOf(places, 0) > mostRuns) return showAnew([] {});

  for (const std::size_t position : gone) setMark(shown_[position], false);
  hideRows(gone);
  if (!stayed.empty()) {
    emit dataChanged(index(static_cast<int>(stayed.front())), index(static_cast<int>(stayed.back())));
  }
  forEachRunBackwards(places, 0, [&](std::size_t begin, std::size_t stop) {
    const auto place = static_cast<std::ptrdiff_t>(places[begin]);
    const auto number = static_cast<std::ptrdiff_t>(stop - begin);
    beginInsertRows({}, static_cast<int>(place), static_cast<int>(place + number - 1));
    shown_.insert(shown_.begin() + place, arrived.begin() + static_cast<std::ptrdiff_t>(begin),
                  arrived.begin() + static_cast<std::ptrdiff_t>(stop));
    endInsertRows();
  });
  if (!gone.empty() || !places.empty()) emit countChanged();
  if (!gone.empty()) emit marksChanged();
}

void FilteredListModel::hideRows(const std::vector<std::size_t>& rows) {
  forEachRunBackwards(rows, 1, [&](std::size_t begin, std::size_t stop) {
    const auto first = static_cast<std::ptrdiff_t>(rows[begin]);
    const auto last = static_cast<std::ptrdiff_t>(rows[stop - 1]);
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(last));
    shown_.erase(shown_.begin() + first, shown_.begin() + last + 1);
    endRemoveRows();
  });
}

void FilteredListModel::setMark(std::size_t job, bool isMarked) {
  if (isJobMarked(job) == isMarked) return;
  if (job >= marks_.size()) marks_.resize(static_cast<std::size_t>(total()));
  marks_[job] = isMarked ? 1 : 0;
  markedCount_ += isMarked ? 1 : -1;
}

void FilteredListModel::markOnly(int first, int last) {
  const int begin = std::max(std::min(first, last), 0);
  const int end = std::min(std::max(first, last) + 1, count());
  std::ranges::fill(marks_, 0);
  markedCount_ = 0;
  for (int row = begin; row < end; ++row) setMark(jobAt(row), true);
  announceMarks(0, count() - 1);
}

void FilteredListModel::toggleMark(int row, int alone) {
  if (row < 0 || row >= count()) return;
  if (markedCount_ == 0 && alone != row) markOnly(alone, alone);
  setMark(jobAt(row), !isMarked(row));
  announceMarks(row, row);
}

void FilteredListModel::clearMarks() {
  if (markedCount_ > 0) markOnly(-1, -1);
}

void FilteredListModel::announceMarks(int first, int last) {
  if (first <= last) emit dataChanged(index(first), index(last), {MarkedRole});
  emit marksChanged();
}

std::vector<std::uint32_t> FilteredListModel::markedJobs() const {
  std::vector<std::uint32_t> jobs;
  jobs.reserve(static_cast<std::size_t>(markedCount_));
  for (std::size_t job = 0; job < marks_.size(); ++job) {
    if (marks_[job] != 0) jobs.push_back(static_cast<std::uint32_t>(job));
  }
  return jobs;
}

// The rows go while the jobs are still there: a view keeps its place, and may ask for any other row meanwhile.
void FilteredListModel::hideMarked() {
  if (!isFiltered()) {
    shown_.resize(static_cast<std::size_t>(total()));
    std::iota(shown_.begin(), shown_.end(), 0);
  }
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; row < shown_.size(); ++row) {
    if (isJobMarked(shown_[row])) rows.push_back(row);
  }
  marks_.resize(static_cast<std::size_t>(total()));
  leaving_ = std::exchange(marks_, {});
  markedCount_ = 0;
  if (runsOf(rows, 1) > mostRuns) return showAnew([] {});
  hideRows(rows);
}

void FilteredListModel::forgetLeft() {
  const auto forgetHits = [&](std::vector<std::uint8_t>& hits) {
    std::size_t left = 0;
    for (std::size_t job = 0; job < hits.size(); ++job) {
      if (leaving_[job] == 0) hits[left++] = hits[job];
    }
    hits.resize(left);
  };
  forgetHits(hits_);
  forgetHits(nextHits_);
  auto shown = shown_.begin();
  for (std::uint32_t job = 0, left = 0; shown != shown_.end(); ++job) {
    if (*shown == job) *shown++ = left;
    if (leaving_[job] == 0) ++left;
  }
  leaving_.clear();
  if (!isFiltered()) shown_.clear();
  totals_ = {};
  countNewJobs(static_cast<std::size_t>(total()));
  emit countChanged();
  emit countsChanged();
  emit marksChanged();
}

void FilteredListModel::followRunningJob() {
  const int row = runningRow();
  if (std::exchange(announcedRunningRow_, row) != row) emit runningRowChanged();
}

}  // namespace tallyfold
