#include "app/verify/VerifyFlow.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

#include <QPointer>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "checksums/lines/ChecksumLines.h"
#include "checksums/lists/PastedLines.h"
#include "core/base/Errors.h"
#include "core/files/Paths.h"
#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"

namespace tallyfold {

namespace {

const QString automatic = QStringLiteral("Auto");

/// What was pasted, as far as is needed to see that it is too long.
std::string checksumText(const QString& pasted) {
  return pasted.left(ChecksumManifestService::maximumSingleChecksumSize + 1).toStdString();
}

bool isList(const QUrl& url) {
  const auto location = fileLocation(url);
  return location && ChecksumManifestService::isListName(*location);
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
  connect(this, &VerifyFlow::expectedHashChanged, this, &VerifyFlow::proposedListChanged);
  connect(this, &VerifyFlow::expectedHashChanged, this, &VerifyFlow::verifyRefusalChanged);
  connect(this, &VerifyFlow::verifyURLChanged, this, &VerifyFlow::verifyRefusalChanged);
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

void VerifyFlow::shutdown() {
  resetVerification();
  listTask_.abandon();
}

void VerifyFlow::setVerifyFile(const QList<QUrl>& urls) {
  const auto location = urls.isEmpty() ? std::nullopt : fileLocation(urls.constFirst());
  if (isVerifying() || !location) return;
  setFile(*location);
}

void VerifyFlow::setFile(const std::filesystem::path& location) {
  resetVerification();
  listTask_.abandon();
  if (std::exchange(proposal_, std::nullopt)) emit proposedListChanged();
  const bool isOther = url_ != location;
  url_ = location;
  size_.ask(location);
  emit verifyURLChanged();
  if (isOther && original_) replaceText(*std::exchange(original_, std::nullopt));
  lookAtLines();
  if (const auto list = std::exchange(waitingList_, std::nullopt)) takeLineOf(*list);
}

void VerifyFlow::dropVerify(const QList<QUrl>& urls) {
  const auto list = urls.size() > 1 ? std::ranges::find_if(urls, isList) : urls.end();
  const auto file = std::ranges::find_if_not(urls, isList);
  const auto location = file == urls.end() ? std::nullopt : fileLocation(*file);
  if (list == urls.end() || !location) return setVerifyFile(urls);
  if (isVerifying()) return;
  setFile(*location);
  takeLineOf(*fileLocation(*list));
}

void VerifyFlow::dropOnField(const QList<QUrl>& urls) {
  if (isVerifying()) return;
  if (urls.size() != 1 || !isList(urls.constFirst())) return dropVerify(urls);
  const std::filesystem::path list = *fileLocation(urls.constFirst());
  if (url_) return takeLineOf(list);
  waitingList_ = list;
  setNotes(tr("The line is taken from %1 when the file is chosen.").arg(displayText(list.filename())), {});
}

// Looks beside the file for a list that has a line for it: one is offered, and never taken by itself. Only once the
// disk has told the size of the file: one that does not answer must not keep another thread with every choice.
void VerifyFlow::lookForList() {
  if (listTask_.isRunning() || !expectedHash_.isEmpty()) return;
  listTask_.start(
      BackgroundTask::Priority::utility,
      [file = *url_](const FlowTask<VerifyFlow>::Context& task) {
        for (const std::filesystem::path& list : ChecksumManifestService::usualListsOf(file)) {
          HashService::checkCancellation(task.cancellation());
          const auto size = lookAt(list).fileSize;
          if (!size || *size > ChecksumManifestService::maximumSearchedListSize) continue;
          try {
            const auto lines = ChecksumManifestService::linesFor(file.filename().native(), list, task.cancellation());
            if (lines.size() != 1) continue;
            return task.post([proposal = ListedLine{list, utf8Text(lines.front().text)}](VerifyFlow& flow) {
              flow.proposal_ = proposal;
              emit flow.proposedListChanged();
            });
          } catch (const std::exception&) {
            continue;  // It is no list, or none that can be read: there is nothing to offer.
          }
        }
      },
      [](VerifyFlow& /*flow*/, const std::exception_ptr& /*failure*/) {});
}

// Takes the file's line of a list that the user has chosen.
void VerifyFlow::takeLineOf(const std::filesystem::path& list) {
  listTask_.abandon();
  listTask_.start(
      BackgroundTask::Priority::userInitiated,
      [file = *url_, list, before = expectedHash_](const FlowTask<VerifyFlow>::Context& task) {
        const auto lines = ChecksumManifestService::linesFor(file.filename().native(), list, task.cancellation());
        task.post([lines, before, name = displayText(list.filename())](VerifyFlow& flow) {
          if (flow.expectedHash_ != before) return;  // What was typed or pasted since counts.
          if (lines.size() == 1) return flow.takeLine(utf8Text(lines[0].text), {}, tr("Taken from %1.").arg(name));
          flow.setNotes({}, lines.empty() ? tr("%1 has no line for this file.").arg(name)
                                          : tr("Lines %1 and %2 of %3 are both for a file of this name.")
                                                .arg(lines[0].lineNumber)
                                                .arg(lines[1].lineNumber)
                                                .arg(name));
        });
      },
      [](VerifyFlow& flow, const std::exception_ptr& failure) {
        if (failure) flow.setNotes({}, QString::fromStdString(errorDescription(failure)));
      });
}

ProposedFolder VerifyFlow::proposedList() const {
  if (!proposal_ || !expectedHash_.isEmpty()) return {};
  return {.isPresent = true, .name = displayText(proposal_->list.filename()), .path = displayText(proposal_->list)};
}

void VerifyFlow::useProposedList() {
  if (isVerifying() || !proposal_) return;
  const ListedLine line = *proposal_;
  takeLine(line.text, {}, tr("Taken from %1.").arg(displayText(line.list.filename())));
}

void VerifyFlow::takeLine(const QString& text, const QString& original, const QString& notice) {
  if (isVerifying()) return;
  replaceText(text);
  lookAtLines();
  original_ = original;
  setNotes(notice, caution_);
}

void VerifyFlow::setNotes(const QString& notice, const QString& caution) {
  if (notice == notice_ && caution == caution_) return;
  notice_ = notice;
  caution_ = caution;
  emit verifyNotesChanged();
}

// Which of several pasted lines is for the file, and whether a single one is.
void VerifyFlow::lookAtLines() {
  using ChecksumManifestService::FileChecksum;
  setNotes({}, {});
  if (!url_) return;
  const std::vector<FileChecksum> lines = ChecksumManifestService::pastedLines(checksumText(expectedHash_));
  const QString name = displayText(url_->filename());
  std::vector<FileChecksum> own;
  std::ranges::copy_if(lines, std::back_inserter(own),
                       [&](const FileChecksum& line) { return line.fileName == url_->filename().native(); });
  if (lines.size() == 1 && own.empty() && !lines.front().fileName.empty()) {
    return setNotes({}, tr("This line is for “%1”.").arg(displayText(std::filesystem::path(lines.front().fileName))));
  }
  if (lines.size() < 2) return;
  if (own.empty()) return setNotes({}, tr("None of the %1 lines is for %2.").arg(lines.size()).arg(name));
  if (own.size() > 1) {
    return setNotes({}, tr("Lines %1 and %2 are both for %3.").arg(own[0].lineNumber).arg(own[1].lineNumber).arg(name));
  }
  // In a turn of its own: the field that the text comes from is still at work on it.
  const QString notice = tr("Of %1 pasted lines, this is the one for %2.").arg(lines.size()).arg(name);
  QMetaObject::invokeMethod(
      this,
      [this, pasted = expectedHash_, text = utf8Text(own.front().text), notice] {
        if (pasted == expectedHash_) takeLine(text, pasted, notice);
      },
      Qt::QueuedConnection);
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
  original_.reset();
  waitingList_.reset();
  replaceText(pasted);
  lookAtLines();
}

void VerifyFlow::replaceText(const QString& text) {
  if (text == expectedHash_) return;
  resetVerification();
  expectedHash_ = text;
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

QString VerifyFlow::recognition() const {
  const std::string pasted = checksumText(expectedHash_);
  const auto expected = ChecksumManifestService::extractSingleChecksum(pasted, algorithmOverride_);
  if (!expected) return {};
  const QString name = displayName(expected->algorithm);
  if (!algorithmOverride_ || expected->algorithm == *algorithmOverride_) return tr("Will be checked as %1.").arg(name);
  const bool isTagged = ChecksumManifestService::parseBSDLine(trimmed(pasted), 1).has_value();
  return (isTagged ? tr("%1 by its name in the line, not %2.") : tr("%1 by its length, not %2."))
      .arg(name, displayName(*algorithmOverride_));
}

QStringList VerifyFlow::verifyCandidates() const {
  if (algorithmOverride_) return {};
  return displayNames(ChecksumManifestService::ambiguousCandidates(checksumText(expectedHash_)));
}

void VerifyFlow::readAs(const QString& algorithm) {
  if (isVerifying() || !verifyCandidates().contains(algorithm)) return;
  const bool wasAsked = verifyResult() && std::holds_alternative<Verification::AmbiguousExpectedHash>(*verifyResult());
  setVerifyAlgorithm(algorithm);
  if (wasAsked) verify();
}

QString VerifyFlow::verifyRefusal() const {
  if (!url_) return tr("Choose a file first.");
  return expectedHash_.trimmed().isEmpty() ? tr("Paste a checksum first.") : QString();
}

QString VerifyFlow::verifyInputRefusal() const {
  return isVerifying() ? tr("A verification is under way.") : QString();
}

void VerifyFlow::verifyUnlessRefused() {
  if (verifyRefusal().isEmpty()) verify();
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
