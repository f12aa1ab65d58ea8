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
  return std::visit(Case(), rows_.jobs[job].state);
}

std::string_view FileJobListModel::nameOf(std::size_t job) const {
  const std::string_view path = rows_.jobs[job].url->native();
  return path.substr(path.rfind('/') + 1);
}

QVariant FileJobListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const FileJob& job = rows_.jobs[jobAt(index.row())];
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

Uuid FileJobListModel::idAt(int row) const { return row >= 0 && row < count() ? rows_.jobs[jobAt(row)].id : Uuid(); }

std::optional<std::size_t> FileJobListModel::indexOf(const Uuid& id) const {
  return rows_.jobIndexByID.find(std::hash<Uuid>()(id), [&](std::size_t job) { return rows_.jobs[job].id == id; });
}

const FileJob* FileJobListModel::job(const Uuid& id) const {
  const auto job = indexOf(id);
  return job ? &rows_.jobs[*job] : nullptr;
}

bool FileJobListModel::add(PreparedFiles& files, std::size_t limit) {
  const std::size_t queued = rows_.jobs.size();
  if (queued >= limit) return false;
  std::vector<FileJob>& prepared = files.rows.jobs;
  if (queued == 0 && prepared.size() <= limit) {
    const bool isEveryFileExamined = prepared.size() < limit || !files.hasMoreBehind;
    if (!prepared.empty()) appendJobs(prepared.size(), [&] { std::swap(rows_, files.rows); });
    return isEveryFileExamined;
  }
  std::vector<std::size_t> added;
  std::size_t row = 0;
  for (; row < prepared.size() && queued + added.size() < limit; ++row) {
    if (!rows_.hasLocationOf(prepared[row], files.rows.jobURLSet.hashOf(row))) added.push_back(row);
  }
  if (!added.empty()) {
    appendJobs(added.size(), [&] {
      rows_.reserve(queued + added.size());
      for (const std::size_t one : added) rows_.append(std::move(prepared[one]), files.rows.jobURLSet.hashOf(one));
    });
  }
  return row == prepared.size() && (queued + added.size() < limit || !files.hasMoreBehind);
}

void FileJobListModel::remove(std::size_t job) {
  removeJobAt(job, [&] {
    rows_.jobs.erase(rows_.jobs.begin() + static_cast<std::ptrdiff_t>(job));
    rows_.jobIndexByID.remove(job);
    rows_.jobURLSet.remove(job);
  });
}

std::vector<FileJob> FileJobListModel::removeMarked() {
  std::vector<FileJob> gone;
  removeMarkedJobs([&](const std::vector<std::uint8_t>& isGone) {
    std::vector<FileJob> left;
    const auto marked = static_cast<std::size_t>(std::ranges::count(isGone, 1));
    gone.reserve(marked);
    left.reserve(isGone.size() - marked);
    for (std::size_t job = 0; job < rows_.jobs.size(); ++job) {
      (isGone[job] == 0 ? left : gone).push_back(std::move(rows_.jobs[job]));
    }
    rows_.jobs = std::move(left);
    rows_.jobIndexByID.remove(isGone);
    rows_.jobURLSet.remove(isGone);
  });
  return gone;
}

FileHashResults FileJobListModel::markedResults() const {
  FileHashResults marked;
  for (const std::uint32_t job : markedJobs()) {
    const auto found = results_.find(rows_.jobs[job].id);
    if (found != results_.end()) marked.push_back(found->second);
  }
  return marked;
}

bool FileJobListModel::hasMarkedResults() const {
  return markedCount() > 0 && std::ranges::any_of(markedJobs(), [&](auto job) { return stateOf(job) == Complete; });
}

FileRows FileJobListModel::takeAll() {
  FileRows all;
  if (!rows_.jobs.empty()) swapRows(all);
  return all;
}

void FileJobListModel::putBack(FileRows rows) { swapRows(rows); }

void FileJobListModel::swapRows(FileRows& rows) {
  replaceJobs([&] { std::swap(rows_, rows); });
}

void FileJobListModel::setState(std::size_t job, FileJob::State state) {
  changeJob(job, [&] { rows_.jobs[job].state = std::move(state); });
}

QString FileJobListModel::facts(const FileHashResult& result) const {
  return QStringLiteral("%1 · %2 · %3")
      .arg(formattedByteCount(result.fileSize), compactDuration(result.duration),
           formattedThroughput(static_cast<double>(result.fileSize) / result.duration));
}

}  // namespace tallyfold
