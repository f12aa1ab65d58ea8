#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <QByteArray>
#include <QString>

#include "app/shared/FilteredListModel.h"
#include "checksums/audit/UnlistedFiles.h"

namespace tallyfold {

/// The files of a folder that a checksum list does not name, for a view. On the interface thread.
class UnlistedModel : public tallyfold::FilteredListModel {
  Q_OBJECT

 public:
  enum Role {
    PathRole = Qt::UserRole,  ///< Below the root, safe to show on one line.
    NoteRole,                 ///< What is known of the file; may be empty.
  };

  explicit UnlistedModel(QObject* parent = nullptr) : FilteredListModel(filterKinds, noState, parent) {}

  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override {
    return {{MarkedRole, "isMarked"}, {PathRole, "path"}, {NoteRole, "note"}};
  }
  [[nodiscard]] int total() const override { return static_cast<int>(files_->paths.size()); }

  /// Never null.
  [[nodiscard]] const std::shared_ptr<const UnlistedFiles>& files() const { return files_; }
  /// Replaces all rows in one change, and returns what was there.
  std::shared_ptr<const UnlistedFiles> replaceAll(std::shared_ptr<const UnlistedFiles> files);
  /// What says what is known of a file, and that it says something else by now.
  void setNotes(std::function<QString(std::size_t file)> notes) { notes_ = std::move(notes); }
  void announceNotes();
  /// The paths of so many shown rows, or of those that there are, and of those that are marked.
  [[nodiscard]] std::vector<std::string> shownPaths(int first, int most) const;
  [[nodiscard]] std::vector<std::string> markedPaths() const;
  /// A line of text for each. On any thread; throws CancellationError.
  static QByteArray text(const std::vector<std::string>& paths, const std::stop_token& cancellation);

 private:
  static constexpr int noState = -1;
  static const std::array<FilterKind, 1> filterKinds;

  [[nodiscard]] int stateOf(std::size_t /*job*/) const override { return 0; }
  [[nodiscard]] std::string_view nameOf(std::size_t job) const override { return files_->paths[job]; }

  std::shared_ptr<const UnlistedFiles> files_ = std::make_shared<const UnlistedFiles>();
  std::function<QString(std::size_t file)> notes_ = [](std::size_t) { return QString(); };
};

}  // namespace tallyfold
