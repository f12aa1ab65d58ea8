#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <string_view>
#include <utility>
#include <vector>

#include <QByteArray>

#include "app/manifest/ManifestJob.h"
#include "app/shared/FilteredListModel.h"

namespace tallyfold {

/// The entries of a checksum list for a view, in the order of the list. On the interface thread.
class ManifestJobListModel : public tallyfold::FilteredListModel {
  Q_OBJECT
  /// The largest line number of all jobs, as it is shown.
  Q_PROPERTY(QString lastNumber READ lastNumber NOTIFY countsChanged)

 public:
  enum Role {
    LineNumberRole = Qt::UserRole,  ///< In the list, from 1.
    NumberRole,                     ///< The line number as it is shown.
    PathRole,                       ///< As the list gives it, safe to show on one line.
    AlgorithmRole,                  ///< Display name.
    StateRole,                      ///< State below.
    StatusRole,                     ///< The state in words.
    ToneRole,                       ///< Tone of the state.
    ExpectedRole,                   ///< Digest.
    ActualRole,                     ///< Digest of a mismatch; empty otherwise.
    SizeNoteRole,                   ///< Of a mismatch: that the list says another size; empty otherwise.
    NoteRole,                       ///< What is known of where a missing file is; empty otherwise.
    DifferenceRole,                 ///< Where expected and actual part, in digits; -1 when there is no mismatch.
  };
  enum State { Queued, Verifying, Match, Mismatch, Failed };
  Q_ENUM(State)
  enum Filter { All, Mismatches, Failures, Waiting, Matches };
  Q_ENUM(Filter)

  struct Rows {
    std::vector<ManifestJob> jobs{};
    std::vector<std::int64_t> sizes{};  ///< As the list says, see `ListReading::sizes`.
  };

  explicit ManifestJobListModel(QObject* parent = nullptr) : FilteredListModel(filterKinds, Verifying, parent) {}

  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  /// All jobs, shown or not.
  [[nodiscard]] const std::vector<ManifestJob>& jobs() const { return jobs_; }
  /// As the list says, see `ListReading::sizes`.
  [[nodiscard]] const std::vector<std::int64_t>& sizes() const { return sizes_; }
  [[nodiscard]] int total() const override { return static_cast<int>(jobs_.size()); }
  [[nodiscard]] QString lastNumber() const;

  /// The jobs of so many shown rows, or of those that there are, as they are now.
  [[nodiscard]] std::vector<ManifestJob> shownJobs(int first, int most) const;
  /// A line of text for each: line number, algorithm, path, status and, of a mismatch, the expected digest, with tabs
  /// between them. A path can become eight times as long. On any thread; throws CancellationError.
  static QByteArray text(const std::vector<ManifestJob>& jobs, const std::stop_token& cancellation = {});

  /// Replaces all rows in one change, shows all of them, and returns those that were there.
  Rows replaceAll(Rows rows);
  /// What says where the missing file of a job may be, and that it says something else by now.
  void setNotes(std::function<QString(std::size_t job)> notes) { notes_ = std::move(notes); }
  void announceNotes();
  /// `job` is an index of `jobs()`, not of the rows shown.
  void setState(std::size_t job, ManifestJob::State state);
  void requeueAll();
  /// Requeues all jobs, and gives the states that they were in, in their order.
  std::vector<ManifestJob::State> takeStates();

 private:
  [[nodiscard]] int stateOf(std::size_t job) const override;
  [[nodiscard]] std::string_view nameOf(std::size_t job) const override;
  [[nodiscard]] QString sizeNote(std::size_t job) const;

  static const std::array<FilterKind, 5> filterKinds;

  std::vector<ManifestJob> jobs_;
  std::vector<std::int64_t> sizes_;
  std::function<QString(std::size_t job)> notes_ = [](std::size_t) { return QString(); };
};

}  // namespace tallyfold
