#include "app/manifest/ManifestVerdict.h"

#include <QCoreApplication>
#include <QStringList>

#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

QString tr(const char* text) { return QCoreApplication::translate("ManifestVerdict", text); }

QString figure(qint64 number) { return userLocale().toString(number); }

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

ManifestVerdict beforeTheRun(const ManifestTally& tally, qint64 entries, QStringList details) {
  if (entries == 0) {
    return {ManifestVerdict::NothingToVerify, Tone::Caution, tr("Nothing to verify"),
            tally.unsupportedLines == 0 ? tr("The list has no entries.") : details.join(u' ')};
  }
  details.prepend(tally.hasRoot ? tr("Ready to be checked against the files in the root folder.")
                                : tr("Choose the root folder, from which the list's paths start."));
  return {ManifestVerdict::NotVerifiedYet, Tone::Pending,
          counted(entries, "1 entry, not verified yet", "%1 entries, not verified yet"), details.join(u' ')};
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
  if (tally.unsupportedLines > 0) {
    details.append(counted(tally.unsupportedLines, "1 line is not understood and was not checked.",
                           "%1 lines are not understood and were not checked."));
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

  if (isWrong || tally.waiting > 0) {
    details.prepend(tally.failed == entries
                        ? tr("Is this the right root folder?")
                        : tr("%1 of %2 entries match.").arg(figure(tally.matched), figure(entries)));
    if (tally.stage == Stage::cancelled) details.prepend(tr("The verification was cancelled."));
    if (tally.stage == Stage::stoppedByError) details.prepend(tr("The verification was stopped by an error."));
    return {tally.mismatched > 0 ? ManifestVerdict::Mismatches : ManifestVerdict::NotAllChecked,
            isWrong ? Tone::Bad : Tone::Caution, shortcomings(tally), details.join(u' ')};
  }
  if (tally.stage != Stage::ended) {
    return {ManifestVerdict::NotEnded, Tone::Caution, tr("The verification did not come to its end"),
            details.join(u' ')};
  }
  if (tally.unsupportedLines > 0) {
    return {ManifestVerdict::NotAllUnderstood, Tone::Caution,
            tr("%1, but %2")
                .arg(counted(entries, "1 entry matches", "%1 entries match"),
                     counted(tally.unsupportedLines, "1 line could not be checked", "%1 lines could not be checked")),
            tr("A line that is not understood may be meant for a file: see the warnings.")};
  }
  return {ManifestVerdict::AllMatch, Tone::Good, counted(entries, "The only entry matches", "All %1 entries match"),
          tally.ignoredLines == 0
              ? tr("Every line of the list was checked.")
              : counted(tally.ignoredLines, "Every entry was checked. 1 line is blank or a comment.",
                        "Every entry was checked. %1 lines are blank or comments.")};
}

}  // namespace tallyfold
