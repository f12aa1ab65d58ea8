#include <type_traits>
#include <utility>

#include <QPointer>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "core/base/Errors.h"
#include "core/services/FileComparison.h"

namespace tallyfold {

void AppViewModel::setCompareFiles(const QList<QUrl>& urls, bool isSecondSide) {
  if (compare_.isRunning || urls.isEmpty()) return;
  const auto first = fileLocation(urls.at(0));
  const auto second = urls.size() > 1 ? fileLocation(urls.at(1)) : std::nullopt;
  if (!first) return;
  resetComparison();
  if (second || !isSecondSide) {
    compare_.firstURL = first;
    compareFirstSize_.ask(first);
  }
  if (second || isSecondSide) {
    compare_.secondURL = second ? second : first;
    compareSecondSize_.ask(compare_.secondURL);
  }
  emit compareURLsChanged();
}

void AppViewModel::chooseCompareFile(bool isSecondSide) {
  if (compare_.isRunning) return;
  desktop_.chooseSingleFile([this, alive = QPointer(this), isSecondSide](const QUrl& url) {
    if (alive) setCompareFiles({url}, isSecondSide);
  });
}

void AppViewModel::swapCompareFiles() {
  if (compare_.isRunning) return;
  resetComparison();
  compare_.firstURL.swap(compare_.secondURL);
  compareFirstSize_.swap(compareSecondSize_);
  emit compareURLsChanged();
}

QVariantMap AppViewModel::compareFirstFile() const { return fileCard(compare_.firstURL, compareFirstSize_.text()); }

QVariantMap AppViewModel::compareSecondFile() const { return fileCard(compare_.secondURL, compareSecondSize_.text()); }

QString AppViewModel::compareRefusal() const {
  return compare_.firstURL && compare_.secondURL ? QString() : tr("Choose two files first.");
}

void AppViewModel::compare() {
  if (compare_.isRunning || compareTask_.isRunning() || !compare_.firstURL || !compare_.secondURL) return;
  resetComparison();
  setErrorMessage({});
  setComparing(true);
  compareTask_.start(
      BackgroundTask::Priority::userInitiated,
      [first = *compare_.firstURL, second = *compare_.secondURL](const BackgroundTask::Context& context) {
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
  if (!compare_.result) return {};
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
  return std::visit(words, *compare_.result);
}

void AppViewModel::setCompareResult(std::optional<FileComparisonResult> result) {
  if (std::exchange(compare_.result, result) == compare_.result) return;
  emit compareResultChanged();
  if (!compare_.result) return;
  const bool isIdentical = std::holds_alternative<FileComparison::Identical>(*compare_.result);
  setUnseenOutcome(AppMode::Compare, isIdentical ? AllWell : SomeFailed);
}

void AppViewModel::setCompareProgress(double progress) {
  if (std::exchange(compare_.progress, progress) != progress) emit compareProgressChanged();
}

void AppViewModel::setComparing(bool isComparing) {
  if (std::exchange(compare_.isRunning, isComparing) != isComparing) emit isComparingChanged();
}

}  // namespace tallyfold
