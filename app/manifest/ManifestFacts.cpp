// What the Manifest screen shows of its flow.

#include <utility>

#include "app/manifest/ManifestFlow.h"
#include "app/shared/AlgorithmNames.h"
#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

/// A name of any length among other words: its beginning and its end, with the extension.
QString shortened(const QString& name) {
  constexpr qsizetype most = 28;
  QList<uint> characters = name.toUcs4();
  if (characters.size() <= most) return name;
  const auto text = [](const QList<uint>& part) {
    return QString::fromUcs4(reinterpret_cast<const char32_t*>(part.data()), part.size());
  };
  return text(characters.first(most / 2)) + u'…' + text(characters.last(most / 2 - 1));
}

}  // namespace

FileCard ManifestFlow::manifestFile() const { return fileCard(choice_.url, size_.text()); }

QString ManifestFlow::manifestLines() const {
  const QLocale locale = userLocale();
  QStringList facts;
  if (list_.unreadableLine > 0) facts.append(tr("line %1 is not text").arg(locale.toString(list_.unreadableLine)));
  if (list_.entries) {
    facts.append(jobs_.total() == 1 ? tr("1 entry") : tr("%1 entries").arg(locale.toString(jobs_.total())));
    const qint64 ambiguous = list_.reading.ambiguousLineCount;
    const qint64 unsupported = list_.unsupportedLineCount - ambiguous;
    if (ambiguous > 0) facts.append(tr("%1 ambiguous").arg(locale.toString(ambiguous)));
    if (unsupported > 0) facts.append(tr("%1 unsupported").arg(locale.toString(unsupported)));
  }
  return facts.join(tr(" · "));
}

QString ManifestFlow::manifestUnsupportedFigure() const { return userLocale().toString(list_.unsupportedLineCount); }

QString ManifestFlow::manifestEmptySentence() const {
  if (!choice_.url && rootURL_) return tr("Drop a checksum list of this folder, or create one.");
  if (!choice_.url) {
    return tr("Drop a checksum list and the folder that it describes. To create a list, choose its root folder first.");
  }
  if (showsWarnings_) return tr("Every line of the list is understood.");
  if (jobs_.total() == 0) return tr("There are no entries to show.");
  return jobs_.search().isEmpty() ? tr("No entry is in this state.")
                                  : tr("No entry that is shown has this in its path.");
}

QString ManifestFlow::copyManifestRefusal() const {
  if (showsWarnings_) return list_.warnings.isEmpty() ? tr("There are no warnings to copy.") : QString();
  return jobs_.count() == 0 ? tr("There are no rows to copy.") : QString();
}

QString ManifestFlow::manifestWarningsSummary() const {
  const QLocale locale = userLocale();
  const qint64 ambiguous = list_.reading.ambiguousLineCount;
  QString summary =
      tr("Lines that are not understood and cannot be checked: %1. Blank lines and comments: %2.")
          .arg(locale.toString(list_.unsupportedLineCount - ambiguous), locale.toString(list_.ignoredLineCount));
  if (ambiguous > 0) {
    summary.prepend(tr("Lines that wait for you to choose their algorithm: %1. ").arg(locale.toString(ambiguous)));
  }
  if (list_.unsupportedLineCount > list_.warnings.size()) {
    summary += tr(" The first %1 are listed here.").arg(locale.toString(list_.warnings.size()));
  }
  return summary;
}

QStringList ManifestFlow::manifestAlgorithms() const { return displayNames(choice_.candidates); }

QString ManifestFlow::manifestAlgorithm() const {
  return choice_.reading.algorithm ? displayName(*choice_.reading.algorithm) : QString();
}

QString ManifestFlow::proposedManifestAlgorithm() const {
  const auto proposal = choice_.url ? ChecksumManifestService::proposedAlgorithm(*choice_.url) : std::nullopt;
  return proposal && choice_.candidates.contains(*proposal) ? displayName(*proposal) : QString();
}

bool ManifestFlow::offersReadingWithoutQuotes() const {
  return list_.reading.quotedNameCount > 0 && !choice_.reading.withoutQuotes && manifestFileRefusal().isEmpty() &&
         std::cmp_equal(run_.causes.missingQuoted, list_.reading.quotedNameCount);
}

QString ManifestFlow::manifestRestVerb() const {
  using Stage = ManifestTally::Stage;
  if (isBusy() || !folderRefusal_.isEmpty()) return {};
  if (run_.causes.rootChanged > 0) return tr("Verify the Rest Again");
  const bool isCutShort = run_.stage == Stage::cancelled || run_.stage == Stage::stoppedByError;
  return isCutShort && !run_.checked.empty() ? tr("Verify the Rest") : QString();
}

QString ManifestFlow::manifestRefusal() const {
  if (!choice_.url) return tr("Choose a checksum list first.");
  if (isLoading_) return tr("The checksum list is being read.");
  if (jobs_.total() == 0) return tr("The list has no entries to verify.");
  if (!rootURL_) return tr("Choose the root folder first.");
  return folderRefusal_;
}

QString ManifestFlow::manifestFileRefusal() const {
  return isLoading_ ? tr("The checksum list is being read.") : manifestRootRefusal();
}

QString ManifestFlow::manifestProgressFigure() const {
  if (run_.groups == 0) return {};
  return filesOfFiles(run_.groupsDone, run_.groups);
}

ManifestVerdict ManifestFlow::manifestVerdict() const {
  const qint64 digestLength =
      choice_.candidates.empty() ? 0 : static_cast<qint64>((*choice_.candidates.begin()).hexLength());
  ManifestVerdict verdict = tallyfold::manifestVerdict(
      {.stage = isLoading_ ? ManifestTally::Stage::reading : run_.stage,
       .readError = list_.readError,
       .hasRoot = rootURL_.has_value(),
       .matched = manifestMatchedCount(),
       .mismatched = manifestMismatchCount(),
       .failed = manifestErrorCount(),
       .waiting = jobs_.count(ManifestJobListModel::Waiting),
       .ignoredLines = list_.ignoredLineCount,
       .unsupportedLines = list_.unsupportedLineCount,
       .ambiguousLines = list_.reading.ambiguousLineCount,
       .candidates = utf8Text(namesOf(choice_.candidates, "or")),
       .digestLength = digestLength,
       .hasBareDigests = list_.reading.bareDigestCount == jobs_.total() && !list_.reading.isAlgorithmInName,
       .otherAlgorithm = utf8Text(list_.reading.otherAlgorithm),
       .isOtherAlgorithmInName = list_.reading.isOtherAlgorithmInName,
       .isSigned = list_.reading.isSigned,
       .missing = static_cast<qint64>(run_.causes.missing),
       .missingQuoted = static_cast<qint64>(run_.causes.missingQuoted),
       .absolutePaths = static_cast<qint64>(run_.causes.absolutePath),
       .rootChanged = static_cast<qint64>(run_.causes.rootChanged)});
  for (const QString& sentence : {unreadSentence(), folderSentence_}) {
    if (!sentence.isEmpty()) verdict.details = (verdict.details + u' ' + sentence).trimmed();
  }
  return verdict;
}

QString ManifestFlow::unreadSentence() const {
  if (choice_.othersCount == 0) return {};
  const QString name = shortened(choice_.firstOther);
  if (choice_.othersCount == 1) return tr("%1 came with this list and is not read.").arg(name);
  return tr("%1 and %2 more came with this list and are not read.").arg(name, figureOf(choice_.othersCount - 1));
}

VerifiedList ManifestFlow::verifiedList() const {
  VerifiedList list{.entries = list_.entries,
                    .list = *choice_.url,
                    .root = *rootURL_,
                    .rootIdentity = run_.rootIdentity,
                    .linesNotUnderstood = list_.unsupportedLineCount};
  for (std::size_t job = 0; job < jobs_.jobs().size(); ++job) {
    const auto* const failed = std::get_if<ManifestJob::Failed>(&jobs_.jobs()[job].state);
    if (failed != nullptr && failed->isMissing) list.missing.push_back(static_cast<std::uint32_t>(job));
  }
  return list;
}

void ManifestFlow::setFolderSentence(const QString& sentence) {
  if (std::exchange(folderSentence_, sentence) != sentence) emit manifestStatusChanged();
}

void ManifestFlow::setFolderRefusal(const QString& refusal) {
  if (std::exchange(folderRefusal_, refusal) != refusal) emit manifestStatusChanged();
}

double ManifestFlow::manifestProgress() const {
  return run_.groups == 0 ? 0 : static_cast<double>(run_.groupsDone) / static_cast<double>(run_.groups);
}

}  // namespace tallyfold
