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

struct StateOf {
  FileJobListModel::State operator()(const FileJob::Queued& /*state*/) const { return FileJobListModel::Queued; }
  FileJobListModel::State operator()(const FileJob::Hashing& /*state*/) const { return FileJobListModel::Hashing; }
  FileJobListModel::State operator()(const FileJob::Complete& /*state*/) const { return FileJobListModel::Complete; }
  FileJobListModel::State operator()(const FileJob::Failed& /*state*/) const { return FileJobListModel::Failed; }
};

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

FileJobListModel::FileJobListModel(const ResultByJobID& results, QObject* parent)
    : QAbstractListModel(parent), results_(results) {}

int FileJobListModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : count(); }

QVariant FileJobListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const FileJob& job = jobs_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case JobIdRole:
      return QVariant::fromValue(job.id);
    case Qt::DisplayRole:
    case NameRole:
      return displayText(job.url->filename());
    case FolderRole:
      return displayText(job.url->parent_path());
    case StateRole:
      return std::visit(StateOf(), job.state);
    case StatusRole:
      return statusOf(std::visit(StateOf(), job.state));
    case ToneRole:
      return toneOf(std::visit(StateOf(), job.state));
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
  return {{JobIdRole, "jobId"},   {NameRole, "name"},      {FolderRole, "folder"},     {StateRole, "state"},
          {StatusRole, "status"}, {ToneRole, "tone"},      {ProgressRole, "progress"}, {MessageRole, "message"},
          {FactsRole, "facts"},   {DigestsRole, "digests"}};
}

Uuid FileJobListModel::idAt(int row) const {
  return row >= 0 && row < count() ? jobs_[static_cast<std::size_t>(row)].id : Uuid();
}

std::optional<std::size_t> FileJobListModel::rowOf(const Uuid& id) const {
  return jobIndexByID_.find(std::hash<Uuid>()(id), [&](std::size_t row) { return jobs_[row].id == id; });
}

const FileJob* FileJobListModel::job(const Uuid& id) const {
  const auto row = rowOf(id);
  return row ? &jobs_[*row] : nullptr;
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
  beginInsertRows({}, count(), count() + static_cast<int>(added.size()) - 1);
  jobs_.insert(jobs_.end(), std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
  endInsertRows();
  emit countChanged();
  return isEveryFileExamined;
}

void FileJobListModel::remove(std::size_t row) {
  beginRemoveRows({}, static_cast<int>(row), static_cast<int>(row));
  jobs_.erase(jobs_.begin() + static_cast<std::ptrdiff_t>(row));
  jobIndexByID_.remove(row);
  jobURLSet_.remove(row);
  endRemoveRows();
  emit countChanged();
}

std::vector<FileJob> FileJobListModel::takeAll() {
  if (jobs_.empty()) return {};
  beginResetModel();
  std::vector<FileJob> all;
  all.swap(jobs_);
  jobIndexByID_ = {};
  jobURLSet_ = {};
  endResetModel();
  emit countChanged();
  return all;
}

void FileJobListModel::setState(std::size_t row, FileJob::State state) {
  const Batch batch(*this);
  jobs_[row].state = std::move(state);
  firstChanged_ = endChanged_ == 0 ? row : std::min(firstChanged_, row);
  endChanged_ = std::max(endChanged_, row + 1);
}

QString FileJobListModel::facts(const FileHashResult& result) const {
  return QStringLiteral("%1 · %2 · %3")
      .arg(formattedByteCount(result.fileSize), compactDuration(result.duration),
           formattedThroughput(static_cast<double>(result.fileSize) / result.duration));
}

void FileJobListModel::announceChanges() {
  const std::size_t end = std::exchange(endChanged_, 0);
  if (end == 0 || end > jobs_.size()) return;
  emit dataChanged(index(static_cast<int>(firstChanged_)), index(static_cast<int>(end) - 1));
}

}  // namespace tallyfold
