#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include <QAbstractListModel>

#include "app/files/FileJob.h"
#include "app/files/PreparedFiles.h"
#include "app/files/RowTable.h"
#include "core/services/HashService.h"

namespace tallyfold {

using ResultByJobID = std::unordered_map<Uuid, std::shared_ptr<const FileHashResult>>;

/// The file queue as a list for a view, in the order in which the files were added. On the interface thread.
class FileJobListModel : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ count NOTIFY countChanged)

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

  /// Announces the rows that were changed while it lives in one signal, when it dies.
  class Batch {
   public:
    explicit Batch(FileJobListModel& model) : model_(model) { ++model_.openBatches_; }
    ~Batch() {
      if (--model_.openBatches_ == 0) model_.announceChanges();
    }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

   private:
    FileJobListModel& model_;
  };

  /// `results` is read while the model lives.
  explicit FileJobListModel(const ResultByJobID& results, QObject* parent = nullptr);

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  [[nodiscard]] int count() const { return static_cast<int>(jobs_.size()); }
  [[nodiscard]] const std::vector<FileJob>& jobs() const { return jobs_; }

  /// The id of a row's job; the id of no job when there is no such row.
  Q_INVOKABLE [[nodiscard]] tallyfold::Uuid idAt(int row) const;

  [[nodiscard]] std::optional<std::size_t> rowOf(const Uuid& id) const;
  /// Null when the id is unknown.
  [[nodiscard]] const FileJob* job(const Uuid& id) const;

  /// Adds those of `files` that are not in the list yet, in one change, until there are `limit` rows. False when it was
  /// full before, or before all of `files` were looked at.
  bool add(PreparedFiles files, std::size_t limit);
  void remove(std::size_t row);
  /// Empties the list and returns what was in it.
  std::vector<FileJob> takeAll();
  void setState(std::size_t row, FileJob::State state);

 signals:
  void countChanged();

 private:
  [[nodiscard]] QString facts(const FileHashResult& result) const;
  void announceChanges();

  const ResultByJobID& results_;
  std::vector<FileJob> jobs_;
  RowTable jobIndexByID_;
  RowTable jobURLSet_;
  int openBatches_ = 0;
  std::size_t firstChanged_ = 0;
  std::size_t endChanged_ = 0;  // Nothing changed while it is 0.
};

}  // namespace tallyfold

Q_DECLARE_METATYPE(tallyfold::Uuid)
