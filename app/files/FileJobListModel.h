#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "app/files/FileJob.h"
#include "app/files/PreparedFiles.h"
#include "app/files/RowTable.h"
#include "app/shared/FilteredListModel.h"
#include "core/services/HashService.h"

namespace tallyfold {

using ResultByJobID = std::unordered_map<Uuid, std::shared_ptr<const FileHashResult>>;

/// The file queue as a list for a view, in the order in which the files were added. On the interface thread.
class FileJobListModel : public tallyfold::FilteredListModel {
  Q_OBJECT
  /// Of the marked files, some are calculated.
  Q_PROPERTY(bool hasMarkedResults READ hasMarkedResults NOTIFY marksChanged)

 public:
  enum Role {
    JobIdRole = Qt::UserRole,  ///< Uuid, opaque to the view.
    NameRole,                  ///< The file's name, safe to show on one line.
    FolderRole,                ///< The folder that holds it, safe to show on one line.
    StateRole,                 ///< State below.
    StatusRole,                ///< The state in words.
    ToneRole,                  ///< Tone of the state.
    ProgressRole,              ///< 0 to 1.
    MessageRole,               ///< Why it failed.
    FactsRole,                 ///< Size, duration and throughput of a finished file.
    DigestsRole,               ///< DigestLines in catalogue order.
  };
  enum State { Queued, Hashing, Complete, Failed };
  Q_ENUM(State)

  enum Filter { All, Failures, Waiting, Done };
  Q_ENUM(Filter)

  /// `results` is read while the model lives.
  explicit FileJobListModel(const ResultByJobID& results, QObject* parent = nullptr);

  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  [[nodiscard]] int total() const override { return static_cast<int>(rows_.jobs.size()); }
  /// All jobs, shown or not.
  [[nodiscard]] const std::vector<FileJob>& jobs() const { return rows_.jobs; }

  /// The id of a row's job; the id of no job when there is no such row.
  Q_INVOKABLE [[nodiscard]] tallyfold::Uuid idAt(int row) const;

  /// The index in `jobs()`.
  [[nodiscard]] std::optional<std::size_t> indexOf(const Uuid& id) const;
  /// Null when the id is unknown.
  [[nodiscard]] const FileJob* job(const Uuid& id) const;

  /// Adds those of `files` that are not in the list yet, in one change, until there are `limit` jobs. False when it was
  /// full before, or before all of `files` were looked at. What is left in `files` may be dear to destroy.
  bool add(PreparedFiles& files, std::size_t limit);
  void remove(std::size_t job);
  /// The results of the marked files that have one, in the order of the list.
  [[nodiscard]] FileHashResults markedResults() const;
  [[nodiscard]] bool hasMarkedResults() const;
  /// Removes what is marked, in one change, and returns it.
  std::vector<FileJob> removeMarked();
  /// Empties the list and returns what was in it.
  FileRows takeAll();
  /// Puts what `takeAll` returned back into the empty list.
  void putBack(FileRows rows);
  void setState(std::size_t job, FileJob::State state);

 private:
  [[nodiscard]] int stateOf(std::size_t job) const override;
  [[nodiscard]] std::string_view nameOf(std::size_t job) const override;
  [[nodiscard]] QString facts(const FileHashResult& result) const;
  void swapRows(FileRows& rows);

  static const std::array<FilterKind, 4> filterKinds;

  const ResultByJobID& results_;
  FileRows rows_;
};

}  // namespace tallyfold

Q_DECLARE_METATYPE(tallyfold::Uuid)
