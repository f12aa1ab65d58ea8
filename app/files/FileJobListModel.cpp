#include "app/files/FileJobListModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/DigestLine.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/shared/Tone.h"

namespace tallyfold {

namespace {

QString statusOf(FileJobListModel::State state) {
  switch (state) {
    case FileJobListModel::Queued:
      return FileJobListModel::tr("Queued");
    case FileJobListModel::Hashing:
      return FileJobListModel::tr("Hashing");
    case FileJobListModel::Complete:
      return FileJobListModel::tr("Done");
    case FileJobListModel::Failed:
      return FileJobListModel::tr("Failed");
  }
  return {};
}

Tone::Case toneOf(FileJobListModel::State state) {
  switch (state) {
    case FileJobListModel::Queued:
      return Tone::Pending;
    case FileJobListModel::Hashing:
      return Tone::Working;
    case FileJobListModel::Complete:
      return Tone::Good;
    case FileJobListModel::Failed:
      return Tone::Bad;
  }
  return Tone::Pending;
}

}  // namespace

const std::array<FileJobListModel::FilterKind, 4> FileJobListModel::filterKinds = {{
    {"All", anyState, Tone::Pending},
    {"Failed", 1U << Failed, Tone::Bad},
    {"Waiting", 1U << Queued | 1U << Hashing, Tone::Pending},
    {"Done", 1U << Complete, Tone::Good},
}};

FileJobListModel::FileJobListModel(const ResultByJobID& results, QObject* parent)
    : FilteredListModel(filterKinds, Hashing, parent), results_(results) {
  connect(this, &FilteredListModel::countsChanged, this, &FilteredListModel::marksChanged);
}

int FileJobListModel::stateOf(std::size_t job) const {
  struct Case {
    State operator()(const FileJob::Queued& /*state*/) const { return Queued; }
    State operator()(const FileJob::Hashing& /*state*/) const { return Hashing; }
    State operator()(const FileJob::Complete& /*state*/) const { return Complete; }
    State operator()(const FileJob::Failed& /*state*/) const { return Failed; }
  };
  return std::visit(Case(), jobs_[job].state);
}

std::string_view FileJobListModel::nameOf(std::size_t job) const {
  const std::string_view path = jobs_[job].url->native();
  return path.substr(path.rfind('/') + 1);
}

QVariant FileJobListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const FileJob& job = jobs_[jobAt(index.row())];
  const auto state = static_cast<State>(stateOf(jobAt(index.row())));
  switch (role) {
    case MarkedRole:
      return isMarked(index.row());
    case JobIdRole:
      return QVariant::fromValue(job.id);
    case Qt::DisplayRole:
    case NameRole:
      return displayText(job.url->filename());
    case FolderRole:
      return displayText(job.url->parent_path());
    case StateRole:
      return state;
    case StatusRole:
      return statusOf(state);
    case ToneRole:
      return toneOf(state);
    case ProgressRole: {
      const auto* hashing = std::get_if<FileJob::Hashing>(&job.state);
      return hashing == nullptr ? 0.0 : hashing->progress;
    }
    case MessageRole: {
      const auto* failed = std::get_if<FileJob::Failed>(&job.state);
      return failed == nullptr ? QString() : utf8Text(failed->message);
    }
    case FactsRole:
    case DigestsRole:
      break;
    default:
      return {};
  }

  const auto found = results_.find(job.id);
  if (found == results_.end())
    return role == FactsRole ? QVariant(QString()) : QVariant::fromValue(QList<DigestLine>());
  const FileHashResult& result = *found->second;
  if (role == FactsRole) return facts(result);
  QList<DigestLine> digests;
  for (const HashAlgorithm algorithm : result.hashes.algorithms()) {
    digests.append({displayName(algorithm), utf8Text(*result.hashes.find(algorithm))});
  }
  return QVariant::fromValue(digests);
}

QHash<int, QByteArray> FileJobListModel::roleNames() const {
  return {{MarkedRole, "isMarked"}, {JobIdRole, "jobId"},   {NameRole, "name"},      {FolderRole, "folder"},
          {StateRole, "state"},     {StatusRole, "status"}, {ToneRole, "tone"},      {ProgressRole, "progress"},
          {MessageRole, "message"}, {FactsRole, "facts"},   {DigestsRole, "digests"}};
}

Uuid FileJobListModel::idAt(int row) const { return row >= 0 && row < count() ? jobs_[jobAt(row)].id : Uuid(); }

std::optional<std::size_t> FileJobListModel::indexOf(const Uuid& id) const {
  return jobIndexByID_.find(std::hash<Uuid>()(id), [&](std::size_t job) { return jobs_[job].id == id; });
}

const FileJob* FileJobListModel::job(const Uuid& id) const {
  const auto job = indexOf(id);
  return job ? &jobs_[*job] : nullptr;
}

bool FileJobListModel::add(PreparedFiles files, std::size_t limit) {
  const std::size_t queued = jobs_.size();
  if (queued >= limit) return false;
  std::vector<FileJob> added;
  added.reserve(std::min(limit - queued, files.size()));
  jobIndexByID_.reserve(queued + added.capacity());
  jobURLSet_.reserve(queued + added.capacity());
  bool isEveryFileExamined = true;
  for (PreparedFile& file : files) {
    isEveryFileExamined = queued + added.size() < limit;
    if (!isEveryFileExamined) break;
    const std::string& path = file.url->native();
    const auto isSame = [&](std::size_t row) {
      return (row < queued ? jobs_[row] : added[row - queued]).url->native() == path;
    };
    if (jobURLSet_.find(file.hash, isSame)) continue;
    jobURLSet_.append(file.hash);
    jobIndexByID_.append(std::hash<Uuid>()(file.id));
    added.push_back({file.id, std::move(file.url), FileJob::Queued{}});
  }
  if (added.empty()) return isEveryFileExamined;
  appendJobs(added.size(), [&] {
    jobs_.insert(jobs_.end(), std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
  });
  return isEveryFileExamined;
}

void FileJobListModel::remove(std::size_t job) {
  removeJobAt(job, [&] {
    jobs_.erase(jobs_.begin() + static_cast<std::ptrdiff_t>(job));
    jobIndexByID_.remove(job);
    jobURLSet_.remove(job);
  });
}

std::vector<FileJob> FileJobListModel::removeMarked() {
  std::vector<FileJob> gone;
  removeMarkedJobs([&](const std::vector<std::uint8_t>& isGone) {
    std::vector<FileJob> left;
    for (std::size_t job = 0; job < jobs_.size(); ++job) {
      (isGone[job] == 0 ? left : gone).push_back(std::move(jobs_[job]));
    }
    jobs_ = std::move(left);
    jobIndexByID_.remove(isGone);
    jobURLSet_.remove(isGone);
  });
  return gone;
}

FileHashResults FileJobListModel::markedResults() const {
  FileHashResults marked;
  for (const std::uint32_t job : markedJobs()) {
    const auto found = results_.find(jobs_[job].id);
    if (found != results_.end()) marked.push_back(found->second);
  }
  return marked;
}

bool FileJobListModel::hasMarkedResults() const {
  return markedCount() > 0 && std::ranges::any_of(markedJobs(), [&](auto job) { return stateOf(job) == Complete; });
}

FileJobListModel::Rows FileJobListModel::takeAll() {
  Rows all;
  if (!jobs_.empty()) swapRows(all);
  return all;
}

void FileJobListModel::putBack(Rows rows) { swapRows(rows); }

void FileJobListModel::swapRows(Rows& rows) {
  replaceJobs([&] {
    std::swap(jobs_, rows.jobs);
    std::swap(jobIndexByID_, rows.jobIndexByID);
    std::swap(jobURLSet_, rows.jobURLSet);
  });
}

void FileJobListModel::setState(std::size_t job, FileJob::State state) {
  changeJob(job, [&] { jobs_[job].state = std::move(state); });
}

QString FileJobListModel::facts(const FileHashResult& result) const {
  return QStringLiteral("%1 · %2 · %3")
      .arg(formattedByteCount(result.fileSize), compactDuration(result.duration),
           formattedThroughput(static_cast<double>(result.fileSize) / result.duration));
}

}  // namespace tallyfold
