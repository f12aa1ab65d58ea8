#include "app/verify/VerifyFlow.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include <QPointer>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "checksums/ChecksumLines.h"
#include "core/base/Errors.h"
#include "core/services/HashService.h"

namespace tallyfold {

namespace {

const QString automatic = QStringLiteral("Auto");

/// What was pasted, as far as is needed to see that it is too long.
std::string checksumText(const QString& pasted) {
  return pasted.left(ChecksumManifestService::maximumSingleChecksumSize + 1).toStdString();
}

QString ambiguityOf(const QString& pasted) {
  const HashAlgorithmSet candidates = ChecksumManifestService::ambiguousCandidates(checksumText(pasted));
  return VerifyFlow::tr("%1-character digests can be %2. Choose the algorithm from the menu.")
      .arg((*candidates.begin()).hexLength())
      .arg(utf8Text(namesOf(candidates, "or")));
}

}  // namespace

VerifyFlow::VerifyFlow(FlowContext& context)
    : Flow(context),
      calculation_(
          *this, context,
          {&VerifyFlow::verifyResultChanged, &VerifyFlow::verifyProgressChanged, &VerifyFlow::isVerifyingChanged}) {
  connect(this, &VerifyFlow::isVerifyingChanged, this, &Flow::isBusyChanged);
  connect(this, &VerifyFlow::expectedHashChanged, this, &VerifyFlow::recognisedAlgorithmChanged);
  connect(this, &VerifyFlow::verifyAlgorithmChanged, this, &VerifyFlow::recognisedAlgorithmChanged);
}

QString VerifyFlow::expectedHashHint() {
  QString hint = tr("Paste a checksum or a standard checksum line. Use Auto when the digest length is unique");
  for (const HashAlgorithmSet algorithms : HashAlgorithm::withSameHexLength()) {
    hint += (algorithms.size() == 2 ? tr("; %1 both use %2 hexadecimal characters")
                                    : tr("; %1 all use %2 hexadecimal characters"))
                .arg(utf8Text(namesOf(algorithms, "and")))
                .arg((*algorithms.begin()).hexLength());
  }
  return hint + QStringLiteral(".");
}

void VerifyFlow::setVerifyFile(const QList<QUrl>& urls) {
  const auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (isVerifying() || !location) return;
  resetVerification();
  url_ = location;
  size_.ask(location);
  emit verifyURLChanged();
}

void VerifyFlow::chooseVerifyFile() {
  if (isVerifying()) return;
  context().desktop().chooseSingleFile([this, alive = QPointer(this)](const QUrl& url) {
    if (alive) setVerifyFile({url});
  });
}

FileCard VerifyFlow::verifyFile() const { return fileCard(url_, size_.text()); }

void VerifyFlow::setExpectedHash(const QString& pasted) {
  if (pasted == expectedHash_) return;
  resetVerification();
  expectedHash_ = pasted;
  emit expectedHashChanged();
}

void VerifyFlow::pasteExpectedHash() { setExpectedHash(context().pasteboardText().trimmed()); }

QStringList VerifyFlow::verifyAlgorithms() { return QStringList{automatic} + displayNames(HashAlgorithmSet::all()); }

QString VerifyFlow::verifyAlgorithm() const {
  return algorithmOverride_ ? displayName(*algorithmOverride_) : automatic;
}

void VerifyFlow::setVerifyAlgorithm(const QString& name) {
  const auto algorithm = algorithmNamed(name);
  if (algorithm == algorithmOverride_) return;
  resetVerification();
  algorithmOverride_ = algorithm;
  emit verifyAlgorithmChanged();
}

QString VerifyFlow::recognisedAlgorithm() const {
  const auto expected = ChecksumManifestService::extractSingleChecksum(checksumText(expectedHash_), algorithmOverride_);
  return expected ? displayName(expected->algorithm) : QString();
}

QString VerifyFlow::verifyRefusal() const { return url_ ? QString() : tr("Choose a file first."); }

QString VerifyFlow::verifyInputRefusal() const {
  return isVerifying() ? tr("A verification is under way.") : QString();
}

void VerifyFlow::verify() {
  if (!calculation_.isStartable() || !url_) return;
  const std::string pasted = checksumText(expectedHash_);
  if (!algorithmOverride_ && ChecksumManifestService::isAmbiguousSingleChecksum(pasted)) {
    return calculation_.setResult(Verification::AmbiguousExpectedHash{});
  }
  const auto expected = ChecksumManifestService::extractSingleChecksum(pasted, algorithmOverride_);
  if (!expected) return calculation_.setResult(Verification::InvalidExpectedHash{});

  expected_ = expected->expectedHash;
  calculation_.start(
      [url = *url_, algorithm = expected->algorithm, wanted = expected->expectedHash](
          const std::stop_token& cancellation, const auto& progress) -> VerificationResult {
        const FileHashResult result = HashService::hashFile(url, Uuid::random(), {algorithm}, cancellation, progress);
        const std::string digest(result.hashes.find(algorithm).value());
        if (digest == wanted) return Verification::Match{algorithm, digest};
        return Verification::Mismatch{algorithm, digest};
      },
      [](VerifyFlow& flow, const std::exception_ptr& failure) {
        flow.calculation_.setResult(Verification::Error{errorDescription(failure)});
      });
}

VerifyVerdict VerifyFlow::verifyResultForScreen() const {
  if (!verifyResult()) return {};
  const auto words = [&](const auto& result) -> VerifyVerdict {
    using Case = std::decay_t<decltype(result)>;
    if constexpr (std::is_same_v<Case, Verification::Match>) {
      return {.kind = VerifyVerdict::Match,
              .tone = Tone::Good,
              .title = tr("Match"),
              .digests = {{displayName(result.algorithm) + QStringLiteral(": "), utf8Text(result.digest)}}};
    } else if constexpr (std::is_same_v<Case, Verification::Mismatch>) {
      const auto [expected, actual] =
          std::mismatch(expected_.begin(), expected_.end(), result.actual.begin(), result.actual.end());
      return {.kind = VerifyVerdict::Mismatch,
              .tone = Tone::Bad,
              .title = tr("Checksum mismatch (%1)").arg(displayName(result.algorithm)),
              .digests = {{tr("Expected: "), utf8Text(expected_)}, {tr("Actual: "), utf8Text(result.actual)}},
              .difference = static_cast<int>(actual - result.actual.begin())};
    } else if constexpr (std::is_same_v<Case, Verification::Error>) {
      return {.kind = VerifyVerdict::Error,
              .tone = Tone::Bad,
              .title = tr("Not verified"),
              .details = utf8Text(result.message)};
    } else if constexpr (std::is_same_v<Case, Verification::InvalidExpectedHash>) {
      return {.kind = VerifyVerdict::InvalidExpectedHash,
              .tone = Tone::Caution,
              .title = tr("Not verified"),
              .details = tr("Invalid or unsupported checksum format.")};
    } else {
      return {.kind = VerifyVerdict::AmbiguousExpectedHash,
              .tone = Tone::Caution,
              .title = tr("Not verified"),
              .details = ambiguityOf(expectedHash_)};
    }
  };
  return std::visit(words, *verifyResult());
}

Outcome::Case VerifyFlow::outcomeOf(const VerificationResult& result) {
  return std::holds_alternative<Verification::Match>(result) ? Outcome::AllWell : Outcome::SomeFailed;
}

}  // namespace tallyfold
