#include "app/audit/UnlistedModel.h"

#include <algorithm>
#include <utility>

#include "app/shared/FileLocation.h"
#include "core/services/HashService.h"

namespace tallyfold {

const std::array<UnlistedModel::FilterKind, 1> UnlistedModel::filterKinds = {{{"All", anyState, Tone::Pending}}};

QVariant UnlistedModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  switch (role) {
    case MarkedRole:
      return isMarked(index.row());
    case Qt::DisplayRole:
    case PathRole:
      return shownText(files_->paths[jobAt(index.row())]);
    case NoteRole:
      return notes_(jobAt(index.row()));
    default:
      return {};
  }
}

std::shared_ptr<const UnlistedFiles> UnlistedModel::replaceAll(std::shared_ptr<const UnlistedFiles> files) {
  replaceJobs([&] { std::swap(files_, files); });
  return files;
}

void UnlistedModel::announceNotes() {
  if (count() > 0) emit dataChanged(index(0), index(count() - 1), {NoteRole});
}

std::vector<std::string> UnlistedModel::shownPaths(int first, int most) const {
  std::vector<std::string> paths;
  if (first < 0 || first >= count()) return paths;
  const int end = first + std::min(most, count() - first);
  for (int row = first; row < end; ++row) paths.push_back(files_->paths[jobAt(row)]);
  return paths;
}

std::vector<std::string> UnlistedModel::markedPaths() const {
  std::vector<std::string> paths;
  for (const std::uint32_t job : markedJobs()) paths.push_back(files_->paths[job]);
  return paths;
}

QByteArray UnlistedModel::text(const std::vector<std::string>& paths, const std::stop_token& cancellation) {
  QByteArray lines;
  for (const std::string& path : paths) {
    HashService::checkCancellation(cancellation);
    if (!lines.isEmpty()) lines.append('\n');
    lines.append(copiedText(path));
  }
  return lines;
}

}  // namespace tallyfold
