#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include "app/shared/Tone.h"

namespace tallyfold {

/// What the screen says of a FileComparisonResult.
struct CompareVerdict {
  Q_GADGET
  Q_PROPERTY(bool isPresent READ isPresent CONSTANT)
  Q_PROPERTY(tallyfold::CompareVerdict::Kind kind MEMBER kind CONSTANT)
  Q_PROPERTY(tallyfold::Tone::Case tone MEMBER tone CONSTANT)
  Q_PROPERTY(QString title MEMBER title CONSTANT)
  Q_PROPERTY(QStringList details MEMBER details CONSTANT)

 public:
  enum Kind { None, Identical, DifferentSize, ContentMismatch };
  Q_ENUM(Kind)

  /// There is a result.
  [[nodiscard]] bool isPresent() const { return kind != None; }

  Kind kind = None;
  Tone::Case tone = Tone::Pending;
  QString title;
  QStringList details{};
};

}  // namespace tallyfold
