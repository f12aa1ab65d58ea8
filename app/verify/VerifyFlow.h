#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include "app/shared/Calculation.h"
#include "app/shared/FileCard.h"
#include "app/shared/Flow.h"
#include "app/verify/VerificationResult.h"
#include "app/verify/VerifyVerdict.h"

namespace tallyfold {

/// Verify mode: one file against one pasted checksum.
class VerifyFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(tallyfold::FileCard verifyFile READ verifyFile NOTIFY verifyURLChanged)
  Q_PROPERTY(QString expectedHash READ expectedHash WRITE setExpectedHash NOTIFY expectedHashChanged)
  Q_PROPERTY(QString expectedHashHint READ expectedHashHint CONSTANT)
  Q_PROPERTY(QStringList verifyAlgorithms READ verifyAlgorithms CONSTANT)
  Q_PROPERTY(QString verifyAlgorithm READ verifyAlgorithm WRITE setVerifyAlgorithm NOTIFY verifyAlgorithmChanged)
  Q_PROPERTY(QString recognisedAlgorithm READ recognisedAlgorithm NOTIFY recognisedAlgorithmChanged)
  Q_PROPERTY(tallyfold::VerifyVerdict verifyResult READ verifyResultForScreen NOTIFY verifyResultChanged)
  Q_PROPERTY(double verifyProgress READ verifyProgress NOTIFY verifyProgressChanged)
  Q_PROPERTY(bool isVerifying READ isVerifying NOTIFY isVerifyingChanged)
  Q_PROPERTY(QString verifyRefusal READ verifyRefusal NOTIFY verifyURLChanged)
  Q_PROPERTY(QString verifyInputRefusal READ verifyInputRefusal NOTIFY isVerifyingChanged)

 public:
  explicit VerifyFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isVerifying(); }
  void shutdown() override { resetVerification(); }
  [[nodiscard]] QString outcomeSentence() const override { return verifyResultForScreen().title; }

  [[nodiscard]] const std::optional<std::filesystem::path>& verifyURL() const { return url_; }
  [[nodiscard]] FileCard verifyFile() const;
  [[nodiscard]] QString expectedHash() const { return expectedHash_; }
  [[nodiscard]] static QString expectedHashHint();
  void setExpectedHash(const QString& pasted);
  /// What can be chosen: "Auto", then every algorithm.
  [[nodiscard]] static QStringList verifyAlgorithms();
  /// The chosen algorithm's display name, or "Auto".
  [[nodiscard]] QString verifyAlgorithm() const;
  void setVerifyAlgorithm(const QString& name);
  /// The algorithm that the pasted text would be checked with now; empty when there is none.
  [[nodiscard]] QString recognisedAlgorithm() const;
  [[nodiscard]] const std::optional<VerificationResult>& verifyResult() const { return calculation_.result(); }
  [[nodiscard]] VerifyVerdict verifyResultForScreen() const;
  [[nodiscard]] double verifyProgress() const { return calculation_.progress(); }
  [[nodiscard]] bool isVerifying() const { return calculation_.isRunning(); }
  [[nodiscard]] QString verifyRefusal() const;
  /// Why neither the file nor what it is verified against can change now.
  [[nodiscard]] QString verifyInputRefusal() const;

  /// Sets the file to verify to the first of `urls`; ignored during a verification.
  Q_INVOKABLE void setVerifyFile(const QList<QUrl>& urls);
  Q_INVOKABLE void chooseVerifyFile();
  Q_INVOKABLE void pasteExpectedHash();
  Q_INVOKABLE void verify();
  Q_INVOKABLE void resetVerification() { calculation_.reset(); }

 signals:
  void verifyURLChanged();
  void expectedHashChanged();
  void verifyAlgorithmChanged();
  void recognisedAlgorithmChanged();
  void verifyResultChanged();
  void verifyProgressChanged();
  void isVerifyingChanged();

 private:
  using Verifying = Calculation<VerifyFlow, VerificationResult>;
  friend Verifying;

  static Outcome::Case outcomeOf(const VerificationResult& result);

  std::optional<std::filesystem::path> url_;
  ShownFileSize size_{context().mailbox(), [this] { emit verifyURLChanged(); }};
  QString expectedHash_;
  std::optional<HashAlgorithm> algorithmOverride_;
  std::string expected_;  // The normalised digest that the result was checked against.
  Verifying calculation_;
};

}  // namespace tallyfold
