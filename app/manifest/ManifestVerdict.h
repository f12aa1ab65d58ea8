#pragma once

#include <QObject>
#include <QString>
#include <QtGlobal>

#include "app/shared/Tone.h"

namespace tallyfold {

/// How far the verification of a checksum list has come.
struct ManifestTally {
  enum class Stage { none, reading, running, cancelled, stoppedByError, ended };

  Stage stage = Stage::none;
  QString readError{};  ///< Why the list could not be read; empty when it was.
  bool hasRoot = false;
  qint64 matched = 0;
  qint64 mismatched = 0;
  qint64 failed = 0;
  qint64 waiting = 0;                   ///< Entries without an outcome.
  qint64 ignoredLines = 0;              ///< Blank lines and comments.
  qint64 unsupportedLines = 0;          ///< Lines that may have been meant as entries: unknown or ambiguous.
  qint64 ambiguousLines = 0;            ///< Of those, the ones that a choice of the algorithm makes entries.
  QString candidates{};                 ///< For that choice: "SHA-256 or BLAKE3".
  qint64 digestLength = 0;              ///< Of them, in digits.
  bool hasBareDigests = false;          ///< The algorithm of every entry follows only from the length of its digest.
  QString otherAlgorithm{};             ///< That the list speaks of, and that is not known; empty when there is none.
  bool isOtherAlgorithmInName = false;  ///< It is the name of the list that speaks of it.
  bool isSigned = false;                ///< The list is wrapped in a signature, which nobody checked.
  // Of the failed entries:
  qint64 missing = 0;
  qint64 missingQuoted = 0;  ///< Of these, the ones whose names stand in double quotes.
  qint64 absolutePaths = 0;
  qint64 rootChanged = 0;
};

/// What is to be said of a checksum list in one sentence that cannot be misread, and what else there is to know.
struct ManifestVerdict {
  Q_GADGET
  Q_PROPERTY(tallyfold::ManifestVerdict::Kind kind MEMBER kind CONSTANT)
  Q_PROPERTY(tallyfold::Tone::Case tone MEMBER tone CONSTANT)
  Q_PROPERTY(QString title MEMBER title CONSTANT)
  Q_PROPERTY(QString details MEMBER details CONSTANT)

 public:
  enum Kind {
    Reading,
    Unreadable,
    Ambiguous,  ///< Nothing can be verified until the user says which algorithm it is.
    NothingToVerify,
    NotVerifiedYet,
    Verifying,
    Mismatches,  ///< At least one; there may be failures too.
    NotAllChecked,
    NotEnded,  ///< Every entry was checked, but the run did not end as it should.
    NotAllUnderstood,
    OtherAlgorithm,  ///< Nothing matches, and the list says of itself that it is of an algorithm that is not known.
    AllMatch,
  };
  Q_ENUM(Kind)

  Kind kind = Reading;
  /// Good: every line that may be an entry was checked, and matches. Bad: something does not match, or could not be
  /// checked. Caution: there is no telling.
  Tone::Case tone = Tone::Pending;
  QString title;
  QString details;
};

ManifestVerdict manifestVerdict(const ManifestTally& tally);

}  // namespace tallyfold
