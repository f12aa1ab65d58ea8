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

FileCard ManifestFlow::manifestFile() const { return fileCard(url_, size_.text()); }

QString ManifestFlow::manifestLines() const {
  const QLocale locale = userLocale();
  QStringList facts;
  if (unreadableLine_ > 0) facts.append(tr("line %1 is not text").arg(locale.toString(unreadableLine_)));
  if (entries_) {
    facts.append(jobs_.total() == 1 ? tr("1 entry") : tr("%1 entries").arg(locale.toString(jobs_.total())));
    const qint64 ambiguous = reading_.ambiguousLineCount;
    const qint64 unsupported = unsupportedLineCount_ - ambiguous;
    if (ambiguous > 0) facts.append(tr("%1 ambiguous").arg(locale.toString(ambiguous)));
    if (unsupported > 0) facts.append(tr("%1 unsupported").arg(locale.toString(unsupported)));
  }
  return facts.join(tr(" · "));
}

QString ManifestFlow::manifestUnsupportedFigure() const { return userLocale().toString(unsupportedLineCount_); }

QString ManifestFlow::manifestEmptySentence() const {
  if (!url_ && rootURL_) return tr("Drop a checksum list of this folder, or create one.");
  if (!url_) {
    return tr("Drop a checksum list and the folder that it describes. To create a list, choose its root folder first.");
  }
  if (showsWarnings_) return tr("Every line of the list is understood.");
  if (jobs_.total() == 0) return tr("There are no entries to show.");
  return jobs_.search().isEmpty() ? tr("No entry is in this state.")
                                  : tr("No entry that is shown has this in its path.");
}

QString ManifestFlow::copyManifestRefusal() const {
  if (showsWarnings_) return warnings_.isEmpty() ? tr("There are no warnings to copy.") : QString();
  return jobs_.count() == 0 ? tr("There are no rows to copy.") : QString();
}

QString ManifestFlow::manifestWarningsSummary() const {
  const QLocale locale = userLocale();
  const qint64 ambiguous = reading_.ambiguousLineCount;
  QString summary = tr("Lines that are not understood and cannot be checked: %1. Blank lines and comments: %2.")
                        .arg(locale.toString(unsupportedLineCount_ - ambiguous), locale.toString(ignoredLineCount_));
  if (ambiguous > 0) {
    summary.prepend(tr("Lines that wait for you to choose their algorithm: %1. ").arg(locale.toString(ambiguous)));
  }
  if (unsupportedLineCount_ > warnings_.size()) {
    summary += tr(" The first %1 are listed here.").arg(locale.toString(warnings_.size()));
  }
  return summary;
}

QStringList ManifestFlow::manifestAlgorithms() const { return displayNames(candidates_); }

QString ManifestFlow::manifestAlgorithm() const {
  return choice_.algorithm ? displayName(*choice_.algorithm) : QString();
}

QString ManifestFlow::proposedManifestAlgorithm() const {
  const auto proposal = url_ ? ChecksumManifestService::proposedAlgorithm(*url_) : std::nullopt;
  return proposal && candidates_.contains(*proposal) ? displayName(*proposal) : QString();
}

bool ManifestFlow::offersReadingWithoutQuotes() const {
  return reading_.quotedNameCount > 0 && !choice_.withoutQuotes && !isBusy() &&
         std::cmp_equal(causes_.missingQuoted, reading_.quotedNameCount);
}

QString ManifestFlow::manifestRestVerb() const {
  using Stage = ManifestTally::Stage;
  if (isBusy() || !folderRefusal_.isEmpty()) return {};
  if (causes_.rootChanged > 0) return tr("Verify the Rest Again");
  const bool isCutShort = stage_ == Stage::cancelled || stage_ == Stage::stoppedByError;
  return isCutShort && !checked_.empty() ? tr("Verify the Rest") : QString();
}

QString ManifestFlow::manifestRefusal() const {
  if (!url_) return tr("Choose a checksum list first.");
  if (isLoading_) return tr("The checksum list is being read.");
  if (jobs_.total() == 0) return tr("The list has no entries to verify.");
  if (!rootURL_) return tr("Choose the root folder first.");
  return folderRefusal_;
}

QString ManifestFlow::manifestFileRefusal() const {
  if (isLoading_) return tr("The checksum list is being read.");
  return isVerifying_ ? manifestRootRefusal() : folderRefusal_;
}

QString ManifestFlow::clearManifestRefusal() const { return url_ || rootURL_ ? QString() : tr("Nothing is chosen."); }

QString ManifestFlow::manifestProgressFigure() const {
  if (groups_ == 0) return {};
  return filesOfFiles(groupsDone_, groups_);
}

ManifestVerdict ManifestFlow::manifestVerdict() const {
  const qint64 digestLength = candidates_.empty() ? 0 : static_cast<qint64>((*candidates_.begin()).hexLength());
  ManifestVerdict verdict = tallyfold::manifestVerdict(
      {.stage = isLoading_ ? ManifestTally::Stage::reading : stage_,
       .readError = readError_,
       .hasRoot = rootURL_.has_value(),
       .matched = manifestMatchedCount(),
       .mismatched = manifestMismatchCount(),
       .failed = manifestErrorCount(),
       .waiting = jobs_.count(ManifestJobListModel::Waiting),
       .ignoredLines = ignoredLineCount_,
       .unsupportedLines = unsupportedLineCount_,
       .ambiguousLines = reading_.ambiguousLineCount,
       .candidates = utf8Text(namesOf(candidates_, "or")),
       .digestLength = digestLength,
       .hasBareDigests = reading_.bareDigestCount == jobs_.total() && !reading_.isAlgorithmInName,
       .otherAlgorithm = utf8Text(reading_.otherAlgorithm),
       .isOtherAlgorithmInName = reading_.isOtherAlgorithmInName,
       .isSigned = reading_.isSigned,
       .missing = static_cast<qint64>(causes_.missing),
       .missingQuoted = static_cast<qint64>(causes_.missingQuoted),
       .absolutePaths = static_cast<qint64>(causes_.absolutePath),
       .rootChanged = static_cast<qint64>(causes_.rootChanged)});
  for (const QString& sentence : {unreadSentence(), folderSentence_}) {
    if (!sentence.isEmpty()) verdict.details = (verdict.details + u' ' + sentence).trimmed();
  }
  return verdict;
}

QString ManifestFlow::unreadSentence() const {
  if (othersCount_ == 0) return {};
  const QString name = shortened(firstOther_);
  if (othersCount_ == 1) return tr("%1 came with this list and is not read.").arg(name);
  return tr("%1 and %2 more came with this list and are not read.").arg(name, figureOf(othersCount_ - 1));
}

VerifiedList ManifestFlow::verifiedList() const {
  VerifiedList list{.entries = entries_,
                    .list = *url_,
                    .root = *rootURL_,
                    .rootIdentity = rootIdentity_,
                    .linesNotUnderstood = unsupportedLineCount_};
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
  return groups_ == 0 ? 0 : static_cast<double>(groupsDone_) / static_cast<double>(groups_);
}

}  // namespace tallyfold
