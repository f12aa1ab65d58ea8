#pragma once

#include <vector>

#include <QAbstractListModel>

#include "app/creation/ListCreationRun.h"

namespace tallyfold {

/// The files and folders of which a new list says nothing, and why. On the interface thread.
class ListFailures : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ count NOTIFY countChanged)

 public:
  enum Role { Path = Qt::UserRole, Message };

  [[nodiscard]] int count() const { return static_cast<int>(failures_.size()); }
  void add(std::vector<ListCreationRun::Failure> failures);
  void clear();

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : count(); }
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override { return {{Path, "path"}, {Message, "message"}}; }

 signals:
  void countChanged();

 private:
  std::vector<ListCreationRun::Failure> failures_;
};

}  // namespace tallyfold
