#include "app/manifest/ManifestJobListModel.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/shared/Tone.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

ManifestJobListModel::State caseOf(const ManifestJob& job) {
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

bool isMissing(const ManifestJob& job) {
  const auto* const failed = std::get_if<ManifestJob::Failed>(&job.state);
  return failed != nullptr && failed->isMissing;
}

int difference(const std::string& expected, const std::string& actual) {
  const auto parting = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  return static_cast<int>(parting.first - expected.begin());
}

}  // namespace

const std::array<ManifestJobListModel::FilterKind, 5> ManifestJobListModel::filterKinds = {{
    {"All", anyState, Tone::Pending},
    {"Mismatch", 1U << Mismatch, Tone::Bad},
    {"Failed", 1U << Failed, Tone::Bad},
    {"Waiting", 1U << Queued | 1U << Verifying, Tone::Pending},
    {"Match", 1U << Match, Tone::Good},
}};

int ManifestJobListModel::stateOf(std::size_t job) const { return caseOf(jobs_[job]); }

std::string_view ManifestJobListModel::nameOf(std::size_t job) const { return jobs_[job].entry->relativePath; }

QString ManifestJobListModel::lastNumber() const {
  return jobs_.empty() ? QString() : userLocale().toString(static_cast<qlonglong>(jobs_.back().entry->lineNumber));
}

QVariant ManifestJobListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const ManifestJob& job = jobs_[jobAt(index.row())];
  const auto* mismatch = std::get_if<ManifestJob::Mismatch>(&job.state);
  switch (role) {
    case MarkedRole:
      return isMarked(index.row());
    case LineNumberRole:
      return static_cast<qint64>(job.entry->lineNumber);
    case NumberRole:
      return userLocale().toString(static_cast<qlonglong>(job.entry->lineNumber));
    case Qt::DisplayRole:
    case PathRole:
      return shownText(job.entry->relativePath);
    case AlgorithmRole:
      return utf8Text(job.entry->algorithm.rawValue());
    case StateRole:
      return caseOf(job);
    case StatusRole:
      return status(job);
    case ToneRole:
      return toneOf(caseOf(job));
    case ExpectedRole:
      return utf8Text(job.entry->expectedHash);
    case ActualRole:
      return mismatch == nullptr ? QString() : utf8Text(mismatch->actual);
    case SizeNoteRole:
      return sizeNote(jobAt(index.row()));
    case NoteRole:
      return isMissing(job) ? notes_(jobAt(index.row())) : QString();
    case DifferenceRole:
      return mismatch == nullptr ? -1 : difference(job.entry->expectedHash, mismatch->actual);
    default:
      return {};
  }
}

QHash<int, QByteArray> ManifestJobListModel::roleNames() const {
  return {{MarkedRole, "isMarked"},
          {LineNumberRole, "lineNumber"},
          {NumberRole, "number"},
          {PathRole, "path"},
          {AlgorithmRole, "algorithm"},
          {StateRole, "state"},
          {StatusRole, "status"},
          {ToneRole, "tone"},
          {ExpectedRole, "expected"},
          {ActualRole, "actual"},
          {DifferenceRole, "difference"},
          {SizeNoteRole, "sizeNote"},
          {NoteRole, "note"}};
}

QString ManifestJobListModel::sizeNote(std::size_t job) const {
  const auto* const mismatch = std::get_if<ManifestJob::Mismatch>(&jobs_[job].state);
  const std::int64_t size = job < sizes_.size() ? sizes_[job] : -1;
  if (mismatch == nullptr || size < 0 || size == mismatch->fileSize) return {};
  return tr("The list says %1, the file has %2.")
      .arg(exactByteCount(size), userLocale().toString(qlonglong{mismatch->fileSize}));
}

std::vector<ManifestJob> ManifestJobListModel::shownJobs(int first, int most) const {
  std::vector<ManifestJob> jobs;
  if (first < 0 || first >= count()) return jobs;
  const int end = first + std::min(most, count() - first);
  jobs.reserve(static_cast<std::size_t>(end - first));
  for (int row = first; row < end; ++row) jobs.push_back(jobs_[jobAt(row)]);
  return jobs;
}

QByteArray ManifestJobListModel::text(const std::vector<ManifestJob>& jobs, const std::stop_token& cancellation) {
  // Text that outgrew its room again and again would, of a long list, leave a hole in the heap each time.
  constexpr std::size_t besides = 64;
  std::size_t size = 0;
  for (const ManifestJob& job : jobs) size += job.entry->relativePath.size() + job.entry->expectedHash.size() + besides;
  QByteArray lines;
  lines.reserve(static_cast<qsizetype>(size));
  for (const ManifestJob& job : jobs) {
    HashService::checkCancellation(cancellation);
    if (!lines.isEmpty()) lines.append('\n');
    lines.append(QByteArray::number(static_cast<qlonglong>(job.entry->lineNumber)));
    lines.append('\t').append(job.entry->algorithm.rawValue()).append('\t');
    lines.append(copiedText(job.entry->relativePath)).append('\t').append(status(job).toUtf8());
    if (caseOf(job) == Mismatch) lines.append('\t').append(tr("Expected: ").toUtf8()).append(job.entry->expectedHash);
  }
  return lines;
}

ManifestJobListModel::Rows ManifestJobListModel::replaceAll(Rows rows) {
  if (rows.jobs.empty() && jobs_.empty()) return {};
  replaceJobs([&] {
    rows.jobs.swap(jobs_);
    rows.sizes.swap(sizes_);
  });
  return rows;
}

void ManifestJobListModel::announceNotes() {
  if (count() > 0) emit dataChanged(index(0), index(count() - 1), {NoteRole});
}

void ManifestJobListModel::setState(std::size_t job, ManifestJob::State state) {
  changeJob(job, [&] { jobs_[job].state = std::move(state); });
}

void ManifestJobListModel::requeueAll() {
  if (totalIn(Queued) == total()) return;
  const Batch batch(*this);
  for (std::size_t job = 0; job < jobs_.size(); ++job) setState(job, ManifestJob::Queued{});
}

std::vector<ManifestJob::State> ManifestJobListModel::takeStates() {
  std::vector<ManifestJob::State> states;
  states.reserve(jobs_.size());
  const Batch batch(*this);
  for (std::size_t job = 0; job < jobs_.size(); ++job) {
    changeJob(job, [&] { states.push_back(std::exchange(jobs_[job].state, ManifestJob::Queued{})); });
  }
  return states;
}

}  // namespace tallyfold
