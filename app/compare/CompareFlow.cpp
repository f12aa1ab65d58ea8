#include "app/compare/CompareFlow.h"

#include <memory>
#include <type_traits>
#include <utility>

#include <QPointer>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "core/services/HashService.h"

namespace tallyfold {

CompareFlow::CompareFlow(FlowContext& context)
    : Flow(context),
      calculation_(*this, context,
                   {&CompareFlow::compareResultChanged, &CompareFlow::compareProgressChanged,
                    &CompareFlow::isComparingChanged}) {
  connect(this, &CompareFlow::isComparingChanged, this, &Flow::isBusyChanged);
  connect(&differences_, &DifferenceSearch::isWorkingChanged, this, &Flow::isBusyChanged);
  connect(&differences_, &DifferenceSearch::ended, this, &Flow::ended);
  connect(this, &CompareFlow::compareResultChanged, this, [this] {
    if (const auto& comparison = calculation_.result()) {
      differences_.setComparison(*firstURL_, *secondURL_, *comparison);
    } else {
      differences_.reset();
    }
  });
}

void CompareFlow::setCompareFiles(const QList<QUrl>& urls, bool isSecondSide) {
  if (isBusy() || urls.isEmpty()) return;
  const auto first = fileLocation(urls.at(0));
  const auto second = urls.size() > 1 ? fileLocation(urls.at(1)) : std::nullopt;
  if (!first) return;
  resetComparison();
  if (second || !isSecondSide) {
    firstURL_ = first;
    firstSize_.ask(first);
  }
  if (second || isSecondSide) {
    secondURL_ = second ? second : first;
    secondSize_.ask(secondURL_);
  }
  emit compareURLsChanged();
}

void CompareFlow::chooseCompareFile(bool isSecondSide) {
  if (isBusy()) return;
  context().desktop().chooseSingleFile([this, alive = QPointer(this), isSecondSide](const QUrl& url) {
    if (alive) setCompareFiles({url}, isSecondSide);
  });
}

void CompareFlow::swapCompareFiles() {
  if (isBusy()) return;
  resetComparison();
  firstURL_.swap(secondURL_);
  firstSize_.swap(secondSize_);
  emit compareURLsChanged();
}

FileCard CompareFlow::compareFirstFile() const { return fileCard(firstURL_, firstSize_.text()); }

FileCard CompareFlow::compareSecondFile() const { return fileCard(secondURL_, secondSize_.text()); }

QString CompareFlow::compareRefusal() const {
  return firstURL_ && secondURL_ ? QString() : tr("Choose two files first.");
}

QString CompareFlow::compareInputRefusal() const { return isBusy() ? tr("A comparison is under way.") : QString(); }

void CompareFlow::compare() {
  if (isBusy() || !calculation_.isStartable() || !firstURL_ || !secondURL_) return;
  context().setErrorMessage(QString());
  const auto sideAtWork = std::make_shared<FileComparison::Side>(FileComparison::Side::neither);
  calculation_.start(
      [first = *firstURL_, second = *secondURL_, sideAtWork](const std::stop_token& cancellation,
                                                             const auto& progress) {
        return HashService::compareFilesKeepingVersions(first, second, cancellation, progress, sideAtWork.get());
      },
      [sideAtWork](CompareFlow& flow, const std::exception_ptr& failure) {
        flow.context().setErrorMessage(failure, subjectOf(*sideAtWork, *flow.firstURL_, *flow.secondURL_));
        emit flow.ended(Outcome::SomeFailed);
      });
}

std::optional<FileComparisonResult> CompareFlow::compareResult() const {
  const auto& comparison = calculation_.result();
  return comparison ? std::optional(comparison->result) : std::nullopt;
}

QString CompareFlow::outcomeSentence() const { return differences_.outcome().value_or(compareResultForScreen().title); }

CompareVerdict CompareFlow::compareResultForScreen() const {
  if (!calculation_.result()) return {};
  const auto words = [](const auto& result) -> CompareVerdict {
    using Case = std::decay_t<decltype(result)>;
    if constexpr (std::is_same_v<Case, FileComparison::Identical>) {
      return {.kind = CompareVerdict::Identical, .tone = Tone::Good, .title = tr("Files are identical")};
    } else if constexpr (std::is_same_v<Case, FileComparison::DifferentSize>) {
      const qint64 difference =
          result.sizeOfA > result.sizeOfB ? result.sizeOfA - result.sizeOfB : result.sizeOfB - result.sizeOfA;
      return {
          .kind = CompareVerdict::DifferentSize,
          .tone = Tone::Bad,
          .title = tr("Files are different"),
          .details = {
              tr("Different sizes — A: %1, B: %2").arg(exactByteCount(result.sizeOfA), exactByteCount(result.sizeOfB)),
              tr("The difference is %1.").arg(exactByteCount(difference))}};
    } else {
      return {.kind = CompareVerdict::ContentMismatch,
              .tone = Tone::Bad,
              .title = tr("Files are different"),
              .details = {tr("First difference at byte %1").arg(userLocale().toString(result.offset)),
                          tr("Counted from 0. Hexadecimal: 0x%1").arg(result.offset, 0, 16)}};
    }
  };
  return std::visit(words, calculation_.result()->result);
}

Outcome::Case CompareFlow::outcomeOf(const FileComparisonWithVersions& comparison) {
  return std::holds_alternative<FileComparison::Identical>(comparison.result) ? Outcome::AllWell : Outcome::SomeFailed;
}

}  // namespace tallyfold
