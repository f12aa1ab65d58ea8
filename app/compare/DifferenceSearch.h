#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include "app/shared/FlowContext.h"
#include "app/shared/Outcome.h"
#include "app/shared/RunStatus.h"
#include "core/services/FileComparison.h"
#include "core/services/HashService.h"

namespace tallyfold {

/// The bytes of both files around a difference, one above the other, in characters of one width.
struct ByteRows {
  Q_GADGET
  Q_PROPERTY(QString text MEMBER text CONSTANT)
  Q_PROPERTY(int columns MEMBER columns CONSTANT)
  Q_PROPERTY(int firstColumn MEMBER firstColumn CONSTANT)
  Q_PROPERTY(QList<int> marks MEMBER marks CONSTANT)
  Q_PROPERTY(QList<int> firstMarks MEMBER firstMarks CONSTANT)

 public:
  QString text;
  int columns = 0;      ///< Characters of the longest line.
  int firstColumn = 0;  ///< Of the bytes: before are the names of the files, and the offsets.
  QList<int> marks{};   ///< Positions in the text of what shows a byte that differs; a line below points there, too.
  QList<int> firstMarks{};  ///< Of these, those of the first one.

  bool operator==(const ByteRows&) const = default;
};

/// "File A: report.pdf", safe to show on one line; empty for neither.
QString subjectOf(FileComparison::Side side, const std::filesystem::path& a, const std::filesystem::path& b);

/// What can be said of two files beyond the result of their comparison: the bytes where they differ first, whether one
/// is the beginning of the other, how much of them differs. Part of a flow, on the interface thread.
class DifferenceSearch : public QObject {
  Q_OBJECT
  Q_PROPERTY(QList<tallyfold::ByteRows> rows READ rows NOTIFY changed)
  Q_PROPERTY(QString caption READ caption NOTIFY changed)
  Q_PROPERTY(QStringList answers READ answers NOTIFY changed)
  Q_PROPERTY(QString action READ action NOTIFY changed)
  Q_PROPERTY(QString reason READ reason NOTIFY changed)
  Q_PROPERTY(bool isWorking READ isWorking NOTIFY isWorkingChanged)
  Q_PROPERTY(tallyfold::RunStatus* runStatus READ runStatus CONSTANT)

 public:
  /// `context` must outlive it.
  explicit DifferenceSearch(FlowContext& context);

  /// Begins anew with a comparison of these files.
  void setComparison(const std::filesystem::path& a, const std::filesystem::path& b,
                     const FileComparisonWithVersions& comparison);
  /// Cancels, and forgets all.
  void reset();

  /// The bytes around a difference in lines of 16, 8 and 4 bytes, so that one fits; one without text while no
  /// difference is known.
  [[nodiscard]] QList<ByteRows> rows() const;
  /// Which bytes these are.
  [[nodiscard]] QString caption() const;
  /// What was found, in sentences.
  [[nodiscard]] QStringList answers() const;
  /// What came of what was asked last, in a sentence; empty when it failed, and none before.
  [[nodiscard]] const std::optional<QString>& outcome() const { return outcome_; }
  /// What can be asked next, in a few words; empty when nothing.
  [[nodiscard]] QString action() const;
  /// Why it may be asked, in a sentence; empty with the action.
  [[nodiscard]] QString reason() const;
  [[nodiscard]] bool isWorking() const { return isWorking_; }
  [[nodiscard]] RunStatus* runStatus() { return &runStatus_; }

  /// Asks it, unless that is under way. What fails is an error message, and can be asked again.
  Q_INVOKABLE void start();
  Q_INVOKABLE void cancel();
  /// To the clipboard, as they are shown.
  Q_INVOKABLE void copy(const tallyfold::ByteRows& rows) const { context_.copy(rows.text.toUtf8()); }

 signals:
  void changed();
  void isWorkingChanged();
  void ended(tallyfold::Outcome::Case outcome);

 private:
  using Task = FlowTask<DifferenceSearch>;

  [[nodiscard]] bool isOfCommonPart() const;
  [[nodiscard]] QString countedAnswer() const;
  /// `work(files, cancellation, progress, sideAtWork)` returns what `take(*this, found)` keeps. It reads so many bytes
  /// of each file.
  template <typename Work, typename Take>
  void start(std::int64_t size, Work work, Take take);
  void setWorking(bool isWorking);
  /// Of the bytes to be read of each file, 0 to 1.
  void advance(double progress);
  void tellFailure(const std::exception_ptr& failure, FileComparison::Side sideAtWork);
  void setDifference(const std::optional<FileComparison::FirstDifference>& difference);

  struct Files {
    std::filesystem::path a;
    std::filesystem::path b;
    FileComparisonWithVersions comparison;
  };

  FlowContext& context_;
  std::optional<Files> files_;
  std::optional<FileComparison::FirstDifference> difference_;
  bool isCommonPartCompared_ = false;
  std::optional<FileComparison::Differences> all_;
  std::optional<QString> outcome_;
  RunStatus runStatus_;
  std::shared_ptr<ReadCounter> counter_;
  bool isWorking_ = false;
  std::int64_t size_ = 0;  // Bytes to be read of each file.
  Task task_;
};

}  // namespace tallyfold
