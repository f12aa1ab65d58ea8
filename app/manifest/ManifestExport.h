#pragma once

#include <functional>
#include <memory>

#include <QString>

#include "app/shared/Saver.h"
#include "export/reports/VerificationReport.h"

namespace tallyfold {

/// The keeping of what came of a verification, as a report. On the interface thread.
class ManifestExport : public tallyfold::Saver {
  Q_OBJECT
  Q_PROPERTY(QString refusal READ refusal NOTIFY refusalChanged)

 public:
  enum Format { Text, Csv, Json };
  Q_ENUM(Format)

  /// What there is to be kept now.
  using Source = std::function<std::shared_ptr<const VerificationReport>()>;

  /// `context` must outlive it.
  ManifestExport(FlowContext& context, Source source);

  [[nodiscard]] QString refusal() const;
  /// Why the flow has nothing to be kept now; empty when it has.
  void setRefusal(const QString& refusal);

  /// Asks for a destination and saves there in the background what there is to be kept once it is chosen.
  Q_INVOKABLE void save(tallyfold::ManifestExport::Format format);

 signals:
  void refusalChanged();

 private:
  Source source_;
  QString refusal_;
};

}  // namespace tallyfold
