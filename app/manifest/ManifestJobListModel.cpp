#include "app/manifest/ManifestJobListModel.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Tone.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

ManifestJobListModel::State stateOf(const ManifestJob& job) {
  struct Case {
    ManifestJobListModel::State operator()(const ManifestJob::Queued& /*state*/) const {
      return ManifestJobListModel::Queued;
    }
    ManifestJobListModel::State operator()(const ManifestJob::Verifying& /*state*/) const {
      return ManifestJobListModel::Verifying;
    }
    ManifestJobListModel::State operator()(const ManifestJob::Match& /*state*/) const {
      return ManifestJobListModel::Match;
    }
    ManifestJobListModel::State operator()(const ManifestJob::Mismatch& /*state*/) const {
      return ManifestJobListModel::Mismatch;
    }
    ManifestJobListModel::State operator()(const ManifestJob::Failed& /*state*/) const {
      return ManifestJobListModel::Failed;
    }
  };
  return std::visit(Case(), job.state);
}

Tone::Case toneOf(ManifestJobListModel::State state) {
  switch (state) {
    case ManifestJobListModel::Queued:
      return Tone::Pending;
    case ManifestJobListModel::Verifying:
      return Tone::Working;
    case ManifestJobListModel::Match:
      return Tone::Good;
    case ManifestJobListModel::Mismatch:
    case ManifestJobListModel::Failed:
      return Tone::Bad;
  }
  return Tone::Pending;
}

QString status(const ManifestJob& job) {
  struct Words {
    QString operator()(const ManifestJob::Queued&) const { return ManifestJobListModel::tr("Queued"); }
    QString operator()(const ManifestJob::Verifying&) const { return ManifestJobListModel::tr("Verifying"); }
    QString operator()(const ManifestJob::Match&) const { return ManifestJobListModel::tr("Match"); }
    QString operator()(const ManifestJob::Mismatch& state) const {
      return ManifestJobListModel::tr("Mismatch. Actual: %1").arg(utf8Text(state.actual));
    }
    QString operator()(const ManifestJob::Failed& state) const { return utf8Text(state.message); }
  };
  return std::visit(Words(), job.state);
}

int difference(const std::string& expected, const std::string& actual) {
  const auto parting = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  return static_cast<int>(parting.first - expected.begin());
}

// More runs of rows than that, and a view is sooner done with all rows anew.
constexpr std::size_t mostRuns = 64;

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

}  // namespace

int ManifestJobListModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : count(); }

QVariant ManifestJobListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const ManifestJob& job = jobAt(index.row());
  const auto* mismatch = std::get_if<ManifestJob::Mismatch>(&job.state);
  switch (role) {
    case LineNumberRole:
      return static_cast<qint64>(job.entry->lineNumber);
    case Qt::DisplayRole:
    case PathRole:
      return shownText(job.entry->relativePath);
    case AlgorithmRole:
      return utf8Text(job.entry->algorithm.rawValue());
    case StateRole:
      return stateOf(job);
    case StatusRole:
      return status(job);
    case ToneRole:
      return toneOf(stateOf(job));
    case ExpectedRole:
      return utf8Text(job.entry->expectedHash);
    case ActualRole:
      return mismatch == nullptr ? QString() : utf8Text(mismatch->actual);
    case DifferenceRole:
      return mismatch == nullptr ? -1 : difference(job.entry->expectedHash, mismatch->actual);
    default:
      return {};
  }
}

QHash<int, QByteArray> ManifestJobListModel::roleNames() const {
  return {{LineNumberRole, "lineNumber"}, {PathRole, "path"},     {AlgorithmRole, "algorithm"},
          {StateRole, "state"},           {StatusRole, "status"}, {ToneRole, "tone"},
          {ExpectedRole, "expected"},     {ActualRole, "actual"}, {DifferenceRole, "difference"}};
}

const ManifestJob& ManifestJobListModel::jobAt(int row) const {
  const auto index = static_cast<std::size_t>(row);
  return filter_ == All ? jobs_[index] : jobs_[shown_[index]];
}

int ManifestJobListModel::jobOfRow(int row) const {
  return filter_ == All || row < 0 || row >= count() ? row : static_cast<int>(shown_[static_cast<std::size_t>(row)]);
}

int ManifestJobListModel::rowOfJob(int job) const {
  if (filter_ == All) return job;
  const auto found =
      std::ranges::lower_bound(shown_, job, {}, [](std::uint32_t each) { return static_cast<int>(each); });
  return std::min(static_cast<int>(found - shown_.begin()), count() - 1);
}

bool ManifestJobListModel::isShown(const ManifestJob& job) const {
  switch (filter_) {
    case All:
      return true;
    case Mismatches:
      return stateOf(job) == Mismatch;
    case Failures:
      return stateOf(job) == Failed;
    case Waiting:
      return stateOf(job) == Queued || stateOf(job) == Verifying;
    case Matches:
      return stateOf(job) == Match;
  }
  return false;
}

void ManifestJobListModel::findShown() {
  shown_.clear();
  if (filter_ == All) return;
  for (std::size_t i = 0; i < jobs_.size(); ++i) {
    if (isShown(jobs_[i])) shown_.push_back(static_cast<std::uint32_t>(i));
  }
}

void ManifestJobListModel::setFilter(Filter filter) {
  if (filter == filter_) return;
  beginResetModel();
  filter_ = filter;
  findShown();
  endResetModel();
  emit filterChanged();
  emit countChanged();
}

int ManifestJobListModel::total(State state) const {
  const auto found = totals_.find(state);
  return found == totals_.end() ? 0 : found->second;
}

int ManifestJobListModel::count(Filter filter) const {
  switch (filter) {
    case All:
      return total();
    case Mismatches:
      return total(Mismatch);
    case Failures:
      return total(Failed);
    case Waiting:
      return total(Queued) + total(Verifying);
    case Matches:
      return total(Match);
  }
  return 0;
}

ManifestCounts ManifestJobListModel::counts() const {
  return {.all = count(All),
          .mismatches = count(Mismatches),
          .failures = count(Failures),
          .waiting = count(Waiting),
          .matches = count(Matches)};
}

std::vector<ManifestJob> ManifestJobListModel::shownJobs(int first, int most) const {
  std::vector<ManifestJob> jobs;
  if (first < 0 || first >= count()) return jobs;
  const int end = first + std::min(most, count() - first);
  jobs.reserve(static_cast<std::size_t>(end - first));
  for (int row = first; row < end; ++row) jobs.push_back(jobAt(row));
  return jobs;
}

QByteArray ManifestJobListModel::text(const std::vector<ManifestJob>& jobs, const std::stop_token& cancellation) {
  const auto lineOf = [&](const ManifestJob& job) {
    HashService::checkCancellation(cancellation);
    QByteArray line = QByteArray::number(static_cast<qlonglong>(job.entry->lineNumber));
    line.append('\t').append(job.entry->algorithm.rawValue()).append('\t');
    line.append(copiedText(job.entry->relativePath)).append('\t').append(status(job).toUtf8());
    if (stateOf(job) == Mismatch) line.append('\t').append(tr("Expected: ").toUtf8()).append(job.entry->expectedHash);
    return line.append('\n');
  };
  // Text that grew as it is written would, of a long list, leave a hole of its size behind at each step.
  qsizetype size = 0;
  for (const ManifestJob& job : jobs) size += lineOf(job).size();
  QByteArray lines;
  lines.reserve(size);
  for (const ManifestJob& job : jobs) lines.append(lineOf(job));
  lines.chop(1);
  return lines;
}

std::vector<ManifestJob> ManifestJobListModel::replaceAll(std::vector<ManifestJob> jobs) {
  if (jobs.empty() && jobs_.empty()) return {};
  beginResetModel();
  const bool wasFiltered = std::exchange(filter_, All) != All;
  jobs.swap(jobs_);
  shown_.clear();
  totals_.clear();
  for (const ManifestJob& job : jobs_) ++totals_[stateOf(job)];
  endResetModel();
  if (wasFiltered) emit filterChanged();
  emit countChanged();
  emit countsChanged();
  return jobs;
}

void ManifestJobListModel::setState(std::size_t job, ManifestJob::State state) {
  const Batch batch(*this);
  ManifestJob& changed = jobs_[job];
  --totals_[stateOf(changed)];
  changed.state = std::move(state);
  ++totals_[stateOf(changed)];
  changed_.push_back(static_cast<std::uint32_t>(job));
}

void ManifestJobListModel::requeueAll() {
  if (total(Queued) == total()) return;
  if (filter_ != All) beginResetModel();
  for (ManifestJob& job : jobs_) job.state = ManifestJob::Queued{};
  totals_ = {{Queued, total()}};
  if (filter_ == All) {
    emit dataChanged(index(0), index(total() - 1));
  } else {
    findShown();
    endResetModel();
    emit countChanged();
  }
  emit countsChanged();
}

void ManifestJobListModel::announceChanges() {
  if (changed_.empty()) return;
  if (filter_ == All) {
    const auto [first, last] = std::ranges::minmax(changed_);
    emit dataChanged(index(static_cast<int>(first)), index(static_cast<int>(last)));
  } else {
    announceFiltered();
  }
  changed_.clear();
  emit countsChanged();
}

// Rows come and go in few runs of neighbours, as long as entries are verified nearly in their order.
void ManifestJobListModel::announceFiltered() {
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
    if (wasShown && !isShown(jobs_[job])) gone.push_back(position);
    if (wasShown && isShown(jobs_[job])) stayed.push_back(position - gone.size());
    if (!wasShown && isShown(jobs_[job])) {
      places.push_back(position - gone.size());
      arrived.push_back(job);
    }
  }

  std::size_t runs = 0;
  const auto countRun = [&](std::size_t, std::size_t) { ++runs; };
  forEachRunBackwards(gone, 1, countRun);
  forEachRunBackwards(places, 0, countRun);
  if (runs > mostRuns) return showAnew();

  forEachRunBackwards(gone, 1, [&](std::size_t begin, std::size_t stop) {
    const auto first = static_cast<std::ptrdiff_t>(gone[begin]);
    const auto last = static_cast<std::ptrdiff_t>(gone[stop - 1]);
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(last));
    shown_.erase(shown_.begin() + first, shown_.begin() + last + 1);
    endRemoveRows();
  });
  if (!stayed.empty()) {
    emit dataChanged(index(static_cast<int>(stayed.front())), index(static_cast<int>(stayed.back())));
  }
  forEachRunBackwards(places, 0, [&](std::size_t begin, std::size_t stop) {
    const auto place = static_cast<std::ptrdiff_t>(places[begin]);
    const auto count = static_cast<std::ptrdiff_t>(stop - begin);
    beginInsertRows({}, static_cast<int>(place), static_cast<int>(place + count - 1));
    shown_.insert(shown_.begin() + place, arrived.begin() + static_cast<std::ptrdiff_t>(begin),
                  arrived.begin() + static_cast<std::ptrdiff_t>(stop));
    endInsertRows();
  });
  if (!gone.empty() || !places.empty()) emit countChanged();
}

void ManifestJobListModel::showAnew() {
  emit aboutToShowAnew();
  beginResetModel();
  findShown();
  endResetModel();
  emit countChanged();
  emit shownAnew();
}

}  // namespace tallyfold
