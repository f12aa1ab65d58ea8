#pragma once

#include <QString>
#include <QtGlobal>

namespace tallyfold {

/// How far the verification of a checksum list has come.
struct ManifestTally {
  enum class Run { none, reading, running, cancelled, stoppedByError, ended };

  Run run = Run::none;
  QString readError{};  ///< Why the list could not be read; empty when it was.
  bool hasRoot = false;
  qint64 matched = 0;
  qint64 mismatched = 0;
  qint64 failed = 0;
  qint64 waiting = 0;           ///< Entries without an outcome.
  qint64 ignoredLines = 0;      ///< Blank lines and comments.
  qint64 unsupportedLines = 0;  ///< Lines that may have been meant as entries: unknown or ambiguous.
};

/// What is to be said of a checksum list in one sentence that cannot be misread, and what else there is to know.
struct ManifestVerdict {
  enum class Tone {
    pending,  ///< Nothing is known to be wrong, and it is not over.
    good,     ///< Every line that may be an entry was checked, and matches.
    bad,      ///< Something does not match, or could not be checked.
    caution,  ///< Nothing is known to be wrong, and not everything was checked.
  };

  Tone tone = Tone::pending;
  QString icon;
  QString title;
  QString details;
};

ManifestVerdict manifestVerdict(const ManifestTally& tally);

}  // namespace tallyfold
