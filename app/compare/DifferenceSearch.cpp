#include "app/compare/DifferenceSearch.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "core/base/Errors.h"

namespace tallyfold {

namespace {

using Row = std::span<const std::byte>;

QString figure(std::int64_t number) { return userLocale().toString(static_cast<qlonglong>(number)); }

QString exact(std::int64_t bytes) { return exactByteCount(bytes); }

/// Nothing but what has a shape of its own in every font, and the space.
QChar shownByte(std::byte byte) {
  const auto code = std::to_integer<char16_t>(byte);
  return code >= 0x20 && code < 0x7F ? QChar(code) : QChar(u'.');
}

ByteRows rowsOf(const FileComparison::FirstDifference& difference, qsizetype bytesPerLine) {
  constexpr qsizetype leastDigits = 8;
  const Row rowOfA = difference.rowOfA;
  const Row rowOfB = difference.rowOfB;
  const auto end = static_cast<qsizetype>(std::max(rowOfA.size(), rowOfB.size()));
  const auto digits = std::max(leastDigits, QString::number(difference.rowOffset(), 16).size());
  const qsizetype hexStart = 3 + digits + 2;
  const qsizetype textStart = hexStart + 3 * bytesPerLine + 1;
  ByteRows rows{
      .text = {}, .columns = static_cast<int>(textStart + bytesPerLine), .firstColumn = static_cast<int>(hexStart)};
  for (qsizetype start = 0; start < end; start += bytesPerLine) {
    QString pointers(rows.columns, u' ');
    for (const auto& [name, row] : {std::pair(u'A', rowOfA), std::pair(u'B', rowOfB)}) {
      QString line(rows.columns, u' ');
      const auto put = [&](qsizetype at, const QString& text) { line.replace(at, text.size(), text); };
      put(0, QString(QChar(name)));
      put(3, QStringLiteral("%1").arg(difference.rowOffset() + start, static_cast<int>(digits), 16, QChar(u'0')));
      for (qsizetype i = 0; i < bytesPerLine; ++i) {
        const auto place = static_cast<std::size_t>(start + i);
        if (place >= row.size()) break;
        const qsizetype hex = hexStart + 3 * i;
        put(hex, QStringLiteral("%1").arg(std::to_integer<int>(row[place]), 2, 16, QChar(u'0')));
        put(textStart + i, QString(shownByte(row[place])));
        if (place >= std::min(rowOfA.size(), rowOfB.size()) || rowOfA[place] == rowOfB[place]) continue;
        for (const qsizetype at : {hex, hex + 1, textStart + i}) {
          QList<int>& marks = difference.rowOffset() + start + i == difference.offset ? rows.firstMarks : rows.marks;
          marks.append(static_cast<int>(rows.text.size() + at));
          pointers[at] = u'^';
        }
      }
      rows.text += line + u'\n';
    }
    while (pointers.endsWith(u' ')) pointers.chop(1);
    rows.text += pointers + u'\n';
  }
  while (rows.text.endsWith(u'\n')) rows.text.chop(1);
  return rows;
}

}  // namespace

QString subjectOf(FileComparison::Side side, const std::filesystem::path& a, const std::filesystem::path& b) {
  if (side == FileComparison::Side::neither) return {};
  const bool isA = side == FileComparison::Side::a;
  return (isA ? DifferenceSearch::tr("File A: %1") : DifferenceSearch::tr("File B: %1"))
      .arg(displayText((isA ? a : b).filename()));
}

DifferenceSearch::DifferenceSearch(FlowContext& context) : context_(context), task_(*this, context.mailbox()) {}

void DifferenceSearch::setComparison(const std::filesystem::path& a, const std::filesystem::path& b,
                                     const FileComparisonWithVersions& comparison) {
  reset();
  files_ = {a, b, comparison};
  setDifference(comparison.difference);
  emit changed();
}

void DifferenceSearch::reset() {
  cancel();
  files_.reset();
  difference_.reset();
  isCommonPartCompared_ = false;
  all_.reset();
  outcome_.reset();
  emit changed();
}

void DifferenceSearch::setDifference(const std::optional<FileComparison::FirstDifference>& difference) {
  difference_ = difference;
  const auto& [a, b] = files_->comparison.versions;
  // Behind it there is nothing to be counted.
  if (difference && difference->offset + 1 == std::min(a.fileSize, b.fileSize)) {
    all_ = FileComparison::Differences{.bytes = 1, .runs = 1, .last = difference->offset};
  }
}

bool DifferenceSearch::isOfCommonPart() const {
  return files_ && std::holds_alternative<FileComparison::DifferentSize>(files_->comparison.result);
}

QList<ByteRows> DifferenceSearch::rows() const {
  if (!difference_) return {ByteRows()};
  return {rowsOf(*difference_, 16), rowsOf(*difference_, 8), rowsOf(*difference_, 4)};
}

QString DifferenceSearch::caption() const {
  if (!difference_) return {};
  const auto size = static_cast<std::int64_t>(std::max(difference_->rowOfA.size(), difference_->rowOfB.size()));
  const std::int64_t first = difference_->rowOffset();
  return size == 1 ? tr("Byte %1, counted from 0").arg(figure(first))
                   : tr("Bytes %1 to %2, counted from 0").arg(figure(first), figure(first + size - 1));
}

QStringList DifferenceSearch::answers() const {
  QStringList answers;
  if (isCommonPartCompared_) {
    const auto [a, b] = files_->comparison.versions;
    const bool isALonger = a.fileSize > b.fileSize;
    const QString shorter = isALonger ? tr("B") : tr("A");
    const QString longer = isALonger ? tr("A") : tr("B");
    const std::int64_t least = std::min(a.fileSize, b.fileSize);
    if (difference_) {
      answers.append(
          tr("In the common part, of %1, the first difference is at byte %2, counted\u00A0from\u00A00 (0x%3).")
              .arg(exact(least), figure(difference_->offset))
              .arg(difference_->offset, 0, 16));
    } else if (least == 0) {
      answers.append(tr("%1 is empty, and an empty file is the beginning of every file.").arg(shorter));
    } else {
      answers.append(tr("%1 is the beginning of %2.").arg(shorter, longer));
    }
  }
  if (all_) answers.append(countedAnswer());
  return answers;
}

QString DifferenceSearch::countedAnswer() const {
  if (all_->bytes == 1) {
    return isOfCommonPart() ? tr("Nothing else of the common part differs.") : tr("Nothing else differs.");
  }
  const QString runs = all_->runs == 1 ? tr("in one run") : tr("in %1 runs").arg(figure(all_->runs));
  const QString found = isOfCommonPart() ? tr("%1 bytes of the common part differ, %2.") : tr("%1 bytes differ, %2.");
  return found.arg(figure(all_->bytes), runs) + u' ' +
         tr("The last of them is byte %1, counted\u00A0from\u00A00.").arg(figure(all_->last));
}

QString DifferenceSearch::action() const {
  if (isOfCommonPart() && !isCommonPartCompared_) return tr("Compare the Common Part");
  return difference_ && !all_ ? tr("Count All Differences") : QString();
}

QString DifferenceSearch::reason() const {
  if (action().isEmpty()) return {};
  return difference_ ? tr("The rest of the files was not compared.") : tr("What is in them was not compared.");
}

void DifferenceSearch::start() {
  if (isWorking_ || action().isEmpty()) return;
  const auto& [a, b] = files_->comparison.versions;
  const std::int64_t common = std::min(a.fileSize, b.fileSize);
  if (!difference_) {
    start(
        common,
        [](const Files& files, const auto& cancellation, const auto& progress, auto* sideAtWork) {
          return HashService::compareCommonPart(files.a, files.b, files.comparison.versions, cancellation, progress,
                                                sideAtWork);
        },
        [](DifferenceSearch& self, const auto& found) {
          self.setDifference(found);
          self.isCommonPartCompared_ = true;
        });
  } else {
    start(
        common - difference_->offset,
        [first = difference_->offset](const Files& files, const auto& cancellation, const auto& progress,
                                      auto* sideAtWork) {
          return HashService::countDifferences(files.a, files.b, files.comparison.versions, first, cancellation,
                                               progress, sideAtWork);
        },
        [](DifferenceSearch& self, const auto& found) { self.all_ = found; });
  }
}

template <typename Work, typename Take>
void DifferenceSearch::start(std::int64_t size, Work work, Take take) {
  context_.setErrorMessage(QString());
  size_ = size;
  setWorking(true);
  counter_ = std::make_shared<ReadCounter>(0);
  runStatus_.start(1, counter_);
  runStatus_.addSizes({size});
  advance(0);
  const qsizetype known = answers().size();
  const auto sideAtWork = std::make_shared<FileComparison::Side>(FileComparison::Side::neither);
  task_.start(
      BackgroundTask::Priority::userInitiated,
      [files = *files_, work = std::move(work), take = std::move(take), sideAtWork, known](const Task::Context& task) {
        const auto progress = [&](double fraction) {
          task.post([fraction](DifferenceSearch& self) { self.advance(fraction); });
        };
        task.post([found = work(files, task.cancellation(), progress, sideAtWork.get()), take,
                   known](DifferenceSearch& self) {
          take(self, found);
          self.outcome_ = self.answers().value(known);
          emit self.changed();
          emit self.ended(Outcome::SomeFailed);
        });
      },
      [sideAtWork](DifferenceSearch& self, const std::exception_ptr& failure) {
        if (failure) {
          self.tellFailure(failure, *sideAtWork);
          emit self.ended(Outcome::SomeFailed);
        }
        self.setWorking(false);
      });
}

void DifferenceSearch::cancel() {
  task_.abandon();
  setWorking(false);
}

void DifferenceSearch::setWorking(bool isWorking) {
  if (std::exchange(isWorking_, isWorking) == isWorking) return;
  if (!isWorking) runStatus_.end();
  emit isWorkingChanged();
}

void DifferenceSearch::advance(double progress) {
  *counter_ = std::llround(progress * static_cast<double>(size_));
  runStatus_.advance({.fraction = progress, .file = displayText(files_->a.filename())});
}

void DifferenceSearch::tellFailure(const std::exception_ptr& failure, FileComparison::Side sideAtWork) {
  outcome_ = QString();
  const QString subject = subjectOf(sideAtWork, files_->a, files_->b);
  try {
    std::rethrow_exception(failure);
  } catch (const HashServiceError& error) {
    const bool isChanged = error.value() == HashServiceError::Case::fileChangedDuringRead;
    // To ask the same once more would not help.
    const QString advice = tr("A file has changed since the comparison. Compare the files again.");
    context_.setErrorMessage(isChanged ? advice : QString::fromUtf8(error.what()), subject);
  } catch (...) {
    context_.setErrorMessage(failure, subject);
  }
}

}  // namespace tallyfold
