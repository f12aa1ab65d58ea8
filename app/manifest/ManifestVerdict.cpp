#include "app/manifest/ManifestVerdict.h"

#include <utility>

#include <QCoreApplication>
#include <QStringList>

#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

QString tr(const char* text) { return QCoreApplication::translate("ManifestVerdict", text); }

QString figure(qint64 number) { return userLocale().toString(number); }

// %1 in `many` is the number.
QString counted(qint64 number, const char* one, const char* many) {
  return number == 1 ? tr(one) : tr(many).arg(figure(number));
}

// "2 entries do not match, 1 could not be checked": what keeps the verdict from being good, the worst first.
QString shortcomings(const ManifestTally& tally) {
  QStringList parts;
  const auto add = [&](qint64 number, const char* one, const char* many, const char* further, const char* oneFurther) {
    if (number == 0) return;
    if (parts.isEmpty()) {
      parts.append(counted(number, one, many));
    } else {
      parts.append(counted(number, oneFurther, further));
    }
  };
  add(tally.mismatched, "1 entry does not match", "%1 entries do not match", "", "");
  add(tally.failed, "1 entry could not be checked", "%1 entries could not be checked", "%1 could not be checked",
      "1 could not be checked");
  add(tally.waiting, "1 entry was not checked", "%1 entries were not checked", "%1 were not checked",
      "1 was not checked");
  return parts.join(tr(", "));
}

QString shortcomingOfOnlyEntry(const ManifestTally& tally) {
  return tally.mismatched == 1 ? tr("The only entry does not match")
         : tally.failed == 1   ? tr("The only entry could not be checked")
                               : tr("The only entry was not checked");
}

QString notUnderstood(qint64 lines) {
  return counted(lines, "1 line is not understood and was not checked.",
                 "%1 lines are not understood and were not checked.");
}

// Of lines that wait for the user to name the algorithm.
QString ambiguity(const ManifestTally& tally) {
  const QString which = tr("%1 characters, which can be %2.").arg(tally.digestLength).arg(tally.candidates);
  return counted(tally.ambiguousLines, "1 line has a checksum of ", "%1 lines have checksums of ") + which;
}

ManifestVerdict beforeTheRun(const ManifestTally& tally, qint64 entries, QStringList details) {
  if (entries == 0 && tally.ambiguousLines > 0) {
    return {ManifestVerdict::Ambiguous, Tone::Caution, tr("The list does not say which algorithm it is of"),
            details.join(u' ')};
  }
  if (entries == 0) {
    return {ManifestVerdict::NothingToVerify, Tone::Caution, tr("Nothing to verify"),
            tally.unsupportedLines == 0 ? tr("The list has no entries.") : details.join(u' ')};
  }
  details.prepend(tally.hasRoot ? tr("Ready to be checked against the files in the root folder.")
                                : tr("Choose the root folder, from which the list's paths start."));
  return {ManifestVerdict::NotVerifiedYet, Tone::Pending,
          counted(entries, "1 entry, not verified yet", "%1 entries, not verified yet"), details.join(u' ')};
}

// Behind other sentences.
QString signatureNote(const ManifestTally& tally) {
  return tally.isSigned ? u' ' + tr("The signature was not checked.") : QString();
}

// The list itself says that its checksums are of an algorithm that is not known, and nothing speaks against it.
QString otherAlgorithm(const ManifestTally& tally) {
  if (tally.matched > 0 || tally.mismatched == 0 || !tally.hasBareDigests) return {};
  if (tally.otherAlgorithm.isEmpty()) {
    return tr("The list may be of another algorithm with checksums of this length.");
  }
  return (tally.isOtherAlgorithmInName
              ? tr("The list's name speaks of %1, which has checksums of this length and is not supported.")
              : tr("A comment in the list speaks of %1, which has checksums of this length and is not supported."))
      .arg(tally.otherAlgorithm);
}

ManifestVerdict withShortcomings(const ManifestTally& tally, qint64 entries, const QStringList& further) {
  using Stage = ManifestTally::Stage;
  QStringList details;
  if (tally.stage == Stage::cancelled) details.append(tr("The verification was cancelled."));
  if (tally.stage == Stage::stoppedByError) details.append(tr("The verification was stopped by an error."));
  if (tally.rootChanged > 0) details.append(tr("The folder changed while it was verified."));
  if (tally.missing == entries) {
    details.append(counted(entries, "Its file is missing.", "The files of all %1 entries are missing."));
    details.append(tally.missingQuoted < entries ? tr("Is this the right root folder?")
                   : entries == 1                ? tr("Perhaps the quotes are not part of the name.")
                                                 : tr("Perhaps the quotes are not part of the names."));
  }
  if (tally.absolutePaths > 0) {
    details.append(counted(tally.absolutePaths, "1 entry has an absolute name, which is never followed.",
                           "%1 entries have absolute names, which are never followed."));
  }
  const QString other = otherAlgorithm(tally);
  if (!other.isEmpty()) details.append(other);
  details += further;
  if (tally.matched > 0) {
    details.append(tr("%1 of %2 entries match.").arg(figure(tally.matched), figure(entries)));
  }
  const QString title = entries == 1 ? shortcomingOfOnlyEntry(tally) : shortcomings(tally);
  const QString sentences = details.join(u' ') + signatureNote(tally);
  if (!other.isEmpty() && tally.isOtherAlgorithmInName) {
    return {ManifestVerdict::OtherAlgorithm, Tone::Caution, title, sentences};
  }
  return {tally.mismatched > 0 ? ManifestVerdict::Mismatches : ManifestVerdict::NotAllChecked,
          tally.mismatched + tally.failed > 0 ? Tone::Bad : Tone::Caution, title, sentences};
}

}  // namespace

ManifestVerdict manifestVerdict(const ManifestTally& tally) {
  using Stage = ManifestTally::Stage;
  const qint64 entries = tally.matched + tally.mismatched + tally.failed + tally.waiting;
  if (tally.stage == Stage::reading) return {ManifestVerdict::Reading, Tone::Pending, tr("Reading checksum file…"), {}};
  if (!tally.readError.isEmpty()) {
    return {ManifestVerdict::Unreadable, Tone::Bad, tr("The checksum list was not read"), tally.readError};
  }
  QStringList details;
  if (tally.ambiguousLines > 0) details.append(ambiguity(tally));
  if (tally.unsupportedLines > tally.ambiguousLines) {
    details.append(notUnderstood(tally.unsupportedLines - tally.ambiguousLines));
  }
  if (tally.stage == Stage::none || entries == 0) return beforeTheRun(tally, entries, std::move(details));

  const bool isWrong = tally.mismatched + tally.failed > 0;
  if (tally.stage == Stage::running) {
    ManifestTally soFar = tally;
    soFar.waiting = 0;
    details.prepend(tr("%1 of %2 entries checked.").arg(figure(entries - tally.waiting), figure(entries)));
    return {ManifestVerdict::Verifying, isWrong ? Tone::Bad : Tone::Pending,
            isWrong ? tr("So far %1").arg(shortcomings(soFar)) : tr("Verifying…"), details.join(u' ')};
  }

  if (isWrong || tally.waiting > 0) return withShortcomings(tally, entries, details);
  if (tally.stage != Stage::ended) {
    return {ManifestVerdict::NotEnded, Tone::Caution, tr("The verification did not come to its end"),
            details.join(u' ')};
  }
  if (tally.unsupportedLines > 0) {
    return {
        ManifestVerdict::NotAllUnderstood, Tone::Caution,
        tr("%1, but %2")
            .arg(counted(entries, "1 entry matches", "%1 entries match"),
                 counted(tally.unsupportedLines, "1 line could not be checked", "%1 lines could not be checked")),
        (tally.ambiguousLines > 0 ? details.join(u' ')
                                  : tr("A line that is not understood may be meant for a file: see the warnings.")) +
            signatureNote(tally)};
  }
  return {
      ManifestVerdict::AllMatch, Tone::Good, counted(entries, "The only entry matches", "All %1 entries match"),
      (tally.ignoredLines == 0 ? tr("Every line of the list was checked.")
                               : counted(tally.ignoredLines, "Every entry was checked. 1 line is blank or a comment.",
                                         "Every entry was checked. %1 lines are blank or comments.")) +
          signatureNote(tally)};
}

}  // namespace tallyfold
