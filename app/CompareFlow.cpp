#include <type_traits>
#include <utility>

#include <QPointer>

#include "app/AppViewModel.h"
#include "app/FileLocation.h"
#include "app/Formats.h"
#include "core/Errors.h"
#include "core/FileComparison.h"

namespace tallyfold {

void AppViewModel::setCompareFiles(const QList<QUrl>& urls, bool isSecondSide) {
  if (isComparing_ || urls.isEmpty()) return;
  const auto first = fileLocation(urls.at(0));
  const auto second = urls.size() > 1 ? fileLocation(urls.at(1)) : std::nullopt;
  if (!first) return;
  resetComparison();
  if (second || !isSecondSide) {
    compareFirstURL_ = first;
    compareFirstSize_.ask(first);
  }
  if (second || isSecondSide) {
    compareSecondURL_ = second ? second : first;
    compareSecondSize_.ask(compareSecondURL_);
  }
  emit compareURLsChanged();
}

void AppViewModel::chooseCompareFile(bool isSecondSide) {
  if (isComparing_) return;
  desktop_.chooseSingleFile([this, alive = QPointer(this), isSecondSide](const QUrl& url) {
    if (alive) setCompareFiles({url}, isSecondSide);
  });
}

void AppViewModel::swapCompareFiles() {
  if (isComparing_) return;
  resetComparison();
  compareFirstURL_.swap(compareSecondURL_);
  compareFirstSize_.swap(compareSecondSize_);
  emit compareURLsChanged();
}

QVariantMap AppViewModel::compareFirstFile() const { return fileCard(compareFirstURL_, compareFirstSize_.text()); }

QVariantMap AppViewModel::compareSecondFile() const { return fileCard(compareSecondURL_, compareSecondSize_.text()); }

QString AppViewModel::compareRefusal() const {
  return compareFirstURL_ && compareSecondURL_ ? QString() : tr("Choose two files first.");
}

void AppViewModel::compare() {
  if (isComparing_ || compareTask_.isRunning() || !compareFirstURL_ || !compareSecondURL_) return;
  resetComparison();
  setErrorMessage({});
  setComparing(true);
  compareTask_.start(
      BackgroundTask::Priority::userInitiated,
      [first = *compareFirstURL_, second = *compareSecondURL_](const BackgroundTask::Context& context) {
        const auto progress = [&](double fraction) {
          context.post([fraction](AppViewModel& model) { model.setCompareProgress(fraction); });
        };
        const FileComparisonResult result = HashService::compareFiles(first, second, context.cancellation(), progress);
        context.post([result](AppViewModel& model) {
          model.setCompareProgress(1);
          model.setCompareResult(result);
        });
      },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (failure) {
          model.setErrorMessage(QString::fromStdString(errorDescription(failure)));
          model.setUnseenOutcome(AppMode::Compare, SomeFailed);
        }
        model.setComparing(false);
      });
}

void AppViewModel::resetComparison() {
  compareTask_.abandon();
  setCompareResult(std::nullopt);
  setCompareProgress(0);
  setComparing(false);
}

QVariantMap AppViewModel::compareResultForScreen() const {
  if (!compareResult_) return {};
  const auto words = [&](const auto& outcome) -> QVariantMap {
    using Case = std::decay_t<decltype(outcome)>;
    if constexpr (std::is_same_v<Case, FileComparison::Identical>) {
      return {{QStringLiteral("icon"), QStringLiteral("checkmark.circle.fill")},
              {QStringLiteral("outcome"), AllWell},
              {QStringLiteral("title"), tr("Files are identical")},
              {QStringLiteral("details"), QStringList{}}};
    } else {
      QStringList details;
      if constexpr (std::is_same_v<Case, FileComparison::DifferentSize>) {
        const qint64 difference =
            outcome.sizeOfA > outcome.sizeOfB ? outcome.sizeOfA - outcome.sizeOfB : outcome.sizeOfB - outcome.sizeOfA;
        details = {
            tr("Different sizes — A: %1, B: %2").arg(exactByteCount(outcome.sizeOfA), exactByteCount(outcome.sizeOfB)),
            tr("The difference is %1.").arg(exactByteCount(difference))};
      } else {
        details = {tr("First difference at byte %1").arg(outcome.offset),
                   tr("Hexadecimal: 0x%1").arg(outcome.offset, 0, 16)};
      }
      return {{QStringLiteral("icon"), QStringLiteral("xmark.circle.fill")},
              {QStringLiteral("outcome"), SomeFailed},
              {QStringLiteral("title"), tr("Files are different")},
              {QStringLiteral("details"), details}};
    }
  };
  return std::visit(words, *compareResult_);
}

void AppViewModel::setCompareResult(std::optional<FileComparisonResult> result) {
  if (std::exchange(compareResult_, result) == compareResult_) return;
  emit compareResultChanged();
  if (!compareResult_) return;
  const bool isIdentical = std::holds_alternative<FileComparison::Identical>(*compareResult_);
  setUnseenOutcome(AppMode::Compare, isIdentical ? AllWell : SomeFailed);
}

void AppViewModel::setCompareProgress(double progress) {
  if (std::exchange(compareProgress_, progress) != progress) emit compareProgressChanged();
}

void AppViewModel::setComparing(bool isComparing) {
  if (std::exchange(isComparing_, isComparing) != isComparing) emit isComparingChanged();
}

}  // namespace tallyfold
