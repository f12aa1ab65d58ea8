#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include "app/shared/DigestLine.h"
#include "app/shared/Tone.h"

namespace tallyfold {

/// What the screen says of a VerificationResult.
struct VerifyVerdict {
  Q_GADGET
  Q_PROPERTY(bool isPresent READ isPresent CONSTANT)
  Q_PROPERTY(tallyfold::VerifyVerdict::Kind kind MEMBER kind CONSTANT)
  Q_PROPERTY(tallyfold::Tone::Case tone MEMBER tone CONSTANT)
  Q_PROPERTY(QString title MEMBER title CONSTANT)
  Q_PROPERTY(QString details MEMBER details CONSTANT)
  Q_PROPERTY(QList<tallyfold::DigestLine> digests MEMBER digests CONSTANT)
  Q_PROPERTY(int difference MEMBER difference CONSTANT)

 public:
  enum Kind { None, Match, Mismatch, Error, InvalidExpectedHash, AmbiguousExpectedHash };
  Q_ENUM(Kind)

  /// There is a result.
  [[nodiscard]] bool isPresent() const { return kind != None; }

  Kind kind = None;
  Tone::Case tone = Tone::Pending;
  QString title;
  QString details{};
  QList<DigestLine> digests{};
  int difference = -1;  ///< Where the digests part, in digits; -1 when they do not.
};

}  // namespace tallyfold
