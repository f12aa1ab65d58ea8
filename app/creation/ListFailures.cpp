#include "app/creation/ListFailures.h"

#include <cstddef>
#include <iterator>
#include <utility>

#include "app/shared/FileLocation.h"
#include "app/tasks/BackgroundTask.h"

namespace tallyfold {

void ListFailures::add(std::vector<ListCreationRun::Failure> failures) {
  if (failures.empty()) return;
  beginInsertRows({}, count(), count() + static_cast<int>(failures.size()) - 1);
  failures_.insert(failures_.end(), std::make_move_iterator(failures.begin()), std::make_move_iterator(failures.end()));
  endInsertRows();
  emit countChanged();
}

void ListFailures::clear() {
  if (failures_.empty()) return;
  beginResetModel();
  BackgroundTask::dispose(std::exchange(failures_, {}));
  endResetModel();
  emit countChanged();
}

QVariant ListFailures::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count()) return {};
  const ListCreationRun::Failure& failure = failures_[static_cast<std::size_t>(index.row())];
  if (role == Path || role == Qt::DisplayRole) return shownText(failure.path);
  return role == Message ? QVariant(QString::fromStdString(failure.sentence)) : QVariant();
}

}  // namespace tallyfold
