#include <algorithm>
#include <type_traits>
#include <utility>

#include <QPointer>

#include "app/AppViewModel.h"
#include "app/shared/FileLocation.h"
#include "checksums/ChecksumLines.h"
#include "core/base/Errors.h"

namespace tallyfold {

namespace {

const QString automatic = QStringLiteral("Auto");

QString text(std::string_view utf8) { return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())); }

/// What was pasted, as far as is needed to see that it is too long.
std::string checksumText(const QString& pasted) {
  return pasted.left(ChecksumManifestService::maximumSingleChecksumSize + 1).toStdString();
}

QString ambiguityOf(const QString& pasted) {
  const HashAlgorithmSet candidates = ChecksumManifestService::ambiguousCandidates(checksumText(pasted));
  return AppViewModel::tr("%1-character digests can be %2. Choose the algorithm from the menu.")
      .arg((*candidates.begin()).hexLength())
      .arg(text(namesOf(candidates, "or")));
}

}  // namespace

QString AppViewModel::expectedHashHint() {
  QString hint = tr("Paste a checksum or a standard checksum line. Use Auto when the digest length is unique");
  for (const HashAlgorithmSet algorithms : HashAlgorithm::withSameHexLength()) {
    hint += (algorithms.size() == 2 ? tr("; %1 both use %2 hexadecimal characters")
                                    : tr("; %1 all use %2 hexadecimal characters"))
                .arg(text(namesOf(algorithms, "and")))
                .arg((*algorithms.begin()).hexLength());
  }
  return hint + QStringLiteral(".");
}

void AppViewModel::setVerifyFile(const QList<QUrl>& urls) {
  const auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (verify_.isRunning || !location) return;
  resetVerification();
  verify_.url = location;
  verifySize_.ask(location);
  emit verifyURLChanged();
}

void AppViewModel::chooseVerifyFile() {
  if (verify_.isRunning) return;
  desktop_.chooseSingleFile([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setVerifyFile({url});
  });
}

QVariantMap AppViewModel::verifyFile() const { return fileCard(verify_.url, verifySize_.text()); }

void AppViewModel::setExpectedHash(const QString& pasted) {
  if (pasted == verify_.expectedHash) return;
  resetVerification();
  verify_.expectedHash = pasted;
  emit expectedHashChanged();
}

void AppViewModel::pasteExpectedHash() { setExpectedHash(pasteboardText().trimmed()); }

QStringList AppViewModel::verifyAlgorithms() { return QStringList{automatic} + algorithmNames(); }

QString AppViewModel::verifyAlgorithm() const {
  return verify_.algorithmOverride ? text(verify_.algorithmOverride->rawValue()) : automatic;
}

void AppViewModel::setVerifyAlgorithm(const QString& name) {
  const auto algorithm = HashAlgorithm::init(name.toStdString());
  if (algorithm == verify_.algorithmOverride) return;
  resetVerification();
  verify_.algorithmOverride = algorithm;
  emit verifyAlgorithmChanged();
}

QString AppViewModel::recognisedAlgorithm() const {
  const auto expected =
      ChecksumManifestService::extractSingleChecksum(checksumText(verify_.expectedHash), verify_.algorithmOverride);
  return expected ? text(expected->algorithm.rawValue()) : QString();
}

QString AppViewModel::verifyRefusal() const { return verify_.url ? QString() : tr("Choose a file first."); }

void AppViewModel::verify() {
  if (verify_.isRunning || verifyTask_.isRunning() || !verify_.url) return;
  const std::string pasted = checksumText(verify_.expectedHash);
  if (!verify_.algorithmOverride && ChecksumManifestService::isAmbiguousSingleChecksum(pasted)) {
    return setVerifyResult(Verification::AmbiguousExpectedHash{});
  }
  const auto expected = ChecksumManifestService::extractSingleChecksum(pasted, verify_.algorithmOverride);
  if (!expected) return setVerifyResult(Verification::InvalidExpectedHash{});

  resetVerification();
  setVerifying(true);
  verify_.expected = expected->expectedHash;
  verifyTask_.start(
      BackgroundTask::Priority::userInitiated,
      [url = *verify_.url, algorithm = expected->algorithm,
       wanted = expected->expectedHash](const BackgroundTask::Context& context) {
        const auto progress = [&](double fraction) {
          context.post([fraction](AppViewModel& model) { model.setVerifyProgress(fraction); });
        };
        const FileHashResult result =
            HashService::hashFile(url, Uuid::random(), {algorithm}, context.cancellation(), progress);
        const std::string digest(result.hashes.find(algorithm).value());
        VerificationResult verdict = Verification::Mismatch{algorithm, digest};
        if (digest == wanted) verdict = Verification::Match{algorithm, digest};
        context.post([verdict](AppViewModel& model) {
          model.setVerifyProgress(1);
          model.setVerifyResult(verdict);
        });
      },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (failure) model.setVerifyResult(Verification::Error{errorDescription(failure)});
        model.setVerifying(false);
      });
}

void AppViewModel::resetVerification() {
  verifyTask_.abandon();
  setVerifyResult(std::nullopt);
  setVerifyProgress(0);
  setVerifying(false);
}

QVariantMap AppViewModel::verifyResultForScreen() const {
  if (!verify_.result) return {};
  const auto verdict = [](const char* icon, Outcome outcome, const QString& title, const QString& details) {
    return QVariantMap{{QStringLiteral("icon"), QLatin1String(icon)},
                       {QStringLiteral("outcome"), outcome},
                       {QStringLiteral("title"), title},
                       {QStringLiteral("details"), details}};
  };
  const auto line = [](const QString& label, const std::string& digest) {
    return QVariantMap{{QStringLiteral("label"), label}, {QStringLiteral("digest"), text(digest)}};
  };
  const auto words = [&](const auto& outcome) {
    using Case = std::decay_t<decltype(outcome)>;
    if constexpr (std::is_same_v<Case, Verification::Match>) {
      QVariantMap map = verdict("checkmark.shield.fill", AllWell, tr("Match"), QString());
      map.insert(QStringLiteral("digests"),
                 QVariantList{line(text(outcome.algorithm.rawValue()) + QStringLiteral(": "), outcome.digest)});
      return map;
    } else if constexpr (std::is_same_v<Case, Verification::Mismatch>) {
      QVariantMap map = verdict("xmark.shield.fill", SomeFailed,
                                tr("Checksum mismatch (%1)").arg(text(outcome.algorithm.rawValue())), QString());
      const auto [expected, actual] =
          std::mismatch(verify_.expected.begin(), verify_.expected.end(), outcome.actual.begin(), outcome.actual.end());
      map.insert(QStringLiteral("digests"),
                 QVariantList{line(tr("Expected: "), verify_.expected), line(tr("Actual: "), outcome.actual)});
      map.insert(QStringLiteral("difference"), static_cast<int>(actual - outcome.actual.begin()));
      return map;
    } else if constexpr (std::is_same_v<Case, Verification::Error>) {
      return verdict("exclamationmark.triangle.fill", SomeFailed, tr("Not verified"), text(outcome.message));
    } else if constexpr (std::is_same_v<Case, Verification::InvalidExpectedHash>) {
      return verdict("questionmark.diamond.fill", NoOutcome, tr("Not verified"),
                     tr("Invalid or unsupported checksum format."));
    } else {
      return verdict("exclamationmark.triangle.fill", NoOutcome, tr("Not verified"), ambiguityOf(verify_.expectedHash));
    }
  };
  return std::visit(words, *verify_.result);
}

void AppViewModel::setVerifyResult(std::optional<VerificationResult> result) {
  if (std::exchange(verify_.result, std::move(result)) == verify_.result) return;
  emit verifyResultChanged();
  if (!verify_.result) return;
  const bool isMatch = std::holds_alternative<Verification::Match>(*verify_.result);
  setUnseenOutcome(AppMode::Verify, isMatch ? AllWell : SomeFailed);
}

void AppViewModel::setVerifyProgress(double progress) {
  if (std::exchange(verify_.progress, progress) != progress) emit verifyProgressChanged();
}

void AppViewModel::setVerifying(bool isVerifying) {
  if (std::exchange(verify_.isRunning, isVerifying) != isVerifying) emit isVerifyingChanged();
}

}  // namespace tallyfold
