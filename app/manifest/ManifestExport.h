#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include <QObject>
#include <QString>

#include "app/shared/FlowContext.h"
#include "app/tasks/BackgroundTask.h"
#include "export/reports/VerificationReport.h"

namespace tallyfold {

/// The keeping of what came of a verification, as a report. On the interface thread.
class ManifestExport : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isSaving READ isSaving NOTIFY changed)
  Q_PROPERTY(QString refusal READ refusal NOTIFY changed)
  Q_PROPERTY(QString savedPlace READ savedPlace NOTIFY changed)

 public:
  enum Format { Text, Csv, Json };
  Q_ENUM(Format)

  /// What there is to be kept now; null when there is nothing.
  using Source = std::function<std::shared_ptr<const VerificationReport>()>;

  /// `context` must outlive it.
  ManifestExport(FlowContext& context, Source source) : context_(context), source_(std::move(source)) {}

  [[nodiscard]] bool isSaving() const { return isSaving_; }
  /// A report is on its way to the disk, or was left behind on it.
  [[nodiscard]] bool isOnItsWay() const { return isSaving_ || hasLeftSaveBehind_; }
  [[nodiscard]] QString refusal() const;
  /// Why the flow has nothing to be kept now; empty when it has.
  void setRefusal(const QString& refusal);
  /// Where the last report was saved, safe to show on one line; empty once that is dismissed.
  [[nodiscard]] QString savedPlace() const;

  /// Asks for a destination and saves there in the background what there is to be kept once it is chosen.
  Q_INVOKABLE void save(tallyfold::ManifestExport::Format format);
  /// What was saved by then is saved all the same, and is said to be.
  Q_INVOKABLE void cancel() { task_.cancel(); }
  /// Shows the report that was saved last in the file browser.
  Q_INVOKABLE void showSaved();
  Q_INVOKABLE void dismiss();

 signals:
  void changed();

 private:
  void saveAs(const std::filesystem::path& destination, ManifestService::Format format);
  void endSaving(const std::filesystem::path& destination, bool isSaved, const std::exception_ptr& failure);

  FlowContext& context_;
  Source source_;
  QString refusal_;
  std::optional<std::filesystem::path> saved_;
  bool isSaving_ = false;
  bool hasLeftSaveBehind_ = false;
  FlowTask<ManifestExport> task_{*this, context_.mailbox()};
};

}  // namespace tallyfold
