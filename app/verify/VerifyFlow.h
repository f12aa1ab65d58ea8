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
  Q_PROPERTY(QString recognition READ recognition NOTIFY recognisedAlgorithmChanged)
  Q_PROPERTY(QStringList verifyCandidates READ verifyCandidates NOTIFY recognisedAlgorithmChanged)
  Q_PROPERTY(QString verifyNotice READ verifyNotice NOTIFY verifyNotesChanged)
  Q_PROPERTY(QString verifyCaution READ verifyCaution NOTIFY verifyNotesChanged)
  Q_PROPERTY(tallyfold::ProposedFolder proposedList READ proposedList NOTIFY proposedListChanged)
  Q_PROPERTY(tallyfold::VerifyVerdict verifyResult READ verifyResultForScreen NOTIFY verifyResultChanged)
  Q_PROPERTY(double verifyProgress READ verifyProgress NOTIFY verifyProgressChanged)
  Q_PROPERTY(bool isVerifying READ isVerifying NOTIFY isVerifyingChanged)
  Q_PROPERTY(QString verifyRefusal READ verifyRefusal NOTIFY verifyRefusalChanged)
  Q_PROPERTY(QString verifyInputRefusal READ verifyInputRefusal NOTIFY isVerifyingChanged)

 public:
  explicit VerifyFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isVerifying(); }
  void shutdown() override;
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
  /// That in a sentence, and where the text overrules the chosen algorithm, why; empty when there is none.
  [[nodiscard]] QString recognition() const;
  /// The algorithms that a choice is needed between before anything can be verified; empty when none is.
  [[nodiscard]] QStringList verifyCandidates() const;
  /// What was done with the text, or what speaks against it: sentences, mostly empty.
  [[nodiscard]] QString verifyNotice() const { return notice_; }
  [[nodiscard]] QString verifyCaution() const { return caution_; }
  /// A checksum list beside the file that has a line for it.
  [[nodiscard]] ProposedFolder proposedList() const;
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
  /// Of what was dropped together, a file and its checksum list: takes the file's line of the list as if it was pasted.
  Q_INVOKABLE void dropVerify(const QList<QUrl>& urls);
  /// What was dropped on the field for the checksum: a list by itself is looked into for the file's line, as soon as
  /// there is a file; anything else is taken as by `dropVerify`.
  Q_INVOKABLE void dropOnField(const QList<QUrl>& urls);
  Q_INVOKABLE void useProposedList();
  /// Chooses one of the candidates; verifies where that was all that was missing.
  Q_INVOKABLE void readAs(const QString& algorithm);
  Q_INVOKABLE void pasteExpectedHash();
  Q_INVOKABLE void verify();
  /// As `verify`, where that is not refused: of an empty field there is nothing to say.
  Q_INVOKABLE void verifyUnlessRefused();
  Q_INVOKABLE void resetVerification() { calculation_.reset(); }

 signals:
  void verifyURLChanged();
  void expectedHashChanged();
  void verifyRefusalChanged();
  void verifyAlgorithmChanged();
  void recognisedAlgorithmChanged();
  void verifyNotesChanged();
  void proposedListChanged();
  void verifyResultChanged();
  void verifyProgressChanged();
  void isVerifyingChanged();

 private:
  using Verifying = Calculation<VerifyFlow, VerificationResult>;
  friend Verifying;

  /// A line of a list beside the file.
  struct ListedLine {
    std::filesystem::path list;
    QString text;
  };

  static Outcome::Case outcomeOf(const VerificationResult& result);

  void setFile(const std::filesystem::path& location);
  void setNotes(const QString& notice, const QString& caution);
  void lookAtLines();
  void replaceText(const QString& text);
  void takeLine(const QString& text, const QString& original, const QString& notice);
  void lookForList();
  void takeLineOf(const std::filesystem::path& list);

  std::optional<std::filesystem::path> url_;
  ShownFileSize size_{context().mailbox(), [this] {
                        emit verifyURLChanged();
                        lookForList();
                      }};
  QString expectedHash_;
  std::optional<QString> original_;  // What the text goes back to with the file that a line was taken for by itself.
  std::optional<std::filesystem::path> waitingList_;  // To be looked into for the next file.
  std::optional<HashAlgorithm> algorithmOverride_;
  QString notice_;
  QString caution_;
  std::optional<ListedLine> proposal_;
  FlowTask<VerifyFlow> listTask_{*this, context().mailbox()};
  std::string expected_;  // The normalised digest that the result was checked against.
  Verifying calculation_;
};

}  // namespace tallyfold
